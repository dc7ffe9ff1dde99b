#include "platform/console.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"
#include "platform/stdin_bytes.h"

namespace mrb::platform {

namespace {

/// Waits until a stream that somebody made non-blocking can be used again.
bool WaitFor(int fd, short events, int milliseconds = -1) {
  pollfd wait{fd, events, 0};
  return Uninterrupted([&] { return ::poll(&wait, 1, milliseconds); }) > 0;
}

void WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const auto put = Uninterrupted([&] { return ::write(fd, text.data(), text.size()); });
    if (put >= 0) {
      text.remove_prefix(static_cast<std::size_t>(put));
    } else if (errno != EAGAIN || !WaitFor(fd, POLLOUT)) {
      return;
    }
  }
}

}  // namespace

bool StdinIsConsole() {
  return ::isatty(STDIN_FILENO) == 1;
}
bool StdoutIsConsole() {
  return ::isatty(STDOUT_FILENO) == 1;
}
bool StderrIsConsole() {
  return ::isatty(STDERR_FILENO) == 1;
}

void WriteStdout(std::string_view text) {
  WriteAll(STDOUT_FILENO, text);
}
void WriteStderr(std::string_view text) {
  WriteAll(STDERR_FILENO, text);
}

bool AwaitStdinBytes(std::chrono::milliseconds wait) {
  return WaitFor(STDIN_FILENO, POLLIN, static_cast<int>(wait.count()));
}

bool ReadStdin(std::string& buffer) {
  std::array<char, 4096> piece;
  for (;;) {
    const auto got =
        Uninterrupted([&] { return ::read(STDIN_FILENO, piece.data(), piece.size()); });
    if (got > 0) {
      buffer.append(piece.data(), static_cast<std::size_t>(got));
      return true;
    }
    if (got == 0 || errno != EAGAIN || !WaitFor(STDIN_FILENO, POLLIN)) return false;
  }
}

struct RawConsole::Modes {
  termios input{};
};

std::optional<ConsoleSize> StdoutConsoleSize() {
  winsize window{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0) return std::nullopt;
  return ConsoleSize{window.ws_col, window.ws_row};
}

RawConsole::RawConsole(std::unique_ptr<Modes> modes) : modes_(std::move(modes)) {}
RawConsole::RawConsole(RawConsole&& other) noexcept = default;

RawConsole::~RawConsole() {
  if (modes_ != nullptr) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &modes_->input);
}

Result<RawConsole> RawConsole::enter() {
  auto modes = std::make_unique<Modes>();
  if (!StdoutIsConsole() || ::tcgetattr(STDIN_FILENO, &modes->input) != 0) {
    return Fail(ErrorKind::kUnavailable, "standard input and output are no console");
  }
  termios raw = modes->input;
  ::cfmakeraw(&raw);
  if (::tcsetattr(STDIN_FILENO, TCSADRAIN, &raw) != 0) return FailErrno("use", "the console");
  return RawConsole(std::move(modes));
}

std::optional<std::string> RawConsole::keys(std::chrono::milliseconds wait) {
  pollfd poll{STDIN_FILENO, POLLIN, 0};
  if (::poll(&poll, 1, static_cast<int>(wait.count())) <= 0) return std::string();
  std::array<char, 4096> piece;  // NOLINT: filled by the system
  const auto got = Uninterrupted([&] { return ::read(STDIN_FILENO, piece.data(), piece.size()); });
  if (got <= 0) return std::nullopt;
  return std::string(piece.data(), static_cast<std::size_t>(got));
}

}  // namespace mrb::platform
