#include "vfs/store/tree_rules.h"

#include <algorithm>
#include <array>

#include "vfs/model/reserved_names.h"

namespace mrb::vfs {

bool TreeRules::enters(std::string_view folder) const {
  constexpr std::array<std::string_view, 5> kToolFolders{".git", ".hg", ".svn", ".jj", ".mirebolt"};
  const std::string_view name = BaseName(folder);
  if (std::ranges::find(kToolFolders, name) != kToolFolders.end() || IsReservedName(name)) {
    return false;
  }
  return pruned_folders_.empty() ||
         std::ranges::find(pruned_folders_, places_.working(folder)) == pruned_folders_.end();
}

bool TreeRules::admits(std::string_view path, std::uint64_t size) const {
  if (has_single_files()) return followed_.contains(std::string(path));
  return !HasReservedPart(path) && filter_.admits(path, size);
}

}  // namespace mrb::vfs
