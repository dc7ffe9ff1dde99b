#include "vfs/store/chain_reader.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "platform/local_time.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/mirror/mirror_scan.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kComparePiece = 65536;

VersionStamp StampOf(std::int64_t nanoseconds) {
  const CivilTime time = platform::LocalTime(nanoseconds);
  return {static_cast<std::uint32_t>(time.year),
          time.month,
          time.day,
          time.hour,
          time.minute,
          time.second};
}

/// Whether a file holds just these bytes; any failure to read it says no.
bool HoldsBytes(platform::FileSystem& files, const std::string& path, std::string_view bytes) {
  const auto file = files.open(path, platform::FileSystem::OpenMode::kRead);
  if (!file) return false;
  std::array<char, kComparePiece> piece;  // NOLINT: filled by the system before it is looked at
  std::size_t at = 0;
  for (;;) {
    const auto got = (*file)->read_at(at, piece.data(), piece.size());
    if (!got || at + *got > bytes.size()) return false;
    if (*got == 0) return at == bytes.size();
    if (std::memcmp(piece.data(), bytes.data() + at, *got) != 0) return false;
    at += *got;
  }
}

/// A history as lines of the journal, for one that its journal did not tell.
std::string LinesOf(const std::string& path, const std::vector<PlannedRecord>& plan) {
  std::string lines;
  std::uint32_t newest = 0;
  for (const PlannedRecord& planned : plan) {
    Change change;
    change.version = planned.version;
    change.author = planned.author.text();
    change.stamp = planned.stamp == VersionStamp() ? StampOf(planned.modified_ns) : planned.stamp;
    change.kind = planned.tombstone      ? ChangeKind::kDelete
                  : planned.version == 1 ? ChangeKind::kCreate
                                         : ChangeKind::kModify;
    change.path = path;
    change.carried = true;
    if (planned.source.kind == ByteSource::Kind::kArchive) {
      change.archived = planned.source.number;
      change.holds = planned.version;
    }
    if (planned.tombstone) change.tombstone_version = newest;
    newest = planned.source.kind == ByteSource::Kind::kTombstone ? planned.version : 0;
    lines += ChangeLine(change);
  }
  return lines;
}

}  // namespace

void ChainReader::read(IngestedFile& file, const KnownOfFile& known, BulkReader& reader) const {
  auto [plan, guessed] = PlanChain(known.facts, known.changes);
  if (guessed) file.lines = LinesOf(file.path, plan);
  for (const PlannedRecord& planned : plan) {
    if (planned.source.kind == ByteSource::Kind::kTombstone)
      file.tombstone_version = planned.version;
  }
  keep_newest(file, known.facts, plan);
  for (std::size_t i = 0; i < plan.size(); ++i) {
    const PlannedRecord& planned = plan[i];
    VersionRecord record;
    record.version = planned.version;
    record.author = planned.author;
    record.stamp = planned.stamp == VersionStamp() ? StampOf(planned.modified_ns) : planned.stamp;
    record.tombstone = planned.tombstone;
    if (!planned.tombstone) {
      auto bytes = bytes_of(file, known.facts, planned, i + 1 == plan.size(), reader);
      if (!bytes) {
        warn_("warning: version " + std::to_string(planned.version) + " of '" + file.path +
              "' cannot be read: " + bytes.error().text + "\n");
        continue;
      }
      record.bytes = *std::move(bytes);
    }
    file.records.push_back(std::move(record));
  }
}

/// Tells of versions that stay on the disk alone, and takes them out of the plan.
void ChainReader::keep_newest(const IngestedFile& file, const MirrorFacts& facts,
                              std::vector<PlannedRecord>& plan) const {
  if (facts.archives.size() <= kArchivedInMemory) return;
  std::array<char, 120> counts{};
  (void)std::snprintf(counts.data(), counts.size(),
                      "' has %zu archived versions; loading the most recent %zu into RAM (older "
                      "remain on disk)\n",
                      facts.archives.size(), kArchivedInMemory);
  warn_("warning: '" + file.path + counts.data());
  // The newest version is no archived one.
  if (plan.size() > kArchivedInMemory + 1) {
    plan.erase(plan.begin(), plan.end() - static_cast<std::ptrdiff_t>(kArchivedInMemory + 1));
  }
}

Result<Blob> ChainReader::bytes_of(const IngestedFile& file, const MirrorFacts& facts,
                                   const PlannedRecord& planned, bool is_newest,
                                   BulkReader& reader) const {
  const std::string path = SourcePath(places_, file.path, planned.source);
  // The newest version is nearly always what the working file holds.
  if (is_newest && copy_is_working_file(file, facts, planned)) return file.bytes;
  return reader.read(path, facts.copy.size);
}

/// Whether the mirror's copy is the source of a version and holds the bytes that were read from the
/// working file.
bool ChainReader::copy_is_working_file(const IngestedFile& file, const MirrorFacts& facts,
                                       const PlannedRecord& planned) const {
  const platform::FileStatus& copy = facts.copy;
  if (!file.is_read || planned.source.kind != ByteSource::Kind::kCopy) return false;
  if (copy.size != file.bytes.bytes().size()) return false;
  platform::FileSystem& files = *places_.files;
  const StatEntry* known = looks_.find(file.path);
  if (known != nullptr && known->version == planned.version && SameStat(known->copy, copy) &&
      SameStat(known->working, file.status)) {
    // The file was read after its status was: both are of one state only if it still looks so.
    const auto now = files.status(places_.working(file.path));
    if (now && SameStat(*now, file.status)) return true;
  }
  return HoldsBytes(files, places_.mirror_copy(file.path), file.bytes.bytes());
}

}  // namespace mrb::vfs
