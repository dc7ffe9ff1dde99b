#include "platform/console.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/stdin_bytes.h"
#include "platform/windows/console_log.h"
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
  constexpr std::size_t kMostPerCall = 8192;
  const std::wstring wide = Widen(text);
  std::wstring_view rest = wide;
  while (!rest.empty()) {
    DWORD put = 0;
    const auto wanted = static_cast<DWORD>(std::min(rest.size(), kMostPerCall));
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

}  // namespace mrb::platform
