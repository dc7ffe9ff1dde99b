#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/files.h"

namespace mrb::platform {

/// A file system for tests that stands in front of a real one and misbehaves at a chosen moment.
/// Operations are counted from 1, in the order in which they are called, those on open files
/// included.
///
///     FaultyFiles files(SystemFiles());
///     files.fail_at(7);        // the 7th operation fails, all others work
///     files.crash_at(7);       // the 7th and all later ones fail, as if the power went
///     ... run the script ...
///     files.lose_unsynced();   // after a crash: what was never flushed is gone
///
/// A failing append writes the first half of its bytes: the disk filled up in the middle. After
/// crash_at(n) the n-th operation, when it is an append, also leaves that half.
/// Thread-safe.
class FaultyFiles : public FileSystem {
 public:
  explicit FaultyFiles(FileSystem& real) : real_(real) {}

  void fail_at(std::uint64_t operation);
  void crash_at(std::uint64_t operation);
  /// No more faults; the count starts again at 1.
  void reset();
  [[nodiscard]] std::uint64_t operations() const;

  /// Cuts every file that grew through this object back to what was flushed of it: its length at
  /// its last sync(), or when it first grew, or the least that truncate() left since. A file that
  /// was renamed meanwhile is cut under its new name. Names themselves are never lost.
  void lose_unsynced();

  Result<std::unique_ptr<OpenFile>> open(const std::string& path, OpenMode mode) override;
  Result<FileStatus> status(const std::string& path) override;
  Result<std::vector<DirectoryEntry>> list(const std::string& path) override;
  Status walk(const std::string& root, TreeVisitor& visitor) override;  // one operation in all
  Status make_directory(const std::string& path) override;
  Status make_shared_directory(const std::string& path) override;
  Status copy_permissions(const std::string& from, const std::string& to) override;
  Status remove_file(const std::string& path) override;
  Status rename_replace(const std::string& from, const std::string& to) override;
  Status rename_new(const std::string& from, const std::string& to) override;
  Status sync_directory(const std::string& path) override;
  /// Counts as flushed what grew so far.
  Status sync_volume(const std::string& path) override;
  [[nodiscard]] bool syncs_volumes() const override { return real_.syncs_volumes(); }
  [[nodiscard]] bool syncs_in_parallel() const override { return false; }  // the count is in order

 private:
  class Handle;
  struct Growth;

  enum class Fate { kWorks, kFails, kIsDead };  // dead: after the crash nothing happens at all

  /// Counts one operation and says what becomes of it.
  [[nodiscard]] Fate next();
  [[nodiscard]] bool faulty() { return next() != Fate::kWorks; }

  [[nodiscard]] std::shared_ptr<Growth> growth_of(const std::string& path);
  void move_growth(const std::string& from, const std::string& to);

  FileSystem& real_;
  mutable std::mutex mutex_;
  std::uint64_t count_ = 0;                                 // guarded by mutex_
  std::uint64_t fail_at_ = 0;                               // guarded by mutex_; 0: never
  bool crash_ = false;                                      // guarded by mutex_
  std::map<std::string, std::shared_ptr<Growth>> growths_;  // guarded by mutex_
};

}  // namespace mrb::platform
