#include "platform/raw_console.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "platform/console.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {

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
