#include <windows.h>

#include <utility>

#include "platform/console.h"
#include "platform/log_file.h"
#include "platform/windows/console_log.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

namespace {

/// The standard error of whoever started this process, as long as nothing was reported to it.
Handle& ErrorsLeftBehind() {
  static Handle errors;
  return errors;
}

void KeepErrors() {
  HANDLE copy = nullptr;
  const HANDLE self = ::GetCurrentProcess();
  if (::DuplicateHandle(self, ::GetStdHandle(STD_ERROR_HANDLE), self, &copy, 0, FALSE,
                        DUPLICATE_SAME_ACCESS)) {
    ErrorsLeftBehind().reset(copy);
  }
}

}  // namespace

Status DetachConsole(const std::string& log_path) {
  SetAsideLargeLog(log_path);
  // Append access alone: each write goes to the end, whoever else writes there.
  Handle log(::CreateFileW(WidePath(log_path).c_str(), FILE_APPEND_DATA,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!log) return FailLastError("open", log_path);
  KeepErrors();
  ::FreeConsole();
  if (!::AllocConsole()) return FailLastError("allocate", "a console");
  if (const HWND window = ::GetConsoleWindow(); window != nullptr) ::ShowWindow(window, SW_HIDE);
  SendOutputToLog(std::move(log));
  return {};
}

/// Of a console that was left nothing is left; a file or a pipe takes the complaint.
void ReportStart(std::string_view complaint) {
  const Handle errors = std::move(ErrorsLeftBehind());
  DWORD put = 0;
  if (!errors || complaint.empty()) return;
  ::WriteFile(errors.get(), complaint.data(), static_cast<DWORD>(complaint.size()), &put, nullptr);
}

}  // namespace mrb::platform
