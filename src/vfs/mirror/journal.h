#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "vfs/model/version_record.h"

namespace mrb::vfs {

/// What happened to a file.
enum class ChangeKind : std::uint8_t {
  kCreate,                ///< its first version
  kModify,                ///< a later one
  kDelete,                ///< a tombstone
  kRestore,               ///< a tombstone undone
  kMove,                  ///< a version that came along from another path
  kMirrorFail,            ///< a version announced before, that the mirror could not take
  kReconcileStrandedLock  ///< a locked file that the policy no longer admits
};

[[nodiscard]] std::string_view ChangeKindName(ChangeKind kind);

/// One line of a store's change log.
struct Change {
  std::uint32_t version = 0;
  std::string author;
  VersionStamp stamp;
  ChangeKind kind = ChangeKind::kCreate;
  std::string path;
  std::uint64_t size = 0;  ///< bytes of the version

  /// What the mirror did for it, so that a reload finds the bytes of every version again. Zero:
  /// nothing to tell.
  std::uint32_t archived = 0;           ///< the archive file of this number ...
  std::uint32_t holds = 0;              ///< ... now holds the bytes of this version
  std::uint32_t tombstone_version = 0;  ///< the tombstone file now holds the bytes of this version
  std::uint32_t same_as = 0;            ///< the version whose bytes these are too
  bool carried = false;                 ///< no event: a version that came along when its file moved
};

/// One change as a line of JSON (RFC 8259) with its line feed.
[[nodiscard]] std::string ChangeLine(const Change& change);

/// The change that ChangeLine() wrote; kCorrupt for a line that is none.
[[nodiscard]] Result<Change> ParseChange(std::string_view line);

/// The append-only file of a store's changes: who and when, which the mirror's files cannot tell.
/// Not thread-safe: the store's lock guards it.
class Journal {
 public:
  Journal(platform::FileSystem& files, std::string path) : files_(files), path_(std::move(path)) {}

  /// Adds lines, one write for all; not flushed. On failure the file keeps its old length, as far
  /// as the system allows, and a torn line does no harm: the next append begins on a new one.
  [[nodiscard]] Status append(std::string_view lines);

  /// Flushes what was appended.
  [[nodiscard]] Status sync();

  /// The open file, to be flushed together with others; null before the first append.
  [[nodiscard]] platform::OpenFile* file() { return file_.get(); }

  /// Calls `found` for every whole change, oldest first. Lines that are damaged are counted, not
  /// reported one by one; a missing file holds none.
  [[nodiscard]] Result<std::size_t> read(const std::function<void(Change)>& found) const;

  /// Calls `found` for the changes of one path, oldest first. The lines of other paths are not
  /// parsed, so their damage is not counted. `any_case`: also those of a path that differs in the
  /// case of ASCII letters.
  [[nodiscard]] Status read_of(std::string_view path, bool any_case,
                               const std::function<void(Change)>& found) const;

 private:
  [[nodiscard]] Status open();
  [[nodiscard]] Result<std::string> text() const;

  platform::FileSystem& files_;
  std::string path_;
  std::unique_ptr<platform::OpenFile> file_;
  std::uint64_t size_ = 0;
  bool torn_ = false;  ///< the file does not end in a line feed
};

}  // namespace mrb::vfs
