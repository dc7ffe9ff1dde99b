#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace mrb::memory {

/// The disk side of one context: its store file, magic and heap. Every operation either is on the
/// disk when it returns or leaves the file's good part as it was. Not thread-safe; the context's
/// lock file keeps other processes out.
///
/// A write that failed half way is cut off at once. Where even that fails, the bytes behind the
/// good part are cut before the next write, and as long as that fails too, every write answers the
/// first failure. After a failed flush the same holds: what was being written counts as lost.
class StoreFile {
 public:
  StoreFile(platform::FileSystem& files, std::string folder);

  [[nodiscard]] std::string path() const;

  /// What a load found: the file's size, and how much of it is magic and whole records (0: the next
  /// append starts the file).
  void loaded(std::uint64_t size, std::uint64_t good);

  /// Adds `bytes` behind the good part and flushes; starts a new file with the magic. kCorrupt when
  /// someone else changed the file's size since we saw it, kNotFound when the file is gone: nothing
  /// is written then.
  [[nodiscard]] Status append(std::string_view bytes);

  /// Makes `heap_pieces`, one after the other behind the magic, the whole file; refused like
  /// append(). After any other failure the disk holds the old file or (the last flush failed) the
  /// new one: only a fresh load can tell.
  [[nodiscard]] Status replace(std::span<const std::string_view> heap_pieces);

  /// Writes `heap` as the previous store file, beside the live one.
  [[nodiscard]] Status keep_previous(std::string_view heap);

  /// The first bytes of the file, fewer where it ends before.
  [[nodiscard]] Result<std::string> read_start(std::size_t bytes) const;

  /// The file's bytes from `offset` to its end.
  [[nodiscard]] Result<std::string> read_from(std::uint64_t offset) const;

  /// Present size on disk; 0 when there is no file.
  [[nodiscard]] std::uint64_t size_on_disk() const;

 private:
  [[nodiscard]] Status check_unchanged(std::uint64_t size) const;
  [[nodiscard]] Status write_tail(platform::OpenFile& file, std::string_view bytes);
  void cut_back(platform::OpenFile& file, const Error& reason);

  platform::FileSystem& files_;
  std::string folder_;
  std::uint64_t good_ = 0;  // magic and whole records; 0: no file, or nothing good in it
  std::optional<std::uint64_t> size_ = 0;  // as last seen; nothing when a cut failed
  std::optional<Error> first_failure_;     // set while size_ is unknown
};

}  // namespace mrb::memory
