#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/files.h"

namespace mrb::vfs {

/// How a working file and its mirror copy looked when both held the bytes of one version.
struct StatEntry {
  std::uint32_t version = 0;
  platform::FileStatus working;
  platform::FileStatus copy;
};

/// The entries of one store by path: what lets a start believe that a mirror copy still holds what
/// its working file holds, without reading it. It holds for one start of the machine alone: after a
/// power failure a file can look the same and have lost its bytes.
class StatCache {
 public:
  void add(std::string path, const StatEntry& entry) { entries_[std::move(path)] = entry; }

  /// Null when nothing is known of the file.
  [[nodiscard]] const StatEntry* find(const std::string& path) const;

  [[nodiscard]] bool empty() const { return entries_.empty(); }

  /// The cache as a file, with a checksum; docs/versioned-files.md has the layout.
  [[nodiscard]] std::string write(std::string_view boot_id) const;

  /// The cache that write() wrote in the same start of the machine; nothing for anything else.
  [[nodiscard]] static std::optional<StatCache> read(std::string_view bytes,
                                                     std::string_view boot_id);

 private:
  std::unordered_map<std::string, StatEntry> entries_;
};

}  // namespace mrb::vfs
