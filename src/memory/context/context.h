#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>

#include "memory/context/context_store.h"
#include "platform/file_lock.h"
#include "platform/shared_mutex.h"

namespace mrb::memory {

/// One context of this process: its store once that is loaded, the lock that keeps other processes
/// out meanwhile, and the mutex by which readers share it while a writer has it alone.
class Context {
 public:
  Context(platform::FileSystem& files, const std::string& contexts_folder, std::string id,
          MemoryObserver changed = {});

  [[nodiscard]] const std::string& id() const { return id_; }

  /// The mutex, shared with other readers or alone. By itself it may let readers that keep coming
  /// hold a writer up for ever; through these two, who asks first comes first.
  [[nodiscard]] std::shared_lock<platform::SharedMutex> share();
  [[nodiscard]] std::unique_lock<platform::SharedMutex> own();

  /// The store, or nothing while it is not loaded (or must be loaded anew). Needs the mutex,
  /// shared.
  [[nodiscard]] const ContextStore* loaded() const {
    return store_ && !store_->stale() ? store_.get() : nullptr;
  }

  /// Loads the store unless it is loaded. With `create` the context's folder is made when missing,
  /// else that is kNotFound. kBusy, naming the holder, when another process has the context. Needs
  /// the mutex alone.
  [[nodiscard]] Status open(bool create);

  /// The store for writing, once open(true) has succeeded: leaves the context's name in its folder
  /// first, and refuses what must not be written. Needs the mutex alone.
  [[nodiscard]] Result<ContextStore*> writable_store();

  /// Unloads the store, if it is loaded, and lets other processes have the context. Needs the mutex
  /// alone.
  void evict();

  /// Unloads the store and moves the folder to `to`, which must be free; `settle` then does what
  /// has to be done there. A failure of any of it leaves the folder where it was. kNotFound without
  /// a folder, kBusy when another process has the context. Needs the mutex alone.
  [[nodiscard]] Status move_to(const std::string& to, const std::function<Status()>& settle);

  [[nodiscard]] const std::string& folder() const { return folder_; }

 private:
  [[nodiscard]] Status make_folder();
  [[nodiscard]] Status take_lock();
  [[nodiscard]] Status settle_move(const std::string& to, const std::function<Status()>& settle);

  platform::FileSystem& files_;
  std::string contexts_folder_;
  std::string folder_;
  std::string id_;
  MemoryObserver changed_;
  std::mutex queue_;  // held only while waiting for mutex_
  platform::SharedMutex mutex_;
  std::optional<platform::FileLock> lock_;  // guarded by mutex_, as all below
  std::unique_ptr<ContextStore> store_;
  bool named_ = false;  // context.id is known to be there and right
};

}  // namespace mrb::memory
