#include "platform/shell_command.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <utility>

#include "platform/windows/child_process.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

// The pipe has a name, though nobody else uses it, because only such a one can be read without
// blocking: one thread then waits for output and for the child's end at once, and nothing has to be
// cancelled on another thread.

namespace mrb::platform {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr DWORD kPipeBuffer = 65536;

/// How long it may take until a command is ended that is told to stop.
constexpr milliseconds kStopLook{50};

struct Pipe {
  Handle read_end;   // overlapped
  Handle write_end;  // inheritable
};

SECURITY_ATTRIBUTES Inheritable() {
  return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

Result<Pipe> MakePipe() {
  static std::atomic<unsigned> counter{0};
  const std::wstring name = L"\\\\.\\pipe\\mirebolt-shell-" +
                            std::to_wstring(::GetCurrentProcessId()) + L"-" +
                            std::to_wstring(counter++);
  Pipe pipe;
  pipe.read_end = Handle(::CreateNamedPipeW(
      name.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
      PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, kPipeBuffer, 0, nullptr));
  SECURITY_ATTRIBUTES inheritable = Inheritable();
  if (pipe.read_end) {
    pipe.write_end = Handle(::CreateFileW(name.c_str(), GENERIC_WRITE, 0, &inheritable,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  if (!pipe.write_end) return Fail(ErrorKind::kUnavailable, "cannot make a pipe");
  return pipe;
}

Handle NullInput() {
  SECURITY_ATTRIBUTES inheritable = Inheritable();
  return Handle(::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              &inheritable, OPEN_EXISTING, 0, nullptr));
}

class Run {
 public:
  Run(Handle pipe, HANDLE process, std::size_t limit)
      : pipe_(std::move(pipe)),
        event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
        process_(process),
        limit_(limit) {
    start_reading();
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  /// The system writes into this object as long as a read is pending.
  ~Run() {
    if (!pending_) return;
    ::CancelIo(pipe_.get());
    DWORD got = 0;
    ::GetOverlappedResult(pipe_.get(), &operation_, &got, TRUE);
  }

  bool until_ended(milliseconds time, const std::atomic<bool>* stop = nullptr) {
    const auto deadline = Clock::now() + time;
    for (;;) {
      if (stop != nullptr && *stop) return false;
      if (::WaitForSingleObject(process_, 0) == WAIT_OBJECT_0) return true;
      const auto until = stop == nullptr ? deadline : std::min(deadline, Clock::now() + kStopLook);
      if (!step(until, process_) && Clock::now() >= deadline) return false;
    }
  }

  void until_closed(milliseconds time) {
    const auto deadline = Clock::now() + time;
    while (pending_ && step(deadline, nullptr)) continue;
  }

  ShellOutcome outcome;

 private:
  bool step(Clock::time_point deadline, HANDLE other) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    std::array<HANDLE, 2> waits{};
    DWORD count = 0;
    if (pending_) waits[count++] = event_.get();
    if (other != nullptr) waits[count++] = other;
    const DWORD woke =
        ::WaitForMultipleObjects(count, waits.data(), FALSE, static_cast<DWORD>(left.count()));
    if (pending_ && woke == WAIT_OBJECT_0) finish_reading();
    return true;
  }

  void start_reading() {
    operation_ = {};
    operation_.hEvent = event_.get();
    pending_ = ::ReadFile(pipe_.get(), piece_.data(), static_cast<DWORD>(piece_.size()), nullptr,
                          &operation_) != 0 ||
               ::GetLastError() == ERROR_IO_PENDING;
  }

  void finish_reading() {
    DWORD got = 0;
    pending_ = false;
    if (!::GetOverlappedResult(pipe_.get(), &operation_, &got, FALSE))
      return;  // all have closed it
    const auto room = limit_ - outcome.output.size();
    outcome.output.append(piece_.data(), std::min<std::size_t>(got, room));
    outcome.cut |= got > room;
    start_reading();
  }

  Handle pipe_;
  Handle event_;
  HANDLE process_;
  const std::size_t limit_;
  OVERLAPPED operation_{};
  bool pending_ = false;
  std::array<char, 65536> piece_{};
};

std::wstring SystemShell() {
  std::array<wchar_t, MAX_PATH + 1> folder{};
  const UINT length = ::GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
  return std::wstring(folder.data(), length < folder.size() ? length : 0) + L"\\cmd.exe";
}

}  // namespace

Result<ShellOutcome> RunShellCommand(const std::string& command, const std::string& folder,
                                     const ShellLimits& limits) {
  auto pipe = MakePipe();
  if (!pipe) return std::unexpected(std::move(pipe.error()));
  Handle input = NullInput();
  auto child = ChildProcess::start({.program = SystemShell(),
                                    .command_line = L"cmd.exe /d /s /c \"" + Widen(command) + L"\"",
                                    .folder = Widen(folder),
                                    .flags = CREATE_NO_WINDOW,
                                    .input = input.get(),
                                    .output = pipe->write_end.get()});
  if (!child) {
    if (child.error().kind == ErrorKind::kUnavailable) child.error().kind = ErrorKind::kIo;
    return std::unexpected(std::move(child.error()));
  }
  pipe->write_end.reset(nullptr);  // or the pipe would never end
  input.reset(nullptr);
  Run run(std::move(pipe->read_end), (*child)->process(), limits.output);
  if (!run.until_ended(limits.run, limits.stop)) {
    run.outcome.stopped = limits.stop != nullptr && *limits.stop;
    run.outcome.killed = !run.outcome.stopped;
    (*child)->end_tree();
    if (!run.until_ended(limits.end)) return std::move(run.outcome);
  }
  run.until_closed(limits.drain);
  run.outcome.exit_code = (*child)->exit_code();
  return std::move(run.outcome);
}

}  // namespace mrb::platform
