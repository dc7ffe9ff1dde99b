#pragma once

#include <functional>
#include <string>

namespace mrb::platform {

/// What keeps a resident alive: a tray icon's message loop on Windows, a wait for a request or a
/// signal elsewhere. One per process.

/// Takes charge of SIGTERM, SIGINT and SIGHUP (Windows: console control events) so that they close
/// the resident instead of killing it. Call once, before the first thread is started.
void PrepareMainLoop();

struct TrayMenu {
  std::string title;                ///< tooltip of the icon
  std::function<void()> open_page;  ///< double click, or "Open" in the menu
};

/// Blocks until RequestClose() or a signal or the user's "Quit".
void RunMainLoop(const TrayMenu& menu);

/// Ends RunMainLoop(), also when it has not begun yet. Any thread.
void RequestClose();

/// Whether RunMainLoop() would return at once. Any thread.
[[nodiscard]] bool IsCloseRequested();

/// Shows a notice at the tray icon; where there is no tray nothing happens. Before or during
/// RunMainLoop(), any thread.
void ShowBalloon(const std::string& title, const std::string& text);

}  // namespace mrb::platform
