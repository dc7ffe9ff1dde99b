#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::platform {

/// What the file system says of one name. Links are not followed.
struct FileStatus {
  enum class Type { kFile, kDirectory, kOther };
  Type type = Type::kOther;
  std::uint64_t size = 0;        ///< bytes; 0 for a directory
  std::int64_t modified_ns = 0;  ///< nanoseconds since 1970-01-01 00:00 UTC
  /// When anything of the file last changed, its attributes and times included; no program can set
  /// it back. 0 when the system does not say.
  std::int64_t changed_ns = 0;
  /// The file's number on its volume: another file put in its place has another one, a renamed file
  /// keeps it. 0 when the system does not say.
  std::uint64_t file_id = 0;
};

struct DirectoryEntry {
  std::string name;  ///< UTF-8, without the folder
  FileStatus::Type type = FileStatus::Type::kOther;
};

/// One open file. Not thread-safe, but for read_at(), which several threads may call at once.
/// Closed on destruction; a close that fails there is not reported, so whoever must know calls
/// sync().
class OpenFile {
 public:
  OpenFile() = default;
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  virtual ~OpenFile() = default;

  [[nodiscard]] virtual Result<std::uint64_t> size() = 0;

  /// Reads up to `bytes` at `offset` into `out`; fewer only at the end of the file.
  [[nodiscard]] virtual Result<std::size_t> read_at(std::uint64_t offset, char* out,
                                                    std::size_t bytes) = 0;

  /// Writes all of `bytes` at the end of the file. On failure a part of them may have been written:
  /// the caller cuts the file back with truncate().
  [[nodiscard]] virtual Status append(std::string_view bytes) = 0;

  /// Cuts the file to `size` bytes (which must not pass its present size).
  [[nodiscard]] virtual Status truncate(std::uint64_t size) = 0;

  /// Returns once everything written is on the disk, the file's length included.
  [[nodiscard]] virtual Status sync() = 0;
};

class TreeVisitor;

/// The only door to the disk. Paths are UTF-8 in the system's own form. Thread-safe.
///
/// Every operation is one step that can fail alone, which is what FaultyFiles counts on: anything
/// that takes several steps (ReplaceFile, MakeDirectories, ReadFile) is a free function over these.
/// A missing name is ErrorKind::kNotFound everywhere; a full disk kNoSpace; a file that another
/// process holds kBusy; the rest kIo. The text names the path and the system's reason.
class FileSystem {
 public:
  enum class OpenMode {
    kRead,           ///< must exist
    kAppend,         ///< must exist; read and append
    kAppendNew,      ///< created when missing; read and append
    kReplace,        ///< created when missing, emptied when there; read and append
    kReplaceShared,  ///< as kReplace, with the permissions that other programs give a new file
                     ///< instead of private ones, and never through a link
  };

  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  [[nodiscard]] virtual Result<std::unique_ptr<OpenFile>> open(const std::string& path,
                                                               OpenMode mode) = 0;
  [[nodiscard]] virtual Result<FileStatus> status(const std::string& path) = 0;

  /// The entries of a folder in no particular order, without "." and "..".
  [[nodiscard]] virtual Result<std::vector<DirectoryEntry>> list(const std::string& path) = 0;

  /// Visits every regular file below `root`, in no particular order and as it was when its folder
  /// was read. Fails when the root cannot be read (kNotFound when it is missing); what vanishes
  /// below it meanwhile is no error.
  [[nodiscard]] virtual Status walk(const std::string& root, TreeVisitor& visitor) = 0;

  /// Makes one folder for its owner alone, and on Windows for the administrators and the system,
  /// whatever the folder above allows. kAlreadyExists when there is something of that name.
  [[nodiscard]] virtual Status make_directory(const std::string& path) = 0;

  /// Like make_directory(), but with the permissions that other programs give a new folder.
  [[nodiscard]] virtual Status make_shared_directory(const std::string& path) = 0;

  /// Gives the file `to` the permissions of `from` and, where the process may, its owner.
  [[nodiscard]] virtual Status copy_permissions(const std::string& from, const std::string& to) = 0;

  [[nodiscard]] virtual Status remove_file(const std::string& path) = 0;

  /// Renames `from` over `to` at once: whoever opens `to` finds the old file or the new one, whole.
  [[nodiscard]] virtual Status rename_replace(const std::string& from, const std::string& to) = 0;

  /// Renames a file or folder to a name that must be free (kAlreadyExists otherwise).
  [[nodiscard]] virtual Status rename_new(const std::string& from, const std::string& to) = 0;

  /// Returns once names made, renamed or removed in the folder are on the disk. Nothing to do on a
  /// system whose renames write through.
  [[nodiscard]] virtual Status sync_directory(const std::string& path) = 0;

  /// Returns once everything that was written to the volume of `path`, names included, is on the
  /// disk; for many files at once far quicker than file by file. kUnavailable on a system where
  /// only administrators may ask for that: flush each file there.
  [[nodiscard]] virtual Status sync_volume(const std::string& path) = 0;

  /// Whether sync_volume() is available.
  [[nodiscard]] virtual bool syncs_volumes() const { return true; }

  /// Whether flushes from several threads at once are welcome.
  [[nodiscard]] virtual bool syncs_in_parallel() const { return true; }
};

/// The machine's real files. Lives as long as the process.
[[nodiscard]] FileSystem& SystemFiles();

/// The whole file as bytes.
[[nodiscard]] Result<std::string> ReadFile(FileSystem& files, const std::string& path);

/// The one full name of what is there: every link followed, on Windows the letters' case as the
/// disk has it. Fails when nothing is there.
[[nodiscard]] Result<std::string> CanonicalPath(const std::string& path);

/// The folder and those above it that are missing. Nothing to do, and no error, when it is there.
[[nodiscard]] Status MakeDirectories(FileSystem& files, const std::string& path);

[[nodiscard]] bool Exists(FileSystem& files, const std::string& path);

/// Gives `path` the contents `pieces`, one after the other, so that a crash at any instant leaves
/// the old file or the new one, whole: writes `path` + ".tmp", flushes it, renames it over `path`,
/// flushes the folder. On failure the old file is untouched and the temporary one removed, as far
/// as the system still allows; a leftover of an earlier crash is written over.
[[nodiscard]] Status ReplaceFile(FileSystem& files, const std::string& path,
                                 std::span<const std::string_view> pieces);

[[nodiscard]] Status ReplaceFile(FileSystem& files, const std::string& path,
                                 std::string_view contents);

}  // namespace mrb::platform
