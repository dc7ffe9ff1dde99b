#include <cstdint>
#include <string_view>
#include <vector>

#include "check.h"
#include "common/text.h"
#include "vfs/mirror/chain_plan.h"
#include "vfs/mirror/mirror_layout.h"
#include "vfs/mirror/stat_cache.h"
#include "vfs/verbs/arguments.h"

// A mirror as somebody may have left it: lines of its journal, names of its files, and what a
// file's history becomes from any mix of the two. Also the arguments of a file verb.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace mrb;
  using namespace mrb::vfs;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<Change> changes;
  MirrorFacts facts;
  for (const std::string_view line : Split(text, '\n')) {
    if (const auto change = ParseChange(line)) {
      const auto again = ParseChange(ChangeLine(*change));
      FUZZ_CHECK(again && ChangeLine(*again) == ChangeLine(*change));
      changes.push_back(*change);
      continue;
    }
    const MirrorEntry entry = ClassifyMirrorFile(line);
    FUZZ_CHECK(entry.kind == MirrorEntry::Kind::kOther || !entry.key.empty());
    facts.has_copy = facts.has_copy || entry.kind == MirrorEntry::Kind::kCopy;
    facts.has_tombstone = facts.has_tombstone || entry.kind == MirrorEntry::Kind::kTombstone;
    if (entry.kind == MirrorEntry::Kind::kArchive) facts.archives.push_back({entry.number, 0});
    static_cast<void>(Arguments(line).text("path", 0));
  }
  if (const auto looks = StatCache::read(text, "start")) {
    FUZZ_CHECK(StatCache::read(looks->write("start"), "start").has_value());
  }
  std::uint32_t last = 0;
  for (const PlannedRecord& record : PlanChain(facts, changes).records) {
    FUZZ_CHECK(record.version > last);
    FUZZ_CHECK(record.tombstone || record.source.kind != ByteSource::Kind::kNone);
    last = record.version;
  }
  return 0;
}
