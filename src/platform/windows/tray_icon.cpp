#include "platform/windows/tray_icon.h"

#include <shellapi.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

NOTIFYICONDATAW IconOf(HWND window) {
  NOTIFYICONDATAW data{};
  data.cbSize = sizeof data;
  data.hWnd = window;
  data.uID = 1;
  return data;
}

/// Copies what fits; the field was zero, so it ends in a zero.
void Fill(std::span<wchar_t> field, std::wstring_view text) {
  std::ranges::copy(text.substr(0, field.size() - 1), field.begin());
}

HICON LoadOwnIcon() {
  const HICON own = ::LoadIconW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(1));
  return own != nullptr ? own : ::LoadIconW(nullptr, reinterpret_cast<LPCWSTR>(IDI_APPLICATION));
}

}  // namespace

TrayIcon::TrayIcon(HWND window, const std::string& tooltip)
    : window_(window), tooltip_(Widen(tooltip)) {
  add();
}

TrayIcon::~TrayIcon() {
  NOTIFYICONDATAW data = IconOf(window_);
  ::Shell_NotifyIconW(NIM_DELETE, &data);
}

void TrayIcon::add() const {
  NOTIFYICONDATAW data = IconOf(window_);
  data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
  data.uCallbackMessage = kTrayMessage;
  data.hIcon = LoadOwnIcon();
  Fill(data.szTip, tooltip_);
  ::Shell_NotifyIconW(NIM_ADD, &data);
}

void TrayIcon::show_balloon(const std::string& title, const std::string& text) const {
  NOTIFYICONDATAW data = IconOf(window_);
  data.uFlags = NIF_INFO;
  data.dwInfoFlags = NIIF_INFO;
  Fill(data.szInfoTitle, Widen(title));
  Fill(data.szInfo, Widen(text));
  ::Shell_NotifyIconW(NIM_MODIFY, &data);
}

}  // namespace mrb::platform
