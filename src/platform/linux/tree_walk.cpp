#include "platform/posix/tree_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statfs.h>

#include <algorithm>
#include <array>
#include <ctime>

#include "platform/folder_stack.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/file_status.h"
#include "platform/posix/system_error.h"

// A pass over an unchanged tree of twenty thousand files must cost little more than asking the
// kernel for each of them. So a file is asked for by its short name below its folder's descriptor,
// folders are read in large blocks straight from the kernel, and nothing is allocated per entry.
// Listing a folder costs the kernel as much as half of its files' statuses, so the list is taken
// from the last walk when the folder's change time, which no program can set, is still the same.
// One folder is open at a time, however deep the tree.

namespace mrb::platform {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr std::size_t kBlockBytes = std::size_t{32} * 1024;  // some thousand names a call

/// Whether every name that is made, removed or renamed in a folder of this volume shows in the
/// folder's change time at once. Known of these; a network's file system may lag.
bool TellsChangesOfFolders(int folder) {
  struct statfs volume{};
  if (::fstatfs(folder, &volume) != 0) return false;
  constexpr std::array<std::uint32_t, 6> kKnown{EXT4_SUPER_MAGIC,  XFS_SUPER_MAGIC,
                                                BTRFS_SUPER_MAGIC, F2FS_SUPER_MAGIC,
                                                TMPFS_MAGIC,       0x2FC12FC1};  // ZFS
  return std::ranges::find(kKnown, static_cast<std::uint32_t>(volume.f_type)) != kKnown.end();
}

std::int64_t Now() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return Nanoseconds(now);
}

class Walk {
 public:
  Walk(int root, TreeVisitor& visitor) : root_(root), visitor_(visitor) {
    struct stat info{};
    if (memory_ == nullptr || !TellsChangesOfFolders(root) || ::fstat(root, &info) != 0) {
      memory_ = nullptr;
      return;
    }
    volume_ = info.st_dev;
    now_ns_ = Now();
    memory_->begin_walk();
  }

  /// Reads the root, then every folder that was found and is to be entered.
  [[nodiscard]] bool run() {
    if (!read_folder(root_)) return false;
    while (pending_.pop(path_)) visit_folder();
    if (memory_ != nullptr) memory_->end_walk();
    return true;
  }

 private:
  /// The folder at path_. One that went, or became something else, since it was found is no error.
  void visit_folder() {
    const Descriptor folder(
        Uninterrupted([&] { return ::openat(root_, path_.c_str(), kFolderFlags | O_NOFOLLOW); }));
    const bool gone = !folder && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP);
    if (gone) return;
    const std::size_t length = path_.size();
    path_.push_back('/');
    if (folder && read_folder(folder.get())) return;
    path_.resize(length);
    visitor_.skipped(path_, TreeVisitor::Skipped::kUnreadable);
  }

  /// Visits the entries of the folder whose path, with a "/" unless it is the root, is in path_.
  /// False when the system stops; the entries up to there have been visited.
  [[nodiscard]] bool read_folder(int folder) {
    if (memory_ == nullptr) return list_folder(folder, nullptr);
    struct stat info{};
    if (::fstat(folder, &info) != 0) return false;
    FolderMemory::Listing& known = memory_->of(path_);
    const std::int64_t changed_ns = Nanoseconds(info.st_ctim);
    if (known.changed_ns == changed_ns && known.folder_id == info.st_ino) {
      visit_known(folder, known.names);
      return true;
    }
    known.changed_ns = 0;
    known.names.clear();
    const bool is_settled = changed_ns <= now_ns_ - memory_->racy_ns() && info.st_dev == volume_;
    if (!list_folder(folder, is_settled ? &known.names : nullptr)) return false;
    if (is_settled) {
      known.folder_id = info.st_ino;
      known.changed_ns = changed_ns;
    }
    return true;
  }

  /// Visits the entries by the system's list, and adds them to `names` when that is given.
  [[nodiscard]] bool list_folder(int folder, std::string* names) {
    const std::size_t prefix = path_.size();
    for (;;) {
      const auto got = ::getdents64(folder, block_.data(), block_.size());
      // A folder that was removed while it is read has no more entries (ENOENT).
      if (got <= 0) return got == 0 || errno == ENOENT;
      for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
        const auto* entry = reinterpret_cast<const dirent64*>(block_.data() + at);
        at += entry->d_reclen;
        const char* name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
        if (names != nullptr) {
          names->push_back(static_cast<char>(entry->d_type));
          names->append(name).push_back('\0');
        }
        path_.resize(prefix);
        path_.append(name);
        visit_entry(folder, name, entry->d_type);
      }
    }
  }

  void visit_known(int folder, const std::string& names) {
    const std::size_t prefix = path_.size();
    for (std::size_t at = 0; at < names.size();) {
      const auto type = static_cast<unsigned char>(names[at]);
      const char* name = names.c_str() + at + 1;
      path_.resize(prefix);
      path_.append(name);
      at += path_.size() - prefix + 2;
      visit_entry(folder, name, type);
    }
  }

  void visit_entry(int folder, const char* name, unsigned type) {
    if (type == DT_REG && !wants_files_) return;
    struct stat info{};
    if (type == DT_REG || type == DT_UNKNOWN) {  // unknown: some file systems keep no type there
      if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) visitor_.skipped(path_, TreeVisitor::Skipped::kUnreadable);
        return;
      }
      type = IFTODT(info.st_mode);
    }
    switch (type) {
      case DT_REG:
        visitor_.file(path_, StatusOf(info));
        break;
      case DT_DIR:
        if (visitor_.enter(path_)) pending_.push(path_);
        break;
      case DT_LNK:
        visitor_.skipped(path_, TreeVisitor::Skipped::kLink);
        break;
      default:
        visitor_.skipped(path_, TreeVisitor::Skipped::kSpecial);
    }
  }

  int root_;
  TreeVisitor& visitor_;
  bool wants_files_ = visitor_.wants_files();
  FolderMemory* memory_ = visitor_.memory();
  dev_t volume_ = 0;         // that the memory is for
  std::int64_t now_ns_ = 0;  // when the walk began
  std::string path_;         // of what is being visited
  FolderStack pending_;
  alignas(dirent64) std::array<char, kBlockBytes> block_;
};

}  // namespace

Status WalkTree(const std::string& root, TreeVisitor& visitor) {
  const Descriptor folder(Uninterrupted([&] { return ::open(root.c_str(), kFolderFlags); }));
  if (!folder) return FailErrno("walk", root);
  if (!Walk(folder.get(), visitor).run()) return FailErrno("walk", root);
  return {};
}

}  // namespace mrb::platform
