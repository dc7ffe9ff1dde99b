#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <utility>

#include "platform/console.h"
#include "platform/log_file.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {
namespace {

/// What is left of the way back to whoever started this process: a pipe to the parent that waits
/// for it, or else the standard error itself.
struct WayBack {
  Descriptor pipe;
  Descriptor errors;
};

WayBack& TheWayBack() {
  static WayBack way;
  return way;
}

void WriteTo(int fd, std::string_view text) {
  while (!text.empty()) {
    const auto put = Uninterrupted([&] { return ::write(fd, text.data(), text.size()); });
    if (put <= 0) return;  // nobody listens any more
    text.remove_prefix(static_cast<std::size_t>(put));
  }
}

volatile sig_atomic_t waited_for = 0;

void EndWhatIsWaitedFor(int signal) {
  ::kill(static_cast<pid_t>(waited_for), SIGTERM);
  constexpr int kSignalBase = 128;
  ::_exit(kSignalBase + signal);
}

/// Who ends the parent means the child that it stands for.
void PassSignalsOnTo(pid_t child) {
  waited_for = child;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (::signal(signal, EndWhatIsWaitedFor) == SIG_IGN) ::signal(signal, SIG_IGN);
  }
}

/// The parent's part: passes on what the child reports. One that dies without a word has failed.
[[noreturn]] void AwaitReport(int pipe) {
  constexpr char kServes = '+';
  std::array<char, 4096> piece;  // NOLINT: filled by the system
  int status = 1;
  for (;;) {
    const auto got = Uninterrupted([&] { return ::read(pipe, piece.data(), piece.size()); });
    if (got <= 0) ::_exit(status);
    std::string_view text(piece.data(), static_cast<std::size_t>(got));
    if (text.starts_with(kServes)) status = 0;
    if (status != 0) WriteTo(STDERR_FILENO, text);
  }
}

/// For a process that leads its session already (started by a terminal emulator or a supervisor):
/// it needs no new one, only to let go of the terminal. The system tells the session's leader so
/// with SIGHUP, which must not end us.
void DropTerminal() {
  const Descriptor terminal(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (!terminal) return;
  struct sigaction ignore{};
  struct sigaction before{};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGHUP, &ignore, &before);
  ::ioctl(terminal.get(), TIOCNOTTY);
  ::sigaction(SIGHUP, &before, nullptr);
}

/// A shell makes its job the leader of a process group, and such a one cannot begin a session: its
/// child goes on in its place.
Status BeginSession() {
  if (::getsid(0) == ::getpid()) {
    DropTerminal();
    return {};
  }
  if (::setsid() >= 0) return {};
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return FailErrno("leave", "the terminal");
  const Descriptor report(ends[0]);
  TheWayBack().pipe.reset(ends[1]);
  const pid_t child = ::fork();
  if (child < 0) {
    TheWayBack().pipe.reset(-1);
    return FailErrno("leave", "the terminal");
  }
  if (child > 0) {
    TheWayBack().pipe.reset(-1);
    PassSignalsOnTo(child);
    AwaitReport(report.get());
  }
  ::setsid();
  return {};
}

}  // namespace

Status DetachConsole(const std::string& log_path) {
  SetAsideLargeLog(log_path);
  const Descriptor log(Uninterrupted([&] {
    return ::open(log_path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY, 0600);
  }));
  if (!log) return FailErrno("open", log_path);
  const Descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  if (!nothing) return FailErrno("open", "/dev/null");
  if (Status begun = BeginSession(); !begun) return begun;
  if (!TheWayBack().pipe) TheWayBack().errors.reset(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
  ::dup2(nothing.get(), STDIN_FILENO);
  ::dup2(log.get(), STDOUT_FILENO);
  ::dup2(log.get(), STDERR_FILENO);
  return {};
}

void ReportStart(std::string_view complaint) {
  WayBack way = std::move(TheWayBack());
  if (way.pipe) WriteTo(way.pipe.get(), complaint.empty() ? "+" : complaint);
  if (way.errors) WriteTo(way.errors.get(), complaint);
}

}  // namespace mrb::platform
