#include "platform/raw_console.h"

#include <windows.h>

#include <array>
#include <utility>

#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

constexpr DWORD kTerminalInput = 0x0200;   // ENABLE_VIRTUAL_TERMINAL_INPUT
constexpr DWORD kTerminalOutput = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING

bool IsFirstHalf(wchar_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}

}  // namespace

struct RawConsole::Modes {
  DWORD input = 0;
  DWORD output = 0;
  std::wstring half;  // of a character whose other half has not come
};

std::optional<ConsoleSize> StdoutConsoleSize() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &info)) return std::nullopt;
  return ConsoleSize{static_cast<std::uint16_t>(info.srWindow.Right - info.srWindow.Left + 1),
                     static_cast<std::uint16_t>(info.srWindow.Bottom - info.srWindow.Top + 1)};
}

RawConsole::RawConsole(std::unique_ptr<Modes> modes) : modes_(std::move(modes)) {}
RawConsole::RawConsole(RawConsole&& other) noexcept = default;

RawConsole::~RawConsole() {
  if (modes_ == nullptr) return;
  ::SetConsoleMode(::GetStdHandle(STD_INPUT_HANDLE), modes_->input);
  ::SetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), modes_->output);
}

Result<RawConsole> RawConsole::enter() {
  const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
  const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
  auto modes = std::make_unique<Modes>();
  if (!::GetConsoleMode(input, &modes->input) || !::GetConsoleMode(output, &modes->output)) {
    return Fail(ErrorKind::kUnavailable, "standard input and output are no console");
  }
  if (!::SetConsoleMode(input, kTerminalInput)) return FailLastError("use", "the console");
  ::SetConsoleMode(output, modes->output | kTerminalOutput | ENABLE_PROCESSED_OUTPUT);
  return RawConsole(std::move(modes));
}

/// By events and not as text: reading text would wait where only the window's size changed.
std::optional<std::string> RawConsole::keys(std::chrono::milliseconds wait) {
  const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
  if (::WaitForSingleObject(input, static_cast<DWORD>(wait.count())) != WAIT_OBJECT_0) {
    return std::string();
  }
  std::array<INPUT_RECORD, 256> events{};
  DWORD got = 0;
  if (!::ReadConsoleInputW(input, events.data(), static_cast<DWORD>(events.size()), &got)) {
    return std::nullopt;
  }
  std::wstring text = std::exchange(modes_->half, {});
  for (DWORD i = 0; i < got; ++i) {
    const KEY_EVENT_RECORD& key = events[i].Event.KeyEvent;
    if (events[i].EventType != KEY_EVENT || !key.bKeyDown || key.uChar.UnicodeChar == 0) continue;
    text.append(key.wRepeatCount, key.uChar.UnicodeChar);
  }
  if (!text.empty() && IsFirstHalf(text.back())) {
    modes_->half = text.back();
    text.pop_back();
  }
  return Narrow(text);
}

}  // namespace mrb::platform
