#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "vfs/mirror/version_write.h"
#include "vfs/policy/policy.h"
#include "vfs/store/store_setup.h"

namespace mrb::vfs {

/// Which folders and files of a store's tree version control sees. The store's lock guards all but
/// enters().
class TreeRules {
 public:
  explicit TreeRules(const StoreSetup& setup)
      : category_(setup.category),
        pruned_folders_(setup.pruned_folders),
        places_{setup.files, setup.disk_root, nullptr},
        filter_(setup.policy.ext) {}

  /// Whether a look at the tree goes into a folder: not into those that other tools keep their own
  /// history in, ours, and machinery. Any thread.
  [[nodiscard]] bool enters(std::string_view folder) const;

  [[nodiscard]] bool admits(std::string_view path, std::uint64_t size) const;

  void set_filter(const ExtensionFilter& filter) { filter_ = filter; }

  /// In a store of single files: the files that it is about, and nothing else in their folder.
  [[nodiscard]] bool has_single_files() const { return category_ == StoreCategory::kSingleFiles; }
  [[nodiscard]] const std::set<std::string>& followed() const { return followed_; }
  void follow(const std::string& path) { followed_.insert(path); }
  void unfollow(const std::string& path) { followed_.erase(path); }

 private:
  const StoreCategory category_;
  const std::vector<std::string> pruned_folders_;  // absolute
  const StorePlaces places_;
  ExtensionFilter filter_;
  std::set<std::string> followed_;
};

}  // namespace mrb::vfs
