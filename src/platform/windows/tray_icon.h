#pragma once

#include <windows.h>

#include <string>

namespace mrb::platform {

inline constexpr UINT kTrayMessage = WM_APP + 1;  ///< what the icon sends: the mouse's own message

/// The icon in the notification area, as long as the object lives. Where there is no such area (a
/// service, a machine without a shell) every call does nothing.
class TrayIcon {
 public:
  TrayIcon(HWND window, const std::string& tooltip);
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;
  ~TrayIcon();

  /// Puts the icon there again, after the shell was restarted.
  void add() const;

  void show_balloon(const std::string& title, const std::string& text) const;

 private:
  HWND window_;
  std::wstring tooltip_;
};

}  // namespace mrb::platform
