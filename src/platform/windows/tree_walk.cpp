#include "platform/windows/tree_walk.h"

#include <array>

#include "platform/folder_stack.h"
#include "platform/paths.h"
#include "platform/windows/file_status.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

// A folder is read in large blocks that hold all there is to know of each entry, the file's number
// included, so that no file is opened. Some network file systems know no such number; there the
// form of entry without it is asked for.

namespace mrb::platform {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{64} * 1024;  // the most a network folder may give

std::uint64_t FileIdOf(const FILE_ID_BOTH_DIR_INFO& entry) {
  return static_cast<std::uint64_t>(entry.FileId.QuadPart);
}

std::uint64_t FileIdOf(const FILE_FULL_DIR_INFO&) {
  return 0;
}

template <typename Entry>
FileStatus StatusOf(const Entry& entry) {
  FileStatus status;
  status.type = FileStatus::Type::kFile;
  status.size = static_cast<std::uint64_t>(entry.EndOfFile.QuadPart);
  status.modified_ns = NanosecondsSince1970(entry.LastWriteTime.QuadPart);
  status.changed_ns = NanosecondsSince1970(entry.ChangeTime.QuadPart);
  status.file_id = FileIdOf(entry);
  return status;
}

bool HasGone(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
         error == ERROR_DELETE_PENDING || error == ERROR_DIRECTORY;
}

bool LacksFileIds(DWORD error) {
  return error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED ||
         error == ERROR_INVALID_FUNCTION || error == ERROR_INVALID_LEVEL;
}

class Walk {
 public:
  Walk(const std::string& root, TreeVisitor& visitor) : root_(root), visitor_(visitor) {}

  /// False leaves the last error; only the root can fail the walk.
  [[nodiscard]] bool run() {
    if (!visit_folder()) return false;
    while (pending_.pop(path_)) {
      const std::string folder = path_;
      // A folder that went since it was found is no error.
      if (!visit_folder() && !HasGone(::GetLastError())) {
        visitor_.skipped(folder, TreeVisitor::Skipped::kUnreadable);
      }
    }
    return true;
  }

 private:
  /// Visits the entries of the folder at path_.
  [[nodiscard]] bool visit_folder() {
    const std::string full = path_.empty() ? root_ : JoinPath(root_, NativePath(path_));
    const Handle folder(::CreateFileW(WidePath(full).c_str(), FILE_LIST_DIRECTORY, kShareAll,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!folder) return false;
    if (!path_.empty()) path_.push_back('/');
    if (read_blocks<FILE_ID_BOTH_DIR_INFO>(folder.get(), FileIdBothDirectoryInfo)) return true;
    return LacksFileIds(::GetLastError()) &&
           read_blocks<FILE_FULL_DIR_INFO>(folder.get(), FileFullDirectoryInfo);
  }

  template <typename Entry>
  [[nodiscard]] bool read_blocks(HANDLE folder, FILE_INFO_BY_HANDLE_CLASS form) {
    const std::size_t prefix = path_.size();
    while (::GetFileInformationByHandleEx(folder, form, block_.data(), kBlockBytes)) {
      for (std::size_t at = 0;;) {
        const auto* entry = reinterpret_cast<const Entry*>(block_.data() + at);
        path_.resize(prefix);
        visit_entry(*entry);
        if (entry->NextEntryOffset == 0) break;
        at += entry->NextEntryOffset;
      }
    }
    path_.resize(prefix);
    // The root of an empty drive has no entries at all.
    const DWORD error = ::GetLastError();
    return error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND;
  }

  template <typename Entry>
  void visit_entry(const Entry& entry) {
    const std::wstring_view name(entry.FileName, entry.FileNameLength / sizeof(wchar_t));
    if (name == L"." || name == L"..") return;
    path_.append(Narrow(name));
    // For what has a tag, it stands where the size of extended attributes does otherwise.
    if (IsLink(entry.FileAttributes, entry.EaSize)) {
      visitor_.skipped(path_, TreeVisitor::Skipped::kLink);
      return;
    }
    switch (TypeOf(entry.FileAttributes, entry.EaSize)) {
      case FileStatus::Type::kFile:
        visitor_.file(path_, StatusOf(entry));
        break;
      case FileStatus::Type::kDirectory:
        if (visitor_.enter(path_)) pending_.push(path_);
        break;
      case FileStatus::Type::kOther:
        visitor_.skipped(path_, TreeVisitor::Skipped::kSpecial);
        break;
    }
  }

  const std::string& root_;
  TreeVisitor& visitor_;
  std::string path_;  // of what is being visited, relative to the root
  FolderStack pending_;
  alignas(FILE_ID_BOTH_DIR_INFO) std::array<char, kBlockBytes> block_;
};

}  // namespace

Status WalkTree(const std::string& root, TreeVisitor& visitor) {
  if (!Walk(root, visitor).run()) return FailLastError("walk", root);
  return {};
}

}  // namespace mrb::platform
