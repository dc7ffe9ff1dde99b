#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/paths.h"
#include "vfs/model/nodes.h"

namespace mrb::vfs {

/// What of a path is behind one of the folders that it leads through; all of it behind "".
[[nodiscard]] constexpr std::string_view PathBelow(std::string_view folder, std::string_view path) {
  return folder.empty() ? path : path.substr(folder.size() + 1);
}

/// The files of one store by path, in the order in which they came. Files are never taken out. On a
/// system whose names ignore letter case, so does this, for ASCII letters. Not thread-safe: not
/// even readers may share it.
class FileTable {
 public:
  explicit FileTable(platform::PathStyle style = platform::SystemPathStyle()) : style_(style) {}

  [[nodiscard]] bool ignores_case() const { return style_ != platform::PathStyle::kPosix; }

  /// Null when there is none.
  [[nodiscard]] File* find(std::string_view path) const;

  /// The file of that path, made when missing. The reference stays valid.
  File& add(std::string_view path);

  [[nodiscard]] const std::vector<std::unique_ptr<File>>& files() const { return files_; }

  /// All files in the order of their paths; the order is kept from call to call.
  [[nodiscard]] const std::vector<File*>& in_order() const;

  /// Those of them whose path leads through a folder; all for "". Valid until the next add().
  [[nodiscard]] std::span<File* const> below(std::string_view folder) const;

  /// Gives a file another spelling of its name that find() takes for the same.
  void respell(File& file, std::string_view name);

 private:
  [[nodiscard]] std::uint64_t hash_of(std::string_view path) const;
  [[nodiscard]] bool same(std::string_view a, std::string_view b) const;
  [[nodiscard]] std::size_t slot_of(std::string_view path) const;
  void grow();

  platform::PathStyle style_;
  std::vector<std::unique_ptr<File>> files_;
  mutable std::vector<File*> order_;  // may lack the last files
  std::vector<std::uint32_t> slots_;  // open addressing, a power of two; 1 + index, 0: free
};

}  // namespace mrb::vfs
