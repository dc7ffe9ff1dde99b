#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "vfs/mirror/journal.h"
#include "vfs/mirror/mirror_layout.h"

namespace mrb::vfs {

/// Where the files of one store lie. `mirror` is null for a store without one.
struct StorePlaces {
  platform::FileSystem* files = nullptr;
  std::string disk_root;  ///< absolute, no separator at its end
  const MirrorLayout* mirror = nullptr;

  /// The working file of a path below the root, in the system's form.
  [[nodiscard]] std::string working(std::string_view path) const;

  [[nodiscard]] bool mirrors(std::string_view path) const {
    return mirror != nullptr && !MirrorLayout::is_unmirrored(path);
  }

  /// Where the mirror keeps, or would keep, the current version of a file that it mirrors.
  [[nodiscard]] std::string mirror_copy(std::string_view path) const;
};

/// One version on its way to the disk: the working file and its mirror. The steps are called in
/// order; each leaves what earlier ones did, and answers why it could not be done.
///
///     VersionWrite write(places, path, bytes);
///     write.reserve_archive();      it is decided which archive number the previous copy will take
///     write.archive_original();     when there is no copy but was a version: its bytes go to the
///     archive write.write_temporaries();    both temporary files are written and flushed, at the
///     same time write.commit_working();    the working file is replaced journal.append(a line that
///     tells what commit_mirror() is about to do) write.commit_mirror();   the previous copy goes
///     to the archive, the new one takes its place write.sync();   names, and the journal that
///     tells of them, are flushed
///
/// A crash between any two leaves whole files: the next look at the tree finds what is missing, and
/// a line of the journal whose renames did not happen is recognised by their absence.
class VersionWrite {
 public:
  /// What could not be written.
  enum class Step : std::uint8_t { kWorkingFile, kMirror, kArchive, kJournal };
  struct Failure {
    std::string reason;
    Step step = Step::kWorkingFile;
    bool of_mirror = false;  ///< the working file has been written
  };
  using Outcome = std::optional<Failure>;

  VersionWrite(const StorePlaces& places, std::string path, std::string_view bytes);
  VersionWrite(const VersionWrite&) = delete;
  VersionWrite& operator=(const VersionWrite&) = delete;
  /// Removes temporary files that found no place.
  ~VersionWrite();

  /// The mirror alone is written: the working file is as it should be.
  void leave_working_file() { works_ = false; }

  /// The working file alone is written.
  void leave_mirror() { mirrors_ = false; }

  /// Nothing is flushed: the caller writes many files and flushes the volume in the end.
  void flush_later() { flushes_ = false; }

  /// Looks for the archive number of the previous copy, or of the seed when there is no copy, from
  /// `next_archive` on, the first one worth trying.
  [[nodiscard]] Outcome reserve_archive(std::uint32_t next_archive, bool has_seed);

  /// The number that reserve_archive() found; 0 when nothing will be archived.
  [[nodiscard]] std::uint32_t archived() const { return archived_; }

  /// For a store whose mirror holds no copy of what was never edited: before the working file, the
  /// only place where the version before lies, is replaced. Nothing when there is a copy.
  [[nodiscard]] Outcome archive_original(std::string_view bytes);

  [[nodiscard]] Outcome write_temporaries();
  [[nodiscard]] Outcome commit_working();
  [[nodiscard]] Outcome commit_mirror();

  /// `journal` may be null.
  [[nodiscard]] Outcome sync(Journal* journal);

  /// Puts the mirror back as it was before commit_mirror(), as far as the system allows: for a
  /// version that is then not minted.
  void undo_mirror();

 private:
  using Opened = std::unique_ptr<platform::OpenFile>;

  [[nodiscard]] Outcome stage_working(Opened& file);
  [[nodiscard]] Outcome stage_mirror(Opened& file);
  [[nodiscard]] Status make_mirror_folders();
  [[nodiscard]] Outcome archive_copy();
  [[nodiscard]] Result<Opened> write(const std::string& path, std::string_view bytes,
                                     platform::FileSystem::OpenMode mode) const;

  const StorePlaces& places_;
  const std::string path_;
  const std::string_view bytes_;
  const std::string target_;
  const std::string temporary_;
  bool works_ = true;
  bool mirrors_;
  const std::string copy_;  ///< in the mirror; empty when there is none
  bool flushes_ = true;
  bool working_staged_ = false;
  bool mirror_staged_ = false;
  Outcome mirror_failure_;  ///< of write_temporaries(), told once the working file is in its place
  std::uint32_t archived_ = 0;
  bool has_copy_ = false;
  std::vector<std::string> folders_;  ///< whose names changed
};

/// Whether there is something of that name; unlike platform::Exists() it does not take a failure to
/// look for an answer.
[[nodiscard]] Result<bool> IsThere(platform::FileSystem& files, const std::string& path);

/// The first archive number from `number` on that is free.
[[nodiscard]] Result<std::uint32_t> FreeArchive(const StorePlaces& places, std::string_view path,
                                                std::uint32_t number);

/// Writes one archived version beside and gives it its name, which must be free; the file's folder
/// in the mirror must be there. kUnavailable when the archive's own folder cannot be made.
[[nodiscard]] Status WriteArchive(const StorePlaces& places, std::string_view path,
                                  std::uint32_t number, std::string_view bytes, bool flushes);

/// Renames a file of the mirror over `copy`, which may lie in a folder that is yet to be made: that
/// of a StorePlaces::mirror_copy() whose name a folder has.
[[nodiscard]] Status MoveToCopy(platform::FileSystem& files, const std::string& from,
                                const std::string& copy);

enum class FolderAccess { kShared, kPrivate };

/// Makes the folders of `path` (relative, "/") below `root` that are missing. A link among them is
/// refused: what is written below it would land outside the root.
[[nodiscard]] Status MakeFoldersInside(platform::FileSystem& files, const std::string& root,
                                       std::string_view path, FolderAccess access, bool flushes);

}  // namespace mrb::vfs
