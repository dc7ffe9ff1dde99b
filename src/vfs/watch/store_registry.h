#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_lock.h"
#include "vfs/store/version_store.h"
#include "vfs/watch/watcher.h"

namespace mrb::vfs {

/// A file or folder as a command named it: the store that it belongs to and its path there.
struct StorePath {
  std::shared_ptr<VersionStore> store;
  std::string path;  ///< below the store's root, with "/"; "" is the root
};

/// The stores of this process, and who watches their roots. Thread-safe.
class StoreRegistry {
 public:
  struct Options {
    platform::FileSystem* files = nullptr;
    std::string data_home;          ///< holds the mirrors and the locks
    std::string executable_folder;  ///< shortens the mirrors' names of what lies below it
    std::function<std::string()> outside_author;
    std::function<void(std::string_view)> warn;  ///< one line with its line feed
    ChangeObserver changed;                      ///< may be empty
  };

  explicit StoreRegistry(Options options) : options_(std::move(options)) {}
  StoreRegistry(const StoreRegistry&) = delete;
  StoreRegistry& operator=(const StoreRegistry&) = delete;
  /// Stops every watcher.
  ~StoreRegistry();

  struct Opened {
    std::shared_ptr<VersionStore> store;
    IngestReport report;
  };

  /// Takes a directory (normal, absolute) in: reads it, with its mirror, and watches it when the
  /// policy says so. A root that another process owns is read, and followed only. The new store
  /// becomes the active one unless it is one of single files or of the configuration category.
  [[nodiscard]] Result<Opened> open(const std::string& root, const Policy& policy,
                                    StoreCategory category,
                                    const VersionStore::Progress& progress = {});

  /// The store of single files of a folder, made when there is none.
  [[nodiscard]] Result<std::shared_ptr<VersionStore>> open_folder(const std::string& folder);

  /// Stops watching and forgets the store; its mirror stays. Whether there was one.
  bool close(const std::string& root, StoreCategory category);

  /// How many archived versions the mirror holds of a file in a folder, enrolled or not.
  [[nodiscard]] std::size_t archived_count(const std::string& folder,
                                           const std::string& name) const;

  /// Makes the watcher run, or not, as the store's policy now says.
  [[nodiscard]] Status follow_policy(const std::shared_ptr<VersionStore>& store);
  [[nodiscard]] bool is_watched(const VersionStore& store) const;

  /// The enrolled store of just that root; null when there is none.
  [[nodiscard]] std::shared_ptr<VersionStore> of_root(const std::string& root) const;
  [[nodiscard]] std::vector<std::shared_ptr<VersionStore>> all() const;

  /// The most recently enrolled store; null when there is none.
  [[nodiscard]] std::shared_ptr<VersionStore> active() const;
  void make_active(const std::shared_ptr<VersionStore>& store);

  /// What `path` means to a caller in the folder `cwd`: an absolute path lies in the store with the
  /// longest root above it; a relative one lies below `cwd` whenever that is in a store, known
  /// there or new. Only for a caller outside every store, or one whose folder is not known, is it
  /// below the active store's root. Nothing when no store holds it.
  [[nodiscard]] std::optional<StorePath> resolve(std::string_view path, std::string_view cwd) const;

  /// Where the mirror of a root lies, or would lie.
  [[nodiscard]] std::string mirror_root(const std::string& root) const;

 private:
  struct Root {
    std::shared_ptr<VersionStore> store;
    std::optional<platform::FileLock> owner;
    std::unique_ptr<Watcher> watcher;  // last: its passes use the store
  };

  [[nodiscard]] StoreSetup setup_of(const std::string& root, const Policy& policy,
                                    StoreCategory category) const;
  [[nodiscard]] std::string claim_mirror(const std::string& root) const;
  [[nodiscard]] Status start_watching(Root& root) const;
  [[nodiscard]] std::optional<StorePath> of_absolute(std::string_view path) const;

  const Options options_;
  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Root>> roots_;  // guarded by mutex_
  std::shared_ptr<VersionStore> active_;      // guarded by mutex_
};

}  // namespace mrb::vfs
