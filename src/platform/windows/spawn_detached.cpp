#include <windows.h>

#include "platform/command_words.h"
#include "platform/process.h"
#include "platform/windows/child_process.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

Status SpawnDetached(const std::vector<std::string>& arguments, const std::string& folder) {
  if (arguments.empty())
    return Fail(ErrorKind::kInvalidArgument, "cannot start a nameless program");
  const std::wstring program = Widen(arguments[0]);
  std::wstring line = Widen(WindowsCommandLine(arguments));  // the call may write into it
  const std::wstring directory = Widen(folder);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = NoStreamsFlag();
  PROCESS_INFORMATION process{};
  if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                        nullptr, directory.empty() ? nullptr : directory.c_str(), &startup,
                        &process)) {
    return FailLastError("start", arguments[0]);
  }
  const Handle closes_process(process.hProcess);
  const Handle closes_thread(process.hThread);
  return {};
}

}  // namespace mrb::platform
