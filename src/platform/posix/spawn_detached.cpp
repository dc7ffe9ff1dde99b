#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "platform/posix/child_start.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/process_tree.h"
#include "platform/posix/system_calls.h"
#include "platform/posix/system_error.h"
#include "platform/process.h"

// Two forks: the first child begins a new session and ends at once, so that nobody has to wait for
// the second, which becomes the program. A pipe that closes on exec tells the two outcomes apart:
// it ends empty when the program runs, and carries errno when it does not. Between fork and exec
// only calls are made that are safe in a copy of a process whose other threads are gone.

namespace mrb::platform {
namespace {

constexpr int kReportFd = 3;

[[noreturn]] void ReportAndDie(int fd, int code) {
  const auto ignored = ::write(fd, &code, sizeof code);
  static_cast<void>(ignored);
  ::_exit(127);
}

void ResetSignals() {
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  for (const int signal : {SIGPIPE, SIGHUP, SIGINT, SIGTERM}) ::signal(signal, SIG_DFL);
}

[[noreturn]] void BecomeProgram(char* const* arguments, char* const* environment,
                                const char* folder, int report) {
  const int null = ::open("/dev/null", O_RDWR);
  if (null < 0) ReportAndDie(report, errno);
  // The report goes above the streams first, or replacing them could overwrite it.
  const int high = ::fcntl(report, F_DUPFD, kReportFd + 1);
  if (high < 0) ReportAndDie(report, errno);
  const int high_null = ::fcntl(null, F_DUPFD, kReportFd + 1);
  if (high_null < 0) ReportAndDie(high, errno);
  for (int stream = 0; stream <= 2; ++stream) ::dup2(high_null, stream);
  ::dup3(high, kReportFd, O_CLOEXEC);
  CloseDescriptorsFrom(kReportFd + 1);
  ResetSignals();
  if (::chdir(folder) != 0) ReportAndDie(kReportFd, errno);
  ::execve(arguments[0], arguments, environment);
  ReportAndDie(kReportFd, errno);
}

}  // namespace

Status SpawnDetached(const std::vector<std::string>& arguments, const std::string& folder) {
  if (arguments.empty())
    return Fail(ErrorKind::kInvalidArgument, "cannot start a nameless program");
  const std::vector<char*> pointers = NullEnded(arguments);
  // It is to outlive whatever process tree this process belongs to.
  std::vector<std::string> environment = EnvironmentWithout({kTreeVariable});
  environment.push_back(std::string(kTreeVariable) + "=" + std::string(kNoTree));
  const std::vector<char*> variables = NullEnded(environment);

  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return FailErrno("start", arguments[0]);
  const Descriptor report(ends[0]);
  Descriptor write_end(ends[1]);

  const pid_t child = ::fork();
  if (child < 0) return FailErrno("start", arguments[0]);
  if (child == 0) {
    ::setsid();
    const pid_t second = ::fork();
    if (second < 0) ReportAndDie(write_end.get(), errno);
    if (second > 0) ::_exit(0);
    BecomeProgram(pointers.data(), variables.data(), folder.c_str(), write_end.get());
  }
  write_end.reset(-1);
  int ignored = 0;
  Uninterrupted([&] { return ::waitpid(child, &ignored, 0); });
  int code = 0;
  const auto got = Uninterrupted([&] { return ::read(report.get(), &code, sizeof code); });
  if (got > 0) return std::unexpected(SystemError(code, "start", arguments[0]));
  return {};
}

}  // namespace mrb::platform
