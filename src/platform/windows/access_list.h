#pragma once

#include <windows.h>

#include <string>

#include "platform/private_folder.h"

namespace mrb::platform {

/// Who may do what with folders. Accounts are SIDs in text ("S-1-5-21-…"). Thread-safe.

inline constexpr const wchar_t* kSystemSid = L"S-1-5-18";
inline constexpr const wchar_t* kAdministratorsSid = L"S-1-5-32-544";

/// Empty when the system will not say.
[[nodiscard]] std::wstring SidText(PSID sid);

/// The user this process runs as; empty when the system will not say.
[[nodiscard]] const std::wstring& OwnSid();

/// What a new private folder is made with: owned by the user; the user, the system and the
/// administrators may do everything in it and below it, nobody else anything, whatever the folder
/// above allows. Null, with the thread's last error set, when it cannot be had. Lives as long as
/// the process.
[[nodiscard]] SECURITY_ATTRIBUTES* PrivateFolderSecurity();

/// kOwn, kForeign or kOpen, by a folder's owner and access list. What is only handed down to what
/// lies below counts as well: others could write there.
[[nodiscard]] FolderState JudgeSecurity(PSECURITY_DESCRIPTOR security);

}  // namespace mrb::platform
