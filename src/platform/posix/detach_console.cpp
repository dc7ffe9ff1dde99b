#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/console.h"
#include "platform/log_file.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {
namespace {

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
  const pid_t child = ::fork();
  if (child < 0) return FailErrno("leave", "the terminal");
  if (child > 0) ::_exit(0);
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
  ::dup2(nothing.get(), STDIN_FILENO);
  ::dup2(log.get(), STDOUT_FILENO);
  ::dup2(log.get(), STDERR_FILENO);
  return {};
}

}  // namespace mrb::platform
