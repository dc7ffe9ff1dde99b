#pragma once

#include <functional>
#include <string>
#include <vector>

#include "vfs/mirror/bulk_reader.h"
#include "vfs/mirror/chain_plan.h"
#include "vfs/mirror/stat_cache.h"
#include "vfs/mirror/version_write.h"
#include "vfs/store/ingested_tree.h"

namespace mrb::vfs {

/// What is known of one file before its versions are read.
struct KnownOfFile {
  MirrorFacts facts;
  std::vector<Change> changes;  ///< those of the file, in order
};

/// Reads the histories of a store's files from its mirror. For several threads at once.
class ChainReader {
 public:
  /// One line with its line feed; called by any thread.
  using Warn = std::function<void(const std::string&)>;

  /// `looks`: how files looked when an earlier run ended. All of it outlives the reader.
  ChainReader(const StorePlaces& places, const StatCache& looks, Warn warn)
      : places_(places), looks_(looks), warn_(std::move(warn)) {}

  /// Gives the file its records; its working bytes, if there are any, have been read before. A
  /// version that cannot be read is left out and warned of.
  void read(IngestedFile& file, const KnownOfFile& known, BulkReader& reader) const;

 private:
  [[nodiscard]] bool copy_is_working_file(const IngestedFile& file, const MirrorFacts& facts,
                                          const PlannedRecord& planned) const;
  [[nodiscard]] Result<Blob> bytes_of(const IngestedFile& file, const MirrorFacts& facts,
                                      const PlannedRecord& planned, bool is_newest,
                                      BulkReader& reader) const;
  void keep_newest(const IngestedFile& file, const MirrorFacts& facts,
                   std::vector<PlannedRecord>& plan) const;

  const StorePlaces& places_;
  const StatCache& looks_;
  const Warn warn_;
};

}  // namespace mrb::vfs
