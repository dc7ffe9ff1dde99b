#include "platform/private_folder.h"

#include <windows.h>
//
#include <aclapi.h>

#include <array>
#include <memory>

#include "platform/windows/access_list.h"
#include "platform/windows/file_status.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

struct FreeLocal {
  using pointer = PSECURITY_DESCRIPTOR;
  void operator()(PSECURITY_DESCRIPTOR memory) const { ::LocalFree(memory); }
};
using Descriptor = std::unique_ptr<void, FreeLocal>;

/// Links are followed.
Handle Open(const std::string& path) {
  return Handle(::CreateFileW(WidePath(path).c_str(), READ_CONTROL | FILE_READ_ATTRIBUTES,
                              kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS,
                              nullptr));
}

/// Null, with the thread's last error set, when it cannot be read.
Descriptor ReadSecurity(const Handle& folder) {
  PSECURITY_DESCRIPTOR read = nullptr;
  const DWORD failed = ::GetSecurityInfo(folder.get(), SE_FILE_OBJECT,
                                         OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                         nullptr, nullptr, nullptr, nullptr, &read);
  ::SetLastError(failed);
  return Descriptor(failed == ERROR_SUCCESS ? read : nullptr);
}

Result<FolderState> StateWithoutOpening(const std::string& path) {
  switch (::GetLastError()) {
    case ERROR_ACCESS_DENIED:
      // An owner may always read that much.
      return FolderState::kForeign;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      // A link that leads nowhere has attributes of its own.
      return ::GetFileAttributesW(WidePath(path).c_str()) == INVALID_FILE_ATTRIBUTES
                 ? FolderState::kMissing
                 : FolderState::kNoFolder;
    default:
      return FailLastError("examine", path);
  }
}

/// "DOMAIN\name"; empty for an account that is gone.
std::string AccountOf(PSID sid) {
  std::array<wchar_t, 257> name{};
  std::array<wchar_t, 257> domain{};
  DWORD name_size = static_cast<DWORD>(name.size());
  DWORD domain_size = static_cast<DWORD>(domain.size());
  SID_NAME_USE use{};
  if (!::LookupAccountSidW(nullptr, sid, name.data(), &name_size, domain.data(), &domain_size,
                           &use)) {
    return {};
  }
  return (domain_size == 0 ? "" : Narrow(domain.data()) + "\\") + Narrow(name.data());
}

std::string Icacls(const std::string& path) {
  return "icacls \"" + path + "\"";  // no name can hold a quote
}

}  // namespace

Result<FolderState> ExamineFolder(const std::string& path) {
  const Handle folder = Open(path);
  if (!folder) return StateWithoutOpening(path);
  BY_HANDLE_FILE_INFORMATION info{};
  if (!::GetFileInformationByHandle(folder.get(), &info)) return FailLastError("examine", path);
  if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return FolderState::kNoFolder;
  const Descriptor security = ReadSecurity(folder);
  if (!security) return FailLastError("read the access list of", path);
  return JudgeSecurity(security.get());
}

std::string FolderOwner(const std::string& path) {
  const Handle folder = Open(path);
  if (!folder) return {};
  const Descriptor security = ReadSecurity(folder);
  PSID owner = nullptr;
  BOOL defaulted = FALSE;
  if (!security || !::GetSecurityDescriptorOwner(security.get(), &owner, &defaulted) ||
      owner == nullptr) {
    return {};
  }
  const std::string name = AccountOf(owner);
  return name.empty() ? Narrow(SidText(owner)) : name;
}

std::string ClosingCommands(const std::string& path) {
  // The first takes away what was granted to others by name, the second what is inherited.
  std::string commands = Icacls(path) + " /reset\n" + Icacls(path) + " /inheritance:r /grant:r";
  for (const std::wstring& sid :
       {OwnSid(), std::wstring(kSystemSid), std::wstring(kAdministratorsSid)}) {
    commands += " \"*" + Narrow(sid) + ":(OI)(CI)F\"";
  }
  return commands;
}

std::string TakingCommand(const std::string& path) {
  return Icacls(path) + " /setowner \"*" + Narrow(OwnSid()) + "\" /T";
}

}  // namespace mrb::platform
