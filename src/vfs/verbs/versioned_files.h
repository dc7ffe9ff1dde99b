#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "vfs/policy/enrollment_list.h"
#include "vfs/policy/watched_files.h"
#include "vfs/store/cache_keeper.h"
#include "vfs/verbs/vfs_options.h"
#include "vfs/watch/store_registry.h"

namespace mrb::vfs {

/// What the verbs of versioned files work on: the stores of one process and the lists that say
/// which directories and files are to be versioned. Thread-safe, but for the lists: see
/// enrolling().
class VersionedFiles {
 public:
  explicit VersionedFiles(VfsOptions options);
  VersionedFiles(const VersionedFiles&) = delete;
  VersionedFiles& operator=(const VersionedFiles&) = delete;
  ~VersionedFiles();

  /// Enrols again what the lists say, on a thread of its own; the first command waits for it. A
  /// process that does not call this loads with its first command.
  void start();

  /// Enrols again what the lists say, unless that has been done; waits while another thread does.
  void load();

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
  void load_directory(const EnrollmentList::Entry& entry, std::size_t number, std::size_t count);
  void load_watched_files();
  void load_workflow_scripts();
  void replay_checkouts();
  [[nodiscard]] bool hand_lock(const std::string& path, const std::string& seat);
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
