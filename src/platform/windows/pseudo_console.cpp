#include "platform/pseudo_console.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/process.h"
#include "platform/windows/child_process.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

// A pseudo-console outlives its last program: the output pipe stays open until the console is
// closed, and closing it blocks on systems before Windows 11 24H2 until all output has been read.
// So a thread waits for the program's end and closes the console, while the reader reads on: it
// gets the last output, then the broken pipe. Nobody closes the console on the reader's thread.

namespace mrb::platform {
namespace {

constexpr DWORD kGraceAfterHangUp = 500;  // milliseconds

/// The three calls, looked up: the oldest systems that this program starts on do not have them.
struct Calls {
  HRESULT(WINAPI* create)(COORD, HANDLE, HANDLE, DWORD, void**) = nullptr;
  HRESULT(WINAPI* resize)(void*, COORD) = nullptr;
  void(WINAPI* close)(void*) = nullptr;
};

const Calls& ConsoleCalls() {
  static const Calls calls = [] {
    const HMODULE kernel = ::GetModuleHandleW(L"kernel32.dll");
    const auto find = [kernel](auto& call, const char* name) {
      call = reinterpret_cast<std::remove_reference_t<decltype(call)>>(
          reinterpret_cast<void*>(::GetProcAddress(kernel, name)));
    };
    Calls found;
    find(found.create, "CreatePseudoConsole");
    find(found.resize, "ResizePseudoConsole");
    find(found.close, "ClosePseudoConsole");
    return found;
  }();
  return calls;
}

COORD CoordinatesOf(ConsoleSize size) {
  return {static_cast<SHORT>(size.columns), static_cast<SHORT>(size.rows)};
}

struct Pipes {
  Handle keys;        // ours: what the program reads is written here
  Handle output;      // ours: what it writes is read here
  Handle their_keys;  // the console's ends
  Handle their_output;
};

Result<Pipes> MakePipes() {
  Pipes pipes;
  for (const auto& [read_end, write_end] :
       {std::pair{&pipes.their_keys, &pipes.keys}, std::pair{&pipes.output, &pipes.their_output}}) {
    HANDLE ends[2]{};
    if (!::CreatePipe(&ends[0], &ends[1], nullptr, 0)) return FailLastError("make", "a pipe");
    *read_end = Handle(ends[0]);
    *write_end = Handle(ends[1]);
  }
  return pipes;
}

class Console final : public PseudoConsole {
 public:
  Console(void* console, Handle keys, Handle output, std::unique_ptr<ChildProcess> child)
      : console_(console),
        keys_(std::move(keys)),
        output_(std::move(output)),
        hang_up_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
        child_(std::move(child)),
        watcher_([this] { close_when_over(); }) {}
  ~Console() override {
    child_->end_tree();
    output_.reset(nullptr);  // nobody reads any more: the closing must not wait for it
    watcher_.join();
  }

  Result<std::size_t> read(char* out, std::size_t bytes) override {
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min<std::size_t>(bytes, 1U << 20U));
    if (::ReadFile(output_.get(), out, wanted, &got, nullptr)) return got;
    const DWORD code = ::GetLastError();
    if (code == ERROR_BROKEN_PIPE || code == ERROR_HANDLE_EOF) return 0;
    return FailLastError("read", "a console");
  }

  ConsoleEnd wait_for_exit() override {
    constexpr DWORD kGraceWithoutConsole = 2000;
    if (::WaitForSingleObject(child_->process(), kGraceWithoutConsole) != WAIT_OBJECT_0) {
      child_->end_tree();
      ::WaitForSingleObject(child_->process(), kGraceWithoutConsole);
    }
    return {child_->exit_code(), {}};
  }

  Status write(std::string_view keys) override {
    const std::scoped_lock lock(write_mutex_);
    while (!keys.empty()) {
      if (ended_) return Fail(ErrorKind::kClosed, "the console was closed");
      DWORD put = 0;
      const auto wanted = static_cast<DWORD>(std::min<std::size_t>(keys.size(), 1U << 16U));
      if (!::WriteFile(keys_.get(), keys.data(), wanted, &put, nullptr)) {
        return FailLastError("write to", "a console");
      }
      keys.remove_prefix(put);
    }
    return {};
  }

  Status resize(ConsoleSize size) override {
    const std::scoped_lock lock(console_mutex_);
    if (console_ == nullptr) return Fail(ErrorKind::kClosed, "the console was closed");
    if (FAILED(ConsoleCalls().resize(console_, CoordinatesOf(size)))) {
      return Fail(ErrorKind::kIo, "cannot resize a console");
    }
    return {};
  }

  void end() override {
    ended_ = true;
    ::SetEvent(hang_up_.get());
    ::WaitForSingleObject(child_->process(), kGraceAfterHangUp);
    child_->end_tree();
  }

 private:
  /// The watcher's thread.
  void close_when_over() {
    const HANDLE waits[2]{child_->process(), hang_up_.get()};
    ::WaitForMultipleObjects(2, waits, FALSE, INFINITE);
    void* console = nullptr;
    {
      const std::scoped_lock lock(console_mutex_);
      console = std::exchange(console_, nullptr);
    }
    ConsoleCalls().close(console);
  }

  std::mutex console_mutex_;
  void* console_;  // guarded by console_mutex_; null once it is being closed
  std::mutex write_mutex_;
  const Handle keys_;
  Handle output_;
  const Handle hang_up_;
  std::atomic<bool> ended_{false};
  const std::unique_ptr<ChildProcess> child_;
  std::thread watcher_;  // last: it uses all the others
};

}  // namespace

Result<std::unique_ptr<PseudoConsole>> OpenPseudoConsole(const ConsoleStart& start) {
  const Calls& calls = ConsoleCalls();
  if (calls.create == nullptr || calls.resize == nullptr || calls.close == nullptr) {
    return Fail(ErrorKind::kUnavailable, "this version of Windows has no pseudo-consoles");
  }
  auto pipes = MakePipes();
  if (!pipes) return std::unexpected(std::move(pipes.error()));
  void* console = nullptr;
  const HRESULT made = calls.create(CoordinatesOf(start.size), pipes->their_keys.get(),
                                    pipes->their_output.get(), 0, &console);
  if (FAILED(made)) {
    return std::unexpected(
        SystemError(static_cast<unsigned long>(made) & 0xFFFFU, "make", "a console"));
  }
  // The console has ends of its own; with ours open the output would never end.
  pipes->their_keys.reset(nullptr);
  pipes->their_output.reset(nullptr);
  auto child =
      ChildProcess::start({.program = {},
                           .command_line = Widen(start.command_line),
                           .folder = Widen(start.folder.empty() ? UserHome() : start.folder),
                           .flags = 0,
                           .input = nullptr,
                           .output = nullptr,
                           .pseudo_console = console});
  if (!child) {
    pipes->output.reset(nullptr);
    calls.close(console);
    return std::unexpected(std::move(child.error()));
  }
  return std::make_unique<Console>(console, std::move(pipes->keys), std::move(pipes->output),
                                   std::move(*child));
}

}  // namespace mrb::platform
