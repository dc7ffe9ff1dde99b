#include <windows.h>

#include "platform/console.h"
#include "platform/log_file.h"
#include "platform/windows/console_log.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

Status DetachConsole(const std::string& log_path) {
  SetAsideLargeLog(log_path);
  // Append access alone: each write goes to the end, whoever else writes there.
  Handle log(::CreateFileW(WidePath(log_path).c_str(), FILE_APPEND_DATA,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!log) return FailLastError("open", log_path);
  ::FreeConsole();
  if (!::AllocConsole()) return FailLastError("allocate", "a console");
  if (const HWND window = ::GetConsoleWindow(); window != nullptr) ::ShowWindow(window, SW_HIDE);
  SendOutputToLog(std::move(log));
  return {};
}

}  // namespace mrb::platform
