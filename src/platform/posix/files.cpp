#include "platform/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/posix/descriptor.h"
#include "platform/posix/file_status.h"
#include "platform/posix/open_file.h"
#include "platform/posix/system_calls.h"
#include "platform/posix/system_error.h"
#include "platform/posix/tree_walk.h"

namespace mrb::platform {
namespace {

constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kSharedFile = 0666;  // less what the user's mask takes away
constexpr mode_t kSharedFolder = 0777;
constexpr mode_t kPermissions = 07777;

int OpenFlags(FileSystem::OpenMode mode) {
  using enum FileSystem::OpenMode;
  // O_NONBLOCK: opening a pipe that somebody left in a folder must not wait for its other end.
  const int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  switch (mode) {
    case kRead:
      return common | O_RDONLY;
    case kAppend:
      return common | O_RDWR | O_APPEND;
    case kAppendNew:
      return common | O_RDWR | O_APPEND | O_CREAT;
    case kReplaceShared:
      return common | O_RDWR | O_APPEND | O_CREAT | O_TRUNC | O_NOFOLLOW;
    case kReplace:
      break;
  }
  return common | O_RDWR | O_APPEND | O_CREAT | O_TRUNC;
}

FileStatus::Type TypeOfEntry(DIR* folder, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG:
      return FileStatus::Type::kFile;
    case DT_DIR:
      return FileStatus::Type::kDirectory;
    case DT_UNKNOWN:
      break;  // some file systems keep no type in the folder
    default:
      return FileStatus::Type::kOther;
  }
  struct stat info{};
  const bool known = ::fstatat(::dirfd(folder), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0;
  return known ? TypeOf(info.st_mode) : FileStatus::Type::kOther;
}

bool IsDotEntry(std::string_view name) {
  return name == "." || name == "..";
}

/// For file systems that cannot refuse to replace: tells first, so another process may slip
/// between.
int RenameAfterLook(const char* from, const char* to) {
  struct stat info{};
  if (::lstat(to, &info) != 0) return ::rename(from, to);
  errno = EEXIST;
  return -1;
}

class PosixFiles final : public FileSystem {
 public:
  Result<std::unique_ptr<OpenFile>> open(const std::string& path, OpenMode mode) override {
    const mode_t permissions = mode == OpenMode::kReplaceShared ? kSharedFile : kPrivateFile;
    Descriptor fd(
        Uninterrupted([&] { return ::open(path.c_str(), OpenFlags(mode), permissions); }));
    if (!fd) return FailErrno("open", path);
    struct stat info{};
    if (::fstat(fd.get(), &info) != 0) return FailErrno("examine", path);
    if (!S_ISREG(info.st_mode)) {
      return Fail(ErrorKind::kInvalidArgument, "cannot open " + path + ": not a regular file");
    }
    return std::make_unique<PosixFile>(std::move(fd), path);
  }

  Result<FileStatus> status(const std::string& path) override {
    struct stat info{};
    if (::lstat(path.c_str(), &info) != 0) return FailErrno("examine", path);
    return StatusOf(info);
  }

  Result<std::vector<DirectoryEntry>> list(const std::string& path) override {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), ::closedir);
    if (!folder) return FailErrno("list", path);
    std::vector<DirectoryEntry> entries;
    for (;;) {
      errno = 0;
      const dirent* entry = ::readdir(folder.get());
      if (entry == nullptr) break;
      if (IsDotEntry(entry->d_name)) continue;
      entries.push_back({entry->d_name, TypeOfEntry(folder.get(), *entry)});
    }
    if (errno != 0) return FailErrno("list", path);
    return entries;
  }

  Status walk(const std::string& root, TreeVisitor& visitor) override {
    return WalkTree(root, visitor);
  }

  Status make_directory(const std::string& path) override {
    if (::mkdir(path.c_str(), kPrivateFolder) != 0) return FailErrno("make folder", path);
    return {};
  }

  Status make_shared_directory(const std::string& path) override {
    if (::mkdir(path.c_str(), kSharedFolder) != 0) return FailErrno("make folder", path);
    return {};
  }

  Status copy_permissions(const std::string& from, const std::string& to) override {
    struct stat info{};
    if (::lstat(from.c_str(), &info) != 0) return FailErrno("examine", from);
    struct stat now{};
    if (::lstat(to.c_str(), &now) != 0) return FailErrno("examine", to);
    // Only a privileged process may give files away; for others the owner is the user anyway. The
    // owner comes first: changing it takes the set-id bits away.
    if (info.st_uid != now.st_uid || info.st_gid != now.st_gid) {
      static_cast<void>(
          ::fchownat(AT_FDCWD, to.c_str(), info.st_uid, info.st_gid, AT_SYMLINK_NOFOLLOW));
    }
    if ((info.st_mode & kPermissions) == (now.st_mode & kPermissions)) return {};
    if (::chmod(to.c_str(), info.st_mode & kPermissions) != 0) {
      return FailErrno("set the permissions of", to);
    }
    return {};
  }

  Status remove_file(const std::string& path) override {
    if (::unlink(path.c_str()) != 0) return FailErrno("remove", path);
    return {};
  }

  Status rename_replace(const std::string& from, const std::string& to) override {
    if (::rename(from.c_str(), to.c_str()) != 0) return FailErrno("rename " + from + " to", to);
    return {};
  }

  Status rename_new(const std::string& from, const std::string& to) override {
    int renamed = RenameIfFree(from.c_str(), to.c_str());
    if (renamed != 0 && (errno == EINVAL || errno == ENOSYS)) {
      renamed = RenameAfterLook(from.c_str(), to.c_str());
    }
    if (renamed != 0) return FailErrno("rename " + from + " to", to);
    return {};
  }

  Status sync_directory(const std::string& path) override {
    const Descriptor fd(
        Uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!fd) return FailErrno("open folder", path);
    const int synced = Uninterrupted([&] { return ::fsync(fd.get()); });
    // EINVAL: a file system that keeps nothing to flush for a folder.
    if (synced != 0 && errno != EINVAL) return FailErrno("flush folder", path);
    return {};
  }

  Status sync_volume(const std::string& path) override {
    const Descriptor fd(
        Uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }));
    if (!fd) return FailErrno("open", path);
    if (SyncFileSystemOf(fd.get()) != 0) return FailErrno("flush the volume of", path);
    return {};
  }
};

}  // namespace

Result<std::string> CanonicalPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  if (real == nullptr) return FailErrno("find", path);
  return std::string(real.get());
}

FileSystem& SystemFiles() {
  static PosixFiles files;
  return files;
}

}  // namespace mrb::platform
