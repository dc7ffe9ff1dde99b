#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "vfs/mirror/journal.h"
#include "vfs/policy/policy.h"

namespace mrb::vfs {

/// What a store is for.
enum class StoreCategory {
  kEnrolled,       ///< a directory that the user enrolled
  kSingleFiles,    ///< the watched files of one folder, and nothing else in it
  kConfiguration,  ///< a folder that the product found by itself; hidden from listings
};

class VersionStore;

/// Told of each line of a store's change log, the bookkeeping ones included, while the store's lock
/// is held: it must be quick and must not use a store.
using ChangeObserver = std::function<void(const VersionStore&, const Change&)>;

struct StoreSetup {
  platform::FileSystem* files = nullptr;  ///< outlives the store
  std::string disk_root;                  ///< absolute; empty for a store without one
  std::string mirror_root;                ///< empty: nothing is mirrored
  Policy policy;
  StoreCategory category = StoreCategory::kEnrolled;
  std::function<VersionStamp()> now;            ///< local time
  std::function<std::string()> outside_author;  ///< who saves what is not saved through us
  std::function<void(std::string_view)> warn;   ///< one line with its line feed; may be empty
  ChangeObserver changed;                       ///< may be empty
  std::vector<std::string> pruned_folders;      ///< absolute; never looked into
  /// A file that was changed less than this ago may be in the middle of a save: a look at the tree
  /// leaves it for the next one, a few times at most.
  std::chrono::milliseconds settle{50};
  /// platform::BootId(); empty: how files looked is not remembered from one run to the next.
  std::string boot_id;
  /// Another process owns the root: nothing is written, versions are what that process wrote.
  bool follower = false;
};

}  // namespace mrb::vfs
