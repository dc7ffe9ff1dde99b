#include "platform/posix/tree_supervisor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <utility>

#include "platform/posix/system_error.h"

// The supervisor is this executable started again, for a copy by fork() would cost more the more
// memory a resident has. It never gets as far as main(): a constructor that runs before all others
// takes over when the program's name says so, which no caller has to know of.
//
// It speaks over a socket that keeps messages apart: one when the program was started or could not
// be, one when it has ended. The socket's end says to either side that the other one is gone.

namespace mrb::platform {
namespace {

constexpr const char* kOwnExecutable = "/proc/self/exe";
constexpr const char* kSupervisorName = "mirebolt-tree";
constexpr int kFixedArguments = 3;  // the name, the folder, the terminal; then the program
constexpr int kSignalBase = 128;

struct Message {
  enum class Kind : std::int32_t { kStarted, kRefused, kEnded };
  Kind kind;
  std::int32_t value;   // the program's id, the reason's number, the program's exit code
  std::int32_t others;  // at the end, whether the supervisor stays for others of the tree
};

/// False when nobody listens any more.
bool Send(int control, Message message) {
  return Uninterrupted([&] { return ::send(control, &message, sizeof message, MSG_NOSIGNAL); }) ==
         sizeof message;
}

std::uint32_t ExitCode(int status) {
  return static_cast<std::uint32_t>(WIFEXITED(status) ? WEXITSTATUS(status)
                                                      : kSignalBase + WTERMSIG(status));
}

/// The message that waits, which goes on waiting; 0 when the other side is gone without one, -1
/// when it has not said anything yet.
ssize_t Look(int control, Message& message) {
  return Uninterrupted(
      [&] { return ::recv(control, &message, sizeof message, MSG_PEEK | MSG_DONTWAIT); });
}

/// The supervisor's own life.
class Supervision {
 public:
  explicit Supervision(pid_t program) : program_(program) {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &ends, nullptr);
    child_ends_.reset(::signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK));
  }

  /// Until nobody is left to watch or nobody asks.
  void run() {
    while (reap()) {
      std::array<pollfd, 2> waits{{{child_ends_.get(), POLLIN, 0}, {kControlDescriptor, 0, 0}}};
      ::poll(waits.data(), waits.size(), -1);
      if (waits[1].revents != 0) return;
      signalfd_siginfo ignored{};
      while (::read(child_ends_.get(), &ignored, sizeof ignored) > 0) continue;
    }
  }

 private:
  /// Takes leave of all children that have ended; whether there are others.
  bool reap() {
    std::optional<std::uint32_t> code;
    int status = 0;
    pid_t ended = 0;
    while ((ended = Uninterrupted([&] { return ::waitpid(-1, &status, WNOHANG); })) > 0) {
      if (ended == program_) code = ExitCode(status);
    }
    const bool others = ended == 0;
    if (!code) return others;
    return Send(kControlDescriptor,
                {Message::Kind::kEnded, static_cast<std::int32_t>(*code), others ? 1 : 0}) &&
           others;
  }

  const pid_t program_;
  Descriptor child_ends_;
};

/// Or the program's pipe would never end.
void LetGoOfStreams() {
  const Descriptor null(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!null) ::_exit(1);
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) ::dup2(null.get(), stream);
}

[[noreturn]] void Supervise(const std::vector<std::string>& arguments) {
  ::prctl(PR_SET_NAME, kSupervisorName);
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  ::fcntl(kControlDescriptor, F_SETFD, FD_CLOEXEC);
  const auto program =
      StartChild({.arguments = {arguments.begin() + kFixedArguments, arguments.end()},
                  .folder = arguments[1],
                  .terminal = arguments[2],
                  .output = STDOUT_FILENO},
                 EnvironmentWithout({}));
  LetGoOfStreams();
  if (!program) {
    Send(kControlDescriptor, {Message::Kind::kRefused, program.error().system, 0});
    ::_exit(1);
  }
  if (Send(kControlDescriptor, {Message::Kind::kStarted, *program, 0})) Supervision(*program).run();
  ::_exit(0);
}

/// The GNU C library hands a constructor what main() gets.
__attribute__((constructor(101))) void SuperviseWhenTold(int argc, char** argv) {
  constexpr int kLeast = kFixedArguments + 1;
  if (argc >= kLeast && argv[0] == std::string_view(kSupervisorName))
    Supervise({argv, argv + argc});
}

/// Whether the supervisor has said something, or is gone, in time. A program may stop its own
/// parent.
bool AwaitWord(int control) {
  constexpr int kPatienceMs = 10'000;
  pollfd wait{control, POLLIN, 0};
  return Uninterrupted([&] { return ::poll(&wait, 1, kPatienceMs); }) > 0;
}

/// For one that has nothing left to do. It may have been stopped, and would then never leave.
void Dismiss(pid_t supervisor) {
  ::kill(supervisor, SIGKILL);
  Uninterrupted([&] { return ::waitpid(supervisor, nullptr, 0); });
}

}  // namespace

Result<TreeSupervisor> TreeSupervisor::start(const ChildStart& start,
                                             const std::vector<std::string>& environment) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return FailErrno("start", start.arguments[0]);
  }
  Descriptor control(ends[0]);
  Descriptor theirs(ends[1]);
  std::vector<std::string> arguments{kSupervisorName, start.folder, start.terminal};
  arguments.insert(arguments.end(), start.arguments.begin(), start.arguments.end());
  const auto id = StartChild({.arguments = std::move(arguments),
                              .program = kOwnExecutable,
                              .output = start.output,
                              .control = theirs.get()},
                             environment);
  if (!id) return std::unexpected(SystemError(id.error().system, "start", start.arguments[0]));
  theirs.reset(-1);
  TreeSupervisor supervisor(*id, std::move(control));
  Message first{Message::Kind::kRefused, ESRCH, 0};  // when it died before it could say a word
  if (AwaitWord(supervisor.end())) {
    Uninterrupted([&] { return ::recv(supervisor.end(), &first, sizeof first, 0); });
  }
  if (first.kind == Message::Kind::kRefused) {
    return std::unexpected(SystemError(first.value, "start", start.arguments[0]));
  }
  supervisor.program_ = first.value;
  return supervisor;
}

TreeSupervisor::~TreeSupervisor() {
  if (!control_) return;
  control_.reset(-1);
  if (id_ != 0) Dismiss(id_);
}

std::optional<std::uint32_t> TreeSupervisor::exit_code() const {
  Message last{};
  const auto got = Look(control_.get(), last);
  if (got < 0) return std::nullopt;
  if (got == 0) return kSignalBase + SIGKILL;
  return static_cast<std::uint32_t>(last.value);
}

bool TreeSupervisor::was_killed() const {
  Message last{};
  return Look(control_.get(), last) == 0;
}

void TreeSupervisor::settle() {
  Message last{};
  static_cast<void>(Look(control_.get(), last));
  if (id_ == 0 || last.others != 0) return;
  Dismiss(std::exchange(id_, 0));
}

}  // namespace mrb::platform
