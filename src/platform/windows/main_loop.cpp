#include "platform/main_loop.h"

#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/windows/tray_icon.h"
#include "platform/windows/wide.h"

// The loop's thread owns a window that is never shown; other threads post messages to it. Requests
// that come before the window exists are kept and posted when it does. It is an ordinary window and
// not a message-only one, because only those are told that the shell was restarted or the user logs
// off.

namespace mrb::platform {
namespace {

constexpr const wchar_t* kWindowClass = L"MireboltTray";
constexpr UINT kBalloonMessage = WM_APP + 2;
constexpr UINT_PTR kOpenCommand = 1;
constexpr UINT_PTR kQuitCommand = 2;

struct Balloon {
  std::string title;
  std::string text;
};

/// What other threads leave for the loop.
struct Requests {
  std::mutex mutex;
  std::condition_variable changed;  // for a machine on which no window can be made
  HWND window = nullptr;            // guarded by mutex
  bool close = false;               // guarded by mutex
  std::optional<Balloon> balloon;   // guarded by mutex
};

Requests& TheRequests() {
  static Requests requests;
  return requests;
}

/// What the window's procedure works on; lives on the loop's stack.
struct Loop {
  const TrayMenu& menu;
  const TrayIcon& icon;
  UINT shell_restarted;
};

void ShowWaitingBalloon(const TrayIcon& icon) {
  Requests& requests = TheRequests();
  std::optional<Balloon> balloon;
  {
    const std::lock_guard lock(requests.mutex);
    balloon = std::exchange(requests.balloon, std::nullopt);
  }
  if (balloon) icon.show_balloon(balloon->title, balloon->text);
}

void ShowMenu(HWND window, const TrayMenu& menu) {
  const HMENU popup = ::CreatePopupMenu();
  ::AppendMenuW(popup, MF_STRING, kOpenCommand, L"Open");
  ::AppendMenuW(popup, MF_STRING, kQuitCommand, L"Quit");
  POINT at{};
  ::GetCursorPos(&at);
  ::SetForegroundWindow(window);  // or the menu would stay when the user clicks elsewhere
  const auto chosen = static_cast<UINT_PTR>(::TrackPopupMenu(
      popup, TPM_RETURNCMD | TPM_NONOTIFY | TPM_RIGHTBUTTON, at.x, at.y, 0, window, nullptr));
  ::DestroyMenu(popup);
  if (chosen == kOpenCommand && menu.open_page) menu.open_page();
  if (chosen == kQuitCommand) ::PostMessageW(window, WM_CLOSE, 0, 0);
}

void OnTrayMessage(HWND window, const TrayMenu& menu, LPARAM mouse) {
  if (mouse == WM_LBUTTONDBLCLK && menu.open_page) menu.open_page();
  if (mouse == WM_RBUTTONUP || mouse == WM_CONTEXTMENU) ShowMenu(window, menu);
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
  const LONG_PTR kept = ::GetWindowLongPtrW(window, GWLP_USERDATA);
  const auto* loop = reinterpret_cast<const Loop*>(kept);  // NOLINT(performance-no-int-to-ptr)
  if (message == WM_CLOSE) {
    ::PostQuitMessage(0);  // the window lives on until the icon that names it is gone
    return 0;
  }
  if (loop != nullptr) {
    if (message == kTrayMessage) OnTrayMessage(window, loop->menu, parameter);
    if (message == kBalloonMessage) ShowWaitingBalloon(loop->icon);
    if (message == loop->shell_restarted) loop->icon.add();
  }
  return ::DefWindowProcW(window, message, wide, parameter);
}

HWND MakeWindow() {
  WNDCLASSEXW window_class{};
  window_class.cbSize = sizeof window_class;
  window_class.lpfnWndProc = OnMessage;
  window_class.hInstance = ::GetModuleHandleW(nullptr);
  window_class.lpszClassName = kWindowClass;
  ::RegisterClassExW(&window_class);
  return ::CreateWindowExW(0, kWindowClass, L"Mirebolt", WS_OVERLAPPED, 0, 0, 0, 0, nullptr,
                           nullptr, window_class.hInstance, nullptr);
}

/// Makes the window known to the other threads and catches up on what they asked for before.
void Publish(HWND window) {
  Requests& requests = TheRequests();
  const std::lock_guard lock(requests.mutex);
  requests.window = window;
  if (requests.balloon) ::PostMessageW(window, kBalloonMessage, 0, 0);
  if (requests.close) ::PostMessageW(window, WM_CLOSE, 0, 0);
}

void RunMessageLoop(HWND window, const TrayMenu& menu) {
  const TrayIcon icon(window, menu.title);
  const Loop loop{menu, icon, ::RegisterWindowMessageW(L"TaskbarCreated")};
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&loop));
  Publish(window);
  MSG message{};
  while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
}

void Withdraw(HWND window) {
  {
    const std::lock_guard lock(TheRequests().mutex);
    TheRequests().window = nullptr;
  }
  ::DestroyWindow(window);
}

/// True when a close was asked for before.
bool AskToClose() {
  Requests& requests = TheRequests();
  const std::lock_guard lock(requests.mutex);
  const bool before = std::exchange(requests.close, true);
  if (requests.window != nullptr) ::PostMessageW(requests.window, WM_CLOSE, 0, 0);
  requests.changed.notify_all();
  return before;
}

BOOL WINAPI OnConsoleEvent(DWORD event) {
  // Who asks a second time, because closing takes too long, ends the process.
  if (AskToClose()) return FALSE;
  // After these the system ends the process as soon as this returns, or after a few seconds; main()
  // gets that time.
  constexpr DWORD kLongerThanTheSystemWaits = 30'000;
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) ::Sleep(kLongerThanTheSystemWaits);
  return TRUE;
}

}  // namespace

void PrepareMainLoop() {
  ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

void RunMainLoop(const TrayMenu& menu) {
  if (const HWND window = MakeWindow(); window != nullptr) {
    RunMessageLoop(window, menu);
    Withdraw(window);
    return;
  }
  Requests& requests = TheRequests();
  std::unique_lock lock(requests.mutex);
  requests.changed.wait(lock, [&] { return requests.close; });
}

void RequestClose() {
  static_cast<void>(AskToClose());
}

bool IsCloseRequested() {
  Requests& requests = TheRequests();
  const std::scoped_lock lock(requests.mutex);
  return requests.close;
}

void ShowBalloon(const std::string& title, const std::string& text) {
  Requests& requests = TheRequests();
  const std::lock_guard lock(requests.mutex);
  requests.balloon = Balloon{title, text};
  if (requests.window != nullptr) ::PostMessageW(requests.window, kBalloonMessage, 0, 0);
}

}  // namespace mrb::platform
