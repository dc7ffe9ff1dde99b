#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vfs/mirror/journal.h"
#include "vfs/model/version_record.h"

namespace mrb::vfs {

/// What the mirror holds of one file.
struct MirrorFacts {
  struct Archive {
    std::uint32_t number = 0;
    std::int64_t modified_ns = 0;
  };
  bool has_copy = false;
  platform::FileStatus copy;
  bool has_tombstone = false;
  std::int64_t tombstone_modified_ns = 0;
  std::vector<Archive> archives;  ///< in any order

  [[nodiscard]] bool empty() const { return !has_copy && !has_tombstone && archives.empty(); }
};

/// Where the bytes of a version lie.
struct ByteSource {
  enum class Kind { kNone, kArchive, kCopy, kTombstone };
  Kind kind = Kind::kNone;
  std::uint32_t number = 0;  ///< of an archive

  friend bool operator==(const ByteSource&, const ByteSource&) = default;
};

/// One record of a file's history, before its bytes have been read.
struct PlannedRecord {
  std::uint32_t version = 0;
  AuthorName author;
  VersionStamp stamp;  ///< all zeros: nobody wrote it down; `modified_ns` is the best guess
  std::int64_t modified_ns = 0;
  bool tombstone = false;
  ByteSource source;
};

/// The history of one file, oldest first, from what the journal says of it (in order) and what lies
/// in the mirror. The journal's word wins over the file names: it tells which archive holds which
/// version, deletes, and who and when. Where it is silent (it was lost, or a crash came first)
/// archives hold the versions that their names say. A version whose bytes are nowhere is left out;
/// so is one that was announced but whose renames never happened.
struct ChainPlan {
  std::vector<PlannedRecord> records;
  bool guessed = false;  ///< the journal did not tell all of it
};
[[nodiscard]] ChainPlan PlanChain(const MirrorFacts& facts, const std::vector<Change>& changes);

/// The first archive number that is free.
[[nodiscard]] std::uint32_t FirstFreeArchive(const MirrorFacts& facts);

}  // namespace mrb::vfs
