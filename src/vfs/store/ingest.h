#pragma once

#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "vfs/mirror/bulk_reader.h"
#include "vfs/mirror/journal.h"
#include "vfs/mirror/mirror_scan.h"
#include "vfs/mirror/stat_cache.h"
#include "vfs/store/chain_reader.h"
#include "vfs/store/ingested_tree.h"
#include "vfs/store/store_setup.h"
#include "vfs/store/tree_rules.h"

namespace mrb::vfs {

/// What a store lends for its tree to be read. Nobody else uses it meanwhile.
struct IngestSource {
  const StoreSetup& setup;
  const StorePlaces& places;
  const TreeRules& rules;
  const Journal& journal;
  BlobPool& pool;  ///< takes the bytes that are read
};

/// Reads a store's tree, its journal and its mirror. It writes nothing but the copies of a mirror
/// that holds none yet. Used once a store, or once for each followed file.
class Ingest {
 public:
  /// `only`, when it is not empty, is the one file of a store of single files to be read.
  Ingest(const IngestSource& source, IngestProgress progress, std::string only);

  /// All that was read; fails when the tree, the mirror or the journal cannot be read.
  [[nodiscard]] Result<IngestedTree> run();

 private:
  class Look;

  [[nodiscard]] Status look();
  [[nodiscard]] bool may_run_parallel() const;
  [[nodiscard]] Status walk_tree();
  void look_at_followed_files();
  void warn_of_memory();
  [[nodiscard]] Status scan_mirror();
  [[nodiscard]] Status read_journal();
  void read_stat_cache();
  void merge_known();
  void add_vanished();
  [[nodiscard]] bool is_left_out(const std::string& path) const;
  [[nodiscard]] bool wants(const std::string& followed) const;
  [[nodiscard]] Status begin_fill();
  void read_all();
  void read_file(IngestedFile& file, const KnownOfFile& known, BulkReader& reader);
  void read_working_file(IngestedFile& file, BulkReader& reader);
  void fill(IngestedFile& file);
  [[nodiscard]] Status fill_copy(const IngestedFile& file) const;
  void warn(const std::string& line);

  const IngestSource source_;
  platform::FileSystem& files_;
  const IngestProgress progress_;
  const std::string only_;
  IngestedTree tree_;
  std::vector<KnownOfFile> known_;  ///< of each of tree_.files
  MirrorContents contents_;         ///< of what no file was made for yet
  std::unordered_map<std::string, std::vector<Change>> changes_;  ///< by path; likewise
  StatCache looks_;                                               ///< of an earlier run
  std::unordered_set<std::string> excluded_;
  std::uint64_t walked_bytes_ = 0;
  std::mutex mutex_;  ///< guards the report, warnings and the pool while several threads read
  ChainReader chains_;
};

}  // namespace mrb::vfs
