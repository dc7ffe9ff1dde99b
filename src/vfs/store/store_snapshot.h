#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <memory_resource>
#include <string_view>
#include <vector>

#include "vfs/store/version_store.h"

namespace mrb::vfs {

/// A version of a file as a search sees it.
struct SnapshotFile {
  std::string_view path;  ///< below the store's root, with "/"
  std::uint32_t version = 0;
  bool is_deleted = false;
  bool is_locked = false;
  bool needs_merge = false;
  /// Versions older than this one lie in the mirror alone, and are not in the snapshot.
  bool has_older = false;
  AuthorName author;
  VersionStamp stamp;
  Blob bytes;  ///< none of a deleted one
};

enum class SnapshotOf : std::uint8_t { kNewest, kEveryVersion };

/// The files of a store at one moment, in the order of their paths. The store's lock is held for
/// taking it, a few milliseconds, and not for searching: contents are shared, and stay as long as
/// this does.
struct StoreSnapshot {
  std::shared_ptr<VersionStore> store;
  std::unique_ptr<std::pmr::monotonic_buffer_resource> names;  // what the paths refer to
  std::vector<SnapshotFile> files;
};

/// Whether a file is wanted, by what is known of it before its version is looked at: path, locks,
/// and whether it is deleted now. Called with the store's lock held, so it must be quick.
using WantsFile = std::function<bool(const SnapshotFile&)>;

/// The newest version of every file, deletes included, or every version that is held in memory, the
/// oldest first; only of the files that are wanted.
[[nodiscard]] StoreSnapshot TakeSnapshot(std::shared_ptr<VersionStore> store,
                                         SnapshotOf what = SnapshotOf::kNewest,
                                         const WantsFile& wants = {});

}  // namespace mrb::vfs
