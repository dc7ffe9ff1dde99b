#include "platform/process.h"

#include <windows.h>

#include <shellapi.h>

#include <array>

#include "platform/files.h"
#include "platform/paths.h"
#include "platform/private_folder.h"
#include "platform/windows/access_list.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

std::vector<std::string> ProcessArguments(int argc, char** argv) {
  int count = 0;
  wchar_t** words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (words == nullptr || count < 1) return {argv, argv + argc};
  std::vector<std::string> arguments;
  arguments.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) arguments.push_back(Narrow(words[i]));
  ::LocalFree(static_cast<HLOCAL>(words));
  return arguments;
}

std::string ExecutablePath() {
  // Longer paths than these the system runs nothing from without special preparation; one that just
  // fits may be a cut one.
  std::array<wchar_t, MAX_PATH> path{};
  const DWORD size = static_cast<DWORD>(path.size());
  const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), size);
  return length == 0 || length >= size - 1 ? std::string()
                                           : Narrow(std::wstring_view(path.data(), length));
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const std::wstring wide = Widen(name);
  std::wstring value;
  for (;;) {
    // The size needed, while there is too little room; it may grow between two calls.
    ::SetLastError(ERROR_SUCCESS);
    const DWORD room = static_cast<DWORD>(value.size());
    const DWORD length = ::GetEnvironmentVariableW(wide.c_str(), value.data(), room);
    if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
    value.resize(length);
    if (length <= room) return Narrow(value);
  }
}

std::string CurrentDirectory() {
  std::wstring path(::GetCurrentDirectoryW(0, nullptr), L'\0');
  const DWORD length = ::GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data());
  path.resize(length < path.size() ? length : 0);
  return Narrow(path);
}

std::uint32_t ProcessId() {
  return ::GetCurrentProcessId();
}

std::string RuntimeFolder() {
  std::array<wchar_t, MAX_PATH + 1> temporary{};
  const DWORD length = ::GetTempPathW(static_cast<DWORD>(temporary.size()), temporary.data());
  if (length == 0 || length > MAX_PATH) return {};
  std::string folder = JoinPath(Narrow(std::wstring_view(temporary.data(), length)), "Mirebolt");
  return MakeDirectories(SystemFiles(), folder) ? folder : std::string();
}

// Not the runtime folder: that is the one for temporary files, which callers point elsewhere.
std::string SharedStateFolder(const std::string& data_home) {
  return data_home;
}

std::string DefaultDataHome() {
  const std::string shared = EnvironmentVariable("ProgramData").value_or("");
  if (shared.empty()) return shared;
  const std::string usual = shared + "\\Mirebolt";
  const bool taken = ExamineFolder(usual) == FolderState::kForeign;
  return taken ? usual + "-" + Narrow(OwnSid()) : usual;
}

std::string AbsolutePath(const std::string& path) {
  const std::wstring full = FullPath(Widen(path));
  return full.empty() ? path : Narrow(full);
}

bool CanInstallInto(const std::string& /*folder*/, const std::string& home) {
  return ExamineFolder(home) != FolderState::kForeign;
}

std::string DefaultShell() {
  const std::string shell = EnvironmentVariable("COMSPEC").value_or("");
  if (shell.empty()) return "cmd.exe";
  return shell.find(' ') == std::string::npos ? shell : '"' + shell + '"';
}

std::string UserHome() {
  return EnvironmentVariable("USERPROFILE").value_or("");
}

}  // namespace mrb::platform
