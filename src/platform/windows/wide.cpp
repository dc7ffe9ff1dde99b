#include "platform/windows/wide.h"

#include <windows.h>

namespace mrb::platform {
namespace {

// The plain form ends at 260 characters with the terminating zero; a folder must leave room in it
// for a short name of 12.
constexpr std::size_t kMaxPlainPath = 247;

}  // namespace

std::wstring Widen(std::string_view text) {
  const int length =
      ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                        length);
  return wide;
}

std::string Narrow(std::wstring_view text) {
  const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                           nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(length), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                        length, nullptr, nullptr);
  return narrow;
}

std::wstring FullPath(const std::wstring& path) {
  const DWORD size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  const DWORD length = ::GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
  full.resize(length < size ? length : 0);
  return full;
}

std::wstring WidePath(std::string_view path) {
  std::wstring wide = Widen(path);
  if (wide.size() <= kMaxPlainPath || wide.starts_with(LR"(\\?\)")) return wide;
  // The prefix also switches off "/" and "..", so both go first.
  const std::wstring full = FullPath(wide);
  if (full.empty() || full.starts_with(LR"(\\?\)") || full.starts_with(LR"(\\.\)")) return wide;
  if (full.starts_with(LR"(\\)")) return LR"(\\?\UNC\)" + full.substr(2);
  return LR"(\\?\)" + full;
}

}  // namespace mrb::platform
