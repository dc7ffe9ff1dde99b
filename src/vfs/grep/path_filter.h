#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vfs/store/store_snapshot.h"

namespace mrb::vfs {

/// Whether a glob fits a path below a root, all of it or only its last name.
[[nodiscard]] bool FitsPathOrName(std::string_view glob, std::string_view path);

/// Which files of one store a command is about.
class PathFilter {
 public:
  struct Words {
    const std::vector<std::string>& paths;  ///< none: every file
    const std::vector<std::string>& include;
    const std::vector<std::string>& exclude;
  };

  /// A path is a glob or a folder. An absolute one must lie below the store's root; a relative one
  /// is seen from `cwd` when it fits a file there, else from the root. One without a "/" may also
  /// be a file's own name, like the globs to include and exclude.
  PathFilter(const StoreSnapshot& snapshot, const Words& words, std::string_view cwd);

  [[nodiscard]] bool admits(std::string_view path) const;

  /// The words for paths that no live file of the snapshot fits.
  [[nodiscard]] std::vector<std::string> unfit(const StoreSnapshot& snapshot) const;

 private:
  Words words_;
  std::vector<std::optional<std::string>>
      globs_;  // of each word, below the root; nothing: not there
};

}  // namespace mrb::vfs
