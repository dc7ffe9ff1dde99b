#pragma once

#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vfs/mirror/chain_plan.h"
#include "vfs/mirror/mirror_scan.h"
#include "vfs/mirror/stat_cache.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {

class BulkReader;

/// Reads a store's tree, its journal and its mirror, and makes them agree. Used once a store, or
/// once for each followed file, by VersionStore, with the store's lock held.
class Ingest {
 public:
  /// `only`, when it is not empty, is the one file of a store of single files to be read.
  Ingest(VersionStore& store, VersionStore::Progress progress, std::string only = {})
      : store_(store), progress_(std::move(progress)), only_(std::move(only)) {}

  [[nodiscard]] Result<IngestReport> run();

 private:
  class Look;

  /// One file on its way into memory.
  struct Item {
    std::string path;
    bool on_disk = false;         ///< it is in the tree
    platform::FileStatus status;  ///< when it is
    MirrorFacts facts;
    std::vector<Change> changes;

    bool is_read = false;  ///< the working file's bytes are in `bytes`
    bool failed = false;   ///< it is there but cannot be read, or its mirror copy cannot be written
    Blob bytes;
    std::vector<VersionRecord> records;
    std::string lines;                    ///< of the journal, when it did not tell the history
    std::uint32_t tombstone_version = 0;  ///< the version that the mirror's tombstone file holds
  };

  [[nodiscard]] Status look();
  [[nodiscard]] bool may_run_parallel() const;
  [[nodiscard]] Status walk_tree();
  void look_at_followed_files();
  void warn_of_memory() const;
  [[nodiscard]] Status scan_mirror();
  [[nodiscard]] Status read_journal();
  void read_stat_cache();
  void merge_known();
  void add_vanished();
  [[nodiscard]] bool is_left_out(const std::string& path) const;
  [[nodiscard]] Status begin_fill();
  void read_all();
  void read_item(Item& item, BulkReader& reader);
  void read_records(Item& item, BulkReader& reader);
  [[nodiscard]] bool copy_is_working_file(const Item& item, const PlannedRecord& planned) const;
  [[nodiscard]] Status fill_copy(const Item& item) const;
  [[nodiscard]] Status end_fill();
  void place(Item& item);
  void place_new(Item& item, File& file);
  void settle_changes();
  void count(const File& file);
  void warn(const std::string& line);

  VersionStore& store_;
  const VersionStore::Progress progress_;
  const std::string only_;
  IngestReport report_;
  std::vector<Item> items_;
  MirrorContents contents_;  ///< of what no item was made for yet
  std::unordered_map<std::string, std::vector<Change>> changes_;  ///< by path; likewise
  StatCache looks_;                                               ///< of an earlier run
  std::unordered_set<std::string> excluded_;
  std::uint64_t walked_bytes_ = 0;
  bool fills_ = false;          ///< the mirror is written for the first time, in one go
  std::string guessed_lines_;   ///< of the journal, that it should have held
  std::string new_lines_;       ///< of the journal, for what was filled
  std::vector<Item*> changed_;  ///< differ from their newest version
  std::mutex mutex_;  ///< guards report_, warnings and the pool while several threads read
};

}  // namespace mrb::vfs
