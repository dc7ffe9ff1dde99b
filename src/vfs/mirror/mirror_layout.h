#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mrb::vfs {

/// Where the mirror of one store keeps what. Pure path arithmetic; docs/versioned-files.md shows
/// the layout. File paths are relative to the store's root, with "/".
class MirrorLayout {
 public:
  explicit MirrorLayout(std::string root) : root_(std::move(root)) {}

  [[nodiscard]] const std::string& root() const { return root_; }

  /// Files that are never mirrored, whose history lives in memory alone.
  [[nodiscard]] static bool is_unmirrored(std::string_view path);

  [[nodiscard]] std::string copy(std::string_view path) const;  ///< the current version
  /// Where the current version lies instead when the mirror has a folder under its name: one that
  /// keeps the history of files that once lay in it.
  [[nodiscard]] std::string copy_beside_folder(std::string_view path) const;
  [[nodiscard]] std::string temporary(std::string_view path) const;  ///< of a write in progress
  [[nodiscard]] std::string tombstone(std::string_view path) const;
  [[nodiscard]] std::string archive_folder(std::string_view path) const;
  [[nodiscard]] std::string archive(std::string_view path, std::uint32_t number) const;

  /// The journal of changes, the note of whose mirror this is, the mark of a first fill that has
  /// not ended, and the StatCache; in a folder whose name no user's file can have.
  [[nodiscard]] std::string bookkeeping_folder() const;
  [[nodiscard]] std::string journal() const;
  [[nodiscard]] std::string owner_note() const;
  [[nodiscard]] std::string filling_mark() const;
  [[nodiscard]] std::string stat_cache() const;

  /// The path under which the copy of `path` lies, relative to the mirror's root: `path` itself
  /// unless its name is too long to take the machinery's suffixes.
  [[nodiscard]] static std::string key(std::string_view path);

 private:
  [[nodiscard]] std::string under_root(std::string_view relative) const;

  std::string root_;
};

/// What one file of a mirror is, told by its name.
struct MirrorEntry {
  enum class Kind { kCopy, kTombstone, kArchive, kOther };
  Kind kind = Kind::kOther;
  std::string key;           ///< MirrorLayout::key() of the file it belongs to
  std::uint32_t number = 0;  ///< of an archive
};

/// `relative` is the path below the mirror's root, with "/".
[[nodiscard]] MirrorEntry ClassifyMirrorFile(std::string_view relative);

/// The temporary beside the working file `path` (absolute) while it is being written.
[[nodiscard]] std::string TemporaryBeside(const std::string& path);

/// The name of the folder below ".versioncontrol" that mirrors `disk_root`: its path below the
/// executable's folder when it lies there, else the path with every unusual character replaced,
/// shortened with a hash when long.
[[nodiscard]] std::string MirrorKey(std::string_view disk_root, std::string_view executable_folder);

/// The name for a root whose MirrorKey() another root has taken: two paths can be alike once their
/// unusual characters are replaced.
[[nodiscard]] std::string DistinctMirrorKey(std::string_view disk_root);

}  // namespace mrb::vfs
