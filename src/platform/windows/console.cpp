#include "platform/console.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/stdin_bytes.h"
#include "platform/windows/console_log.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

namespace {

/// Set once, by DetachConsole(), while there is one thread; never closed, for others write to it.
HANDLE output_log = nullptr;

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle, &mode) != 0;
}

void WriteBytes(HANDLE handle, std::string_view text) {
  while (!text.empty()) {
    DWORD put = 0;
    const auto wanted = static_cast<DWORD>(std::min<std::size_t>(text.size(), 1U << 20U));
    if (!::WriteFile(handle, text.data(), wanted, &put, nullptr) || put == 0) return;
    text.remove_prefix(put);
  }
}

/// A console takes UTF-16, whatever its code page is, and only so much at once.
void WriteToConsole(HANDLE console, std::string_view text) {
  constexpr std::size_t kMaxPerCall = 8192;
  const std::wstring wide = Widen(text);
  std::wstring_view rest = wide;
  while (!rest.empty()) {
    DWORD put = 0;
    const auto wanted = static_cast<DWORD>(std::min(rest.size(), kMaxPerCall));
    if (!::WriteConsoleW(console, rest.data(), wanted, &put, nullptr) || put == 0) return;
    rest.remove_prefix(put);
  }
}

void Write(DWORD stream, std::string_view text) {
  const HANDLE handle = output_log != nullptr ? output_log : ::GetStdHandle(stream);
  if (IsConsole(handle)) {
    WriteToConsole(handle, text);
  } else {
    WriteBytes(handle, text);
  }
}

/// Appends what a console's user typed; false at the end of input, which Ctrl-Z at a line's start
/// is.
bool ReadFromConsole(HANDLE console, std::string& buffer) {
  std::array<wchar_t, 2048> piece{};
  DWORD got = 0;
  if (!::ReadConsoleW(console, piece.data(), static_cast<DWORD>(piece.size()), &got, nullptr)) {
    return false;
  }
  constexpr wchar_t kCtrlZ = 0x1a;
  if (got == 0 || piece[0] == kCtrlZ) return false;
  buffer += Narrow(std::wstring_view(piece.data(), got));
  return true;
}

constexpr DWORD kTerminalInput = 0x0200;   // ENABLE_VIRTUAL_TERMINAL_INPUT
constexpr DWORD kTerminalOutput = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING

bool IsFirstHalf(wchar_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}

}  // namespace

void SendOutputToLog(Handle log) {
  static Handle kept;
  kept = std::move(log);
  output_log = kept.get();
}

bool StdinIsConsole() {
  return IsConsole(::GetStdHandle(STD_INPUT_HANDLE));
}
bool StdoutIsConsole() {
  return IsConsole(::GetStdHandle(STD_OUTPUT_HANDLE));
}
bool StderrIsConsole() {
  return IsConsole(::GetStdHandle(STD_ERROR_HANDLE));
}

void WriteStdout(std::string_view text) {
  Write(STD_OUTPUT_HANDLE, text);
}
void WriteStderr(std::string_view text) {
  Write(STD_ERROR_HANDLE, text);
}

/// A pipe cannot be waited for, only looked into; of everything else waiting tells.
bool AwaitStdinBytes(std::chrono::milliseconds wait) {
  constexpr DWORD kBetweenLooks = 10;
  const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
  if (::GetFileType(input) != FILE_TYPE_PIPE) {
    return ::WaitForSingleObject(input, static_cast<DWORD>(wait.count())) != WAIT_TIMEOUT;
  }
  for (auto left = wait.count();; left -= kBetweenLooks) {
    DWORD bytes = 0;
    if (!::PeekNamedPipe(input, nullptr, 0, nullptr, &bytes, nullptr) || bytes > 0) return true;
    if (left <= 0) return false;
    ::Sleep(kBetweenLooks);
  }
}

bool ReadStdin(std::string& buffer) {
  const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
  if (IsConsole(input)) return ReadFromConsole(input, buffer);
  std::array<char, 4096> piece{};
  DWORD got = 0;
  if (!::ReadFile(input, piece.data(), static_cast<DWORD>(piece.size()), &got, nullptr)) {
    return false;
  }
  buffer.append(piece.data(), got);
  return got > 0;
}

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
