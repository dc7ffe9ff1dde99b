#include "platform/windows/access_list.h"

#include <sddl.h>

#include <array>
#include <cstddef>

#include "platform/windows/handle.h"

namespace mrb::platform {
namespace {

constexpr DWORD kWriting = FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY | FILE_DELETE_CHILD |
                           FILE_WRITE_EA | FILE_WRITE_ATTRIBUTES | DELETE | WRITE_DAC |
                           WRITE_OWNER | GENERIC_WRITE | GENERIC_ALL;

// Both stand for whoever owns the folder, or will own what is made in it.
constexpr const wchar_t* kCreatorOwnerSid = L"S-1-3-0";
constexpr const wchar_t* kOwnerRightsSid = L"S-1-3-4";

std::wstring ReadOwnSid() {
  HANDLE opened = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &opened)) return {};
  const Handle token(opened);
  struct {
    TOKEN_USER user;
    std::array<std::byte, SECURITY_MAX_SID_SIZE> sid;
  } answer{};
  DWORD size = 0;
  if (!::GetTokenInformation(token.get(), TokenUser, &answer, sizeof answer, &size)) return {};
  return SidText(answer.user.User.Sid);
}

PSECURITY_DESCRIPTOR MakePrivateDescriptor() {
  if (OwnSid().empty()) return nullptr;
  std::wstring text = L"O:" + OwnSid() + L"D:P";  // P: nothing comes from the folder above
  for (const std::wstring& sid :
       {OwnSid(), std::wstring(kSystemSid), std::wstring(kAdministratorsSid)}) {
    text += L"(A;OICI;FA;;;" + sid + L")";  // allowed, for files and folders below too, everything
  }
  PSECURITY_DESCRIPTOR made = nullptr;
  return ::ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1,
                                                                &made, nullptr)
             ? made
             : nullptr;
}

/// The user, or those who can take everything anyway.
bool IsTrusted(const std::wstring& sid) {
  return !sid.empty() && (sid == OwnSid() || sid == kSystemSid || sid == kAdministratorsSid);
}

bool LetsOthersWrite(ACE_HEADER* entry) {
  switch (entry->AceType) {
    case ACCESS_DENIED_ACE_TYPE:
    case ACCESS_DENIED_OBJECT_ACE_TYPE:
    case ACCESS_DENIED_CALLBACK_ACE_TYPE:
      return false;
    case ACCESS_ALLOWED_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_ACE_TYPE:  // begins the same way, and its condition may hold
      break;
    default:
      return true;  // none that folders have; what is not understood is not trusted
  }
  auto* const allowed = reinterpret_cast<ACCESS_ALLOWED_ACE*>(entry);
  if ((allowed->Mask & kWriting) == 0) return false;
  const std::wstring sid = SidText(&allowed->SidStart);
  return !IsTrusted(sid) && sid != kCreatorOwnerSid && sid != kOwnerRightsSid;
}

}  // namespace

std::wstring SidText(PSID sid) {
  wchar_t* text = nullptr;
  if (!::ConvertSidToStringSidW(sid, &text)) return {};
  std::wstring copy = text;
  ::LocalFree(text);
  return copy;
}

const std::wstring& OwnSid() {
  static const std::wstring sid = ReadOwnSid();
  return sid;
}

SECURITY_ATTRIBUTES* PrivateFolderSecurity() {
  static SECURITY_ATTRIBUTES attributes{
      .nLength = sizeof attributes,
      .lpSecurityDescriptor = MakePrivateDescriptor(),
      .bInheritHandle = FALSE,
  };
  if (attributes.lpSecurityDescriptor != nullptr) return &attributes;
  ::SetLastError(ERROR_INVALID_OWNER);
  return nullptr;
}

FolderState JudgeSecurity(PSECURITY_DESCRIPTOR security) {
  PSID owner = nullptr;
  BOOL defaulted = FALSE;
  if (!::GetSecurityDescriptorOwner(security, &owner, &defaulted) || owner == nullptr ||
      !IsTrusted(SidText(owner))) {
    return FolderState::kForeign;
  }
  PACL list = nullptr;
  BOOL present = FALSE;
  // No list at all means that everybody may do everything.
  if (!::GetSecurityDescriptorDacl(security, &present, &list, &defaulted) || present == FALSE ||
      list == nullptr) {
    return FolderState::kOpen;
  }
  for (DWORD i = 0; i < list->AceCount; ++i) {
    void* entry = nullptr;
    if (!::GetAce(list, i, &entry) || LetsOthersWrite(static_cast<ACE_HEADER*>(entry))) {
      return FolderState::kOpen;
    }
  }
  return FolderState::kOwn;
}

}  // namespace mrb::platform
