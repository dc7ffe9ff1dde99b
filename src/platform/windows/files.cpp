#include "platform/files.h"

#include <windows.h>

#include "platform/windows/access_list.h"
#include "platform/windows/file_status.h"
#include "platform/windows/handle.h"
#include "platform/windows/open_file.h"
#include "platform/windows/rename.h"
#include "platform/windows/system_error.h"
#include "platform/windows/tree_walk.h"
#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

DWORD AccessOf(FileSystem::OpenMode mode) {
  return mode == FileSystem::OpenMode::kRead ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
}

DWORD DispositionOf(FileSystem::OpenMode mode) {
  switch (mode) {
    case FileSystem::OpenMode::kRead:
    case FileSystem::OpenMode::kAppend:
      return OPEN_EXISTING;
    case FileSystem::OpenMode::kAppendNew:
      return OPEN_ALWAYS;
    case FileSystem::OpenMode::kReplace:
    case FileSystem::OpenMode::kReplaceShared:
      break;
  }
  return CREATE_ALWAYS;
}

/// The reparse tag, which only a search tells without opening the file; 0 for what has none.
DWORD TagOf(const std::wstring& path, DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return 0;
  WIN32_FIND_DATAW found{};
  const HANDLE search = ::FindFirstFileW(path.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return 0;
  ::FindClose(search);
  return found.dwReserved0;
}

FileStatus StatusOf(const WIN32_FILE_ATTRIBUTE_DATA& data, DWORD tag) {
  FileStatus status;
  status.type = TypeOf(data.dwFileAttributes, tag);
  if (status.type == FileStatus::Type::kFile) {
    status.size = Join(data.nFileSizeHigh, data.nFileSizeLow);
  }
  status.modified_ns = NanosecondsSince1970(static_cast<LONGLONG>(
      Join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)));
  return status;
}

/// Adds what only an opened file tells. One that may not be opened goes without.
void AddIdentity(const std::wstring& path, FileStatus& status) {
  const Handle file(
      ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  BY_HANDLE_FILE_INFORMATION identity{};
  FILE_BASIC_INFO times{};
  if (!file || !::GetFileInformationByHandle(file.get(), &identity) ||
      !::GetFileInformationByHandleEx(file.get(), FileBasicInfo, &times, sizeof times)) {
    return;
  }
  status.file_id = Join(identity.nFileIndexHigh, identity.nFileIndexLow);
  status.changed_ns = NanosecondsSince1970(times.ChangeTime.QuadPart);
}

/// Ends a search however list() is left.
struct CloseSearch {
  using pointer = HANDLE;
  void operator()(HANDLE search) const { ::FindClose(search); }
};

/// `security` null: what the folder above hands down.
Status MakeFolder(const std::string& path, SECURITY_ATTRIBUTES* security) {
  if (::CreateDirectoryW(WidePath(path).c_str(), security)) return {};
  return FailLastError("make folder", path);
}

class WindowsFiles final : public FileSystem {
 public:
  Result<std::unique_ptr<OpenFile>> open(const std::string& path, OpenMode mode) override {
    Handle file(::CreateFileW(WidePath(path).c_str(), AccessOf(mode), kShareAll, nullptr,
                              DispositionOf(mode), FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return FailLastError("open", path);
    if (::GetFileType(file.get()) != FILE_TYPE_DISK) {  // "NUL", "CON" and their like
      return Fail(ErrorKind::kInvalidArgument, "cannot open " + path + ": not a regular file");
    }
    return std::make_unique<WindowsFile>(std::move(file), path);
  }

  Result<FileStatus> status(const std::string& path) override {
    const std::wstring wide = WidePath(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(wide.c_str(), GetFileExInfoStandard, &data)) {
      return FailLastError("examine", path);
    }
    FileStatus status = StatusOf(data, TagOf(wide, data.dwFileAttributes));
    AddIdentity(wide, status);
    return status;
  }

  Result<std::vector<DirectoryEntry>> list(const std::string& path) override {
    std::vector<DirectoryEntry> entries;
    WIN32_FIND_DATAW found{};
    const HANDLE handle =
        ::FindFirstFileExW((WidePath(path) + L"\\*").c_str(), FindExInfoBasic, &found,
                           FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (handle == INVALID_HANDLE_VALUE) {
      // Only the root of a drive has no entries at all; a missing folder is "path not found".
      if (::GetLastError() == ERROR_FILE_NOT_FOUND) return entries;
      return FailLastError("list", path);
    }
    const std::unique_ptr<HANDLE, CloseSearch> search(handle);
    do {
      const std::wstring_view name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      entries.push_back({Narrow(name), TypeOf(found.dwFileAttributes, found.dwReserved0)});
    } while (::FindNextFileW(handle, &found));
    if (::GetLastError() != ERROR_NO_MORE_FILES) return FailLastError("list", path);
    return entries;
  }

  Status walk(const std::string& root, TreeVisitor& visitor) override {
    return WalkTree(root, visitor);
  }

  Status make_directory(const std::string& path) override {
    SECURITY_ATTRIBUTES* const security = PrivateFolderSecurity();
    if (security == nullptr) return FailLastError("make folder", path);
    return MakeFolder(path, security);
  }

  // Permissions come from the folder above here, for every program alike.
  Status make_shared_directory(const std::string& path) override {
    return MakeFolder(path, nullptr);
  }
  Status copy_permissions(const std::string&, const std::string&) override { return {}; }

  Status remove_file(const std::string& path) override { return Remove(path); }

  Status rename_replace(const std::string& from, const std::string& to) override {
    return Rename(from, to, true);
  }

  Status rename_new(const std::string& from, const std::string& to) override {
    return Rename(from, to, false);
  }

  Status sync_directory(const std::string&) override { return {}; }  // renames write through

  [[nodiscard]] bool syncs_volumes() const override { return false; }

  Status sync_volume(const std::string& path) override {
    return Fail(ErrorKind::kUnavailable, "cannot flush the whole volume of " + path);
  }
};

}  // namespace

// https://learn.microsoft.com/windows/win32/api/fileapi/nf-fileapi-getfinalpathnamebyhandlew: the
// name begins with \\?\ or, on a share, with \\?\UNC\, which people do not write.
Result<std::string> CanonicalPath(const std::string& path) {
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const Handle file(::CreateFileW(WidePath(path).c_str(), FILE_READ_ATTRIBUTES, kShare, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) return FailLastError("find", path);
  std::wstring name(32768, L'\0');
  const DWORD length = ::GetFinalPathNameByHandleW(
      file.get(), name.data(), static_cast<DWORD>(name.size()), FILE_NAME_NORMALIZED);
  if (length == 0 || length >= name.size()) return FailLastError("name", path);
  std::string real = Narrow(std::wstring_view(name).substr(0, length));
  if (real.starts_with(R"(\\?\UNC\)")) return R"(\\)" + real.substr(8);
  if (real.starts_with(R"(\\?\)")) return real.substr(4);
  return real;
}

FileSystem& SystemFiles() {
  static WindowsFiles files;
  return files;
}

}  // namespace mrb::platform
