#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/command_register.h"
#include "platform/system_memory.h"
#include "vfs/cache_keeper.h"
#include "vfs/enrollment_list.h"
#include "vfs/store_registry.h"
#include "vfs/watched_files.h"

namespace mrb::vfs {

/// Who calls, and from where.
struct VfsCall {
  std::string author;             ///< stamped on what is written, and the holder of locks
  std::string working_directory;  ///< absolute; empty when unknown
  /// Takes the entries of listings, gives queries their $1, $2, …; null: there is none.
  std::shared_ptr<CommandRegister> registers = nullptr;
};

struct VfsOptions {
  platform::FileSystem* files = nullptr;
  std::string data_home;
  std::string executable_folder;
  std::vector<std::string> settings_files;  ///< the first that is there holds
  std::string user_profile;  ///< where tools keep their folders for the user; empty: none is sought
  std::function<std::string()> outside_author;  ///< who saves what is not saved through us
  std::function<void(std::string_view)> print;  ///< text for the user at start, and warnings
  ChangeObserver changed;                       ///< may be empty
  bool print_is_console = false;                ///< progress may rewrite its line
  std::function<platform::SystemMemory()> memory = &platform::ReadSystemMemory;
  CacheKeeper::Limits cache;
};

/// The versioned files of one process: every verb of the namespaces fs, fsvctl, fslock, fsstat,
/// fsmk, fsraw and grep, enrolment, and the store part of fssys. Thread-safe; each answer is whole.
class VfsService {
 public:
  explicit VfsService(VfsOptions options);
  VfsService(const VfsService&) = delete;
  VfsService& operator=(const VfsService&) = delete;
  ~VfsService();

  /// Enrols again what the lists say, on a thread of its own; the first command waits for it. A
  /// process that does not call this loads with its first command.
  void start();

  /// Runs one verb, in lower case, of one of the namespaces.
  [[nodiscard]] std::string execute(const VfsCall& call, std::string_view name_space,
                                    std::string_view verb, std::string_view arguments);

  /// The files of one store that an expression of the query language fits; `options` may hold
  /// --store=. Each is a line "  [n] path <…>".
  [[nodiscard]] std::string query(const VfsCall& call, std::string_view expression,
                                  std::string_view options);

  /// One version of a file, for whoever wants them all.
  struct FolderVersion {
    std::string name;  ///< of the file, without its folder
    std::uint32_t version = 0;
    VersionStamp stamp;
    Blob bytes;
  };
  /// The versions held in memory of every live file directly in a folder, by name and number;
  /// deletes are left out. Nothing when no store with versions holds the folder.
  [[nodiscard]] std::optional<std::vector<FolderVersion>> versions_in(const std::string& folder);

  /// What the routes under /vc/ answer, as JSON.
  [[nodiscard]] std::string directories_json();
  [[nodiscard]] std::string stores_json();

  /// The stores, once the lists have been read.
  [[nodiscard]] StoreRegistry& stores() {
    load();
    return registry_;
  }

  // For the verbs.
  [[nodiscard]] const VfsOptions& options() const { return options_; }
  [[nodiscard]] StoreRegistry& registry() { return registry_; }
  [[nodiscard]] EnrollmentList& enrollments() { return enrollments_; }
  [[nodiscard]] WatchedFiles& watched() { return watched_; }
  [[nodiscard]] CacheKeeper& cache() { return cache_; }
  /// Guards the lists and what is derived from them, during enrolment and its like.
  [[nodiscard]] std::mutex& enrolling() { return enrolling_; }
  /// The setting vc.maxreposize, else the built-in limit.
  [[nodiscard]] std::uint64_t default_max_bytes() const;

 private:
  void load();
  void load_directory(const EnrollmentList::Entry& entry, std::size_t number, std::size_t count);
  void load_watched_files();
  void load_workflow_scripts();
  void replay_checkouts();
  void print(const std::string& text) const;

  const VfsOptions options_;
  EnrollmentList enrollments_;
  WatchedFiles watched_;
  StoreRegistry registry_;
  CacheKeeper cache_;
  std::mutex enrolling_;
  std::mutex loading_;
  bool loaded_ = false;  // guarded by loading_
  std::thread loader_;
};

}  // namespace mrb::vfs
