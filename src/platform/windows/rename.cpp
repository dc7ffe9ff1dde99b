#include "platform/windows/rename.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

// A program that looks at a new file (a virus scanner, an indexer, a backup) keeps it from being
// renamed or removed while it is open there. Such a program lets go within milliseconds, so the
// call is repeated a few times. A file that is merely being read through a sharing handle, as all
// of ours are, need not be waited for: the second way of renaming replaces it under the reader.

namespace mrb::platform {
namespace {

// Known since the first update of Windows 10; headers hide its name behind a version of their own.
constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);

constexpr int kAttempts = 10;
constexpr DWORD kMaxPauseMs = 64;  // 1, 2, 4 ... 64, 64: a third of a second in all

bool MayPass(DWORD error) {
  return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
         error == ERROR_ACCESS_DENIED;
}

/// Repeats `attempt` while somebody else is in its way; false leaves the last error.
template <typename Attempt>
bool Patiently(Attempt attempt) {
  DWORD pause_ms = 1;
  for (int i = 1; !attempt(); ++i) {
    const DWORD error = ::GetLastError();
    if (i == kAttempts || !MayPass(error)) {
      ::SetLastError(error);
      return false;
    }
    ::Sleep(pause_ms);
    pause_ms = std::min(pause_ms * 2, kMaxPauseMs);
  }
  return true;
}

/// Replaces `to` even while it is open, if every opener shares its deletion. Not on every file
/// system.
bool ReplaceUnderReaders(const std::wstring& from, const std::wstring& to) {
  const Handle file(::CreateFileW(from.c_str(), DELETE | GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_WRITE_THROUGH, nullptr));
  const std::wstring target = FullPath(to);
  if (!file || target.empty()) return false;
  const std::size_t name_bytes = target.size() * sizeof(wchar_t);
  std::vector<std::byte> room(sizeof(FILE_RENAME_INFO) + name_bytes);
  auto* info = reinterpret_cast<FILE_RENAME_INFO*>(room.data());
  info->Flags = FILE_RENAME_FLAG_REPLACE_IF_EXISTS | FILE_RENAME_FLAG_POSIX_SEMANTICS;
  info->FileNameLength = static_cast<DWORD>(name_bytes);
  std::memcpy(info->FileName, target.data(), name_bytes);
  return ::SetFileInformationByHandle(file.get(), kFileRenameInfoEx, info,
                                      static_cast<DWORD>(room.size())) != 0 &&
         ::FlushFileBuffers(file.get()) != 0;
}

bool Replace(const std::wstring& from, const std::wstring& to) {
  if (::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    return true;
  }
  const DWORD error = ::GetLastError();
  if (MayPass(error) && ReplaceUnderReaders(from, to)) return true;
  ::SetLastError(error);  // the reason to report is that of the usual way
  return false;
}

}  // namespace

Status Rename(const std::string& from, const std::string& to, bool replace) {
  const std::wstring wide_from = WidePath(from);
  const std::wstring wide_to = WidePath(to);
  const bool renamed = Patiently([&] {
    if (replace) return Replace(wide_from, wide_to);
    return ::MoveFileExW(wide_from.c_str(), wide_to.c_str(), MOVEFILE_WRITE_THROUGH) != 0;
  });
  if (!renamed) return FailLastError("rename " + from + " to", to);
  return {};
}

Status Remove(const std::string& path) {
  const std::wstring wide = WidePath(path);
  if (!Patiently([&] { return ::DeleteFileW(wide.c_str()) != 0; })) {
    return FailLastError("remove", path);
  }
  return {};
}

}  // namespace mrb::platform
