#include "platform/pseudo_console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/command_words.h"
#include "platform/posix/child_process.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"
#include "platform/process.h"

// The child leads a session whose controlling terminal is ours, so the system hangs the terminal up
// when the child ends: what others wrote until then is still read, then reading fails with EIO.
// Only a process that kept the terminal open although it was not hung up, and that could not be
// found to be killed, can hold the end back; end() then wakes the reader itself.
//
// The reader's reads block, because one call for each piece of output is what a fast program leaves
// time for. Writes must not block, and the two share one open file: so a writer makes it
// non-blocking while it writes, and a reader that is told so waits by other means for once.

namespace mrb::platform {
namespace {

constexpr std::chrono::milliseconds kGraceAfterHangUp{500};
constexpr std::chrono::milliseconds kGraceWithoutTerminal{2000};
constexpr std::chrono::milliseconds kPatienceForKeys{5000};
constexpr std::chrono::milliseconds kPatienceWithTheKilled{5000};

winsize WindowSize(ConsoleSize size) {
  winsize window{};
  window.ws_col = size.columns;
  window.ws_row = size.rows;
  return window;
}

struct Terminal {
  Descriptor master;
  std::string path;  // of the side that the child gets
};

Result<Terminal> OpenTerminal(ConsoleSize size) {
  Terminal terminal;
  terminal.master.reset(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  const int master = terminal.master.get();
  if (!terminal.master || ::grantpt(master) != 0 || ::unlockpt(master) != 0) {
    return FailErrno("open", "a terminal");
  }
  std::array<char, 64> path{};
  if (const int failed = ::ptsname_r(master, path.data(), path.size()); failed != 0) {
    return std::unexpected(SystemError(failed, "name", "a terminal"));
  }
  terminal.path = path.data();
  const winsize window = WindowSize(size);
  ::ioctl(master, TIOCSWINSZ, &window);
  if (termios modes{}; ::tcgetattr(master, &modes) == 0) {
    modes.c_iflag |= IUTF8;  // a backspace takes a whole character away
    ::tcsetattr(master, TCSANOW, &modes);
  }
  return terminal;
}

std::unexpected<Error> Closed() {
  return Fail(ErrorKind::kClosed, "the terminal was closed");
}

class Console final : public PseudoConsole {
 public:
  Console(Terminal terminal, Descriptor gone, std::unique_ptr<ChildProcess> child)
      : master_(std::move(terminal.master)),
        path_(std::move(terminal.path)),
        gone_(std::move(gone)),
        child_(std::move(child)) {}

  Result<std::size_t> read(char* out, std::size_t bytes) override {
    while (!abandoned_) {
      const auto got = Uninterrupted([&] { return ::read(master_.get(), out, bytes); });
      if (abandoned_) return 0;
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno == EIO) return 0;
      if (errno != EAGAIN) return FailErrno("read", "a terminal");
      wait_for(POLLIN, std::nullopt);
    }
    return 0;
  }

  ConsoleEnd wait_for_exit() override {
    if (!child_->await_end(kGraceWithoutTerminal)) hunt();
    std::unique_lock lock(hunt_mutex_);  // an end() that has begun is through before it is told of
    ConsoleEnd end{child_->reap(), left_};
    lock.unlock();
    const std::scoped_lock closing(write_mutex_, mutex_);
    // An ended session may be kept for long; its descriptors need not be.
    master_.reset(-1);
    return end;
  }

  Status write(std::string_view keys) override {
    const std::scoped_lock lock(write_mutex_);
    if (!master_) return Closed();
    ::fcntl(master_.get(), F_SETFL, O_NONBLOCK);
    Status written = write_all(keys);
    ::fcntl(master_.get(), F_SETFL, 0);
    return written;
  }

  Status resize(ConsoleSize size) override {
    const std::scoped_lock lock(mutex_);
    if (!master_) return Closed();
    const winsize window = WindowSize(size);
    if (::ioctl(master_.get(), TIOCSWINSZ, &window) != 0) return FailErrno("resize", "a terminal");
    return {};
  }

  void end() override {
    {
      const std::scoped_lock hunt_lock(hunt_mutex_);
      {
        const std::scoped_lock lock(mutex_);
        if (master_) child_->hang_up(::tcgetpgrp(master_.get()));
      }
      static_cast<void>(child_->await_end(kGraceAfterHangUp));
      hunt_locked();
    }
    abandoned_ = true;
    ::eventfd_write(gone_.get(), 1);
    wake_reader();
  }

 private:
  void hunt() {
    const std::scoped_lock lock(hunt_mutex_);
    hunt_locked();
  }

  void hunt_locked() {
    const std::vector<pid_t> left = child_->end_tree();
    left_.assign(left.begin(), left.end());
    if (left_.empty()) static_cast<void>(child_->await_end(kPatienceWithTheKilled));
  }

  Status write_all(std::string_view keys) {
    const auto deadline = std::chrono::steady_clock::now() + kPatienceForKeys;
    while (!keys.empty()) {
      if (abandoned_) return Closed();
      const auto put =
          Uninterrupted([&] { return ::write(master_.get(), keys.data(), keys.size()); });
      if (put > 0) {
        keys.remove_prefix(static_cast<std::size_t>(put));
        continue;
      }
      if (put < 0 && errno != EAGAIN) return FailErrno("write to", "a terminal");
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return Fail(ErrorKind::kTimedOut, "the terminal takes no more keys");
      wait_for(POLLOUT, left);
    }
    return {};
  }

  /// One byte of output, which nobody gets to see, from the program's side of the terminal. Once
  /// ours is closed, the path may be that of somebody else's terminal.
  void wake_reader() {
    const std::scoped_lock lock(mutex_);
    if (!master_) return;
    const Descriptor side(::open(path_.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!side) return;
    ::tcflow(side.get(), TCOON);
    const auto ignored = ::write(side.get(), "", 1);  // when it is full, the reader is awake
    static_cast<void>(ignored);
  }

  /// Returns at the event, at the end() or after the limit.
  void wait_for(short events, std::optional<std::chrono::milliseconds> limit) const {
    std::array<pollfd, 2> waits{{{master_.get(), events, 0}, {gone_.get(), POLLIN, 0}}};
    ::poll(waits.data(), waits.size(), limit ? static_cast<int>(limit->count()) : -1);
  }

  Descriptor master_;       // closed, under both mutexes, once the program is gone
  const std::string path_;  // of the program's side
  const Descriptor gone_;   // readable once end() is through
  std::atomic<bool> abandoned_{false};
  std::mutex write_mutex_;
  std::mutex mutex_;
  std::mutex hunt_mutex_;                      // taken before mutex_
  std::vector<std::uint32_t> left_;            // guarded by hunt_mutex_
  const std::unique_ptr<ChildProcess> child_;  // last: ended before the terminal goes
};

std::vector<std::string> ArgumentsOf(const std::string& command_line) {
  if (auto words = SplitCommandWords(command_line)) return std::move(*words);
  return {"/bin/sh", "-c", command_line};
}

}  // namespace

Result<std::unique_ptr<PseudoConsole>> OpenPseudoConsole(const ConsoleStart& start) {
  auto terminal = OpenTerminal(start.size);
  if (!terminal) return std::unexpected(std::move(terminal.error()));
  Descriptor gone(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!gone) return FailErrno("open", "an event");
  auto child = ChildProcess::start({.arguments = ArgumentsOf(start.command_line),
                                    .folder = start.folder.empty() ? UserHome() : start.folder,
                                    .terminal = terminal->path});
  if (!child) return std::unexpected(std::move(child.error()));
  return std::make_unique<Console>(std::move(*terminal), std::move(gone), std::move(*child));
}

}  // namespace mrb::platform
