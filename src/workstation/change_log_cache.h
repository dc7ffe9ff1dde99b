#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "vfs/store/version_store.h"
#include "workstation/change_log_table.h"

namespace mrb::workstation {

/// The change books of the stores that a page has asked for: read from the journal once, then kept
/// up by note(). Thread-safe. A store's lock is always taken before this object's.
class ChangeLogCache {
 public:
  using StoreRef = std::shared_ptr<vfs::VersionStore>;

  /// One more line of a store's log; its lock is held.
  void note(const vfs::VersionStore& store, const vfs::Change& change);

  /// Calls `use` with the books of the stores, in their order; they do not change meanwhile. The
  /// error is that of a journal that cannot be read.
  using Use = std::function<void(std::span<const ChangeLogTable* const>)>;
  [[nodiscard]] Status with(std::span<const StoreRef> stores, const Use& use);

 private:
  struct Kept {
    std::weak_ptr<vfs::VersionStore> store;
    std::shared_ptr<ChangeLogTable> book;
    bool stale = false;  // lines were written that nobody told us of
  };

  [[nodiscard]] Status read(const StoreRef& store);

  std::mutex mutex_;
  std::map<const vfs::VersionStore*, Kept> books_;  // guarded by mutex_
};

}  // namespace mrb::workstation
