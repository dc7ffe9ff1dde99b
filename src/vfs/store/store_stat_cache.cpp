// How files look is written down for the next start. What is written is only worth something while
// nothing changes meanwhile: the statuses are taken without the lock, then dropped if anything
// moved.

#include <chrono>

#include "platform/files.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/mirror/stat_cache.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {
namespace {

// Files that were written just now cannot be told from files that are written again.
constexpr std::chrono::seconds kAfterStart{3};
// One pass over the mirror's names, and a write of some hundred bytes a file.
constexpr std::chrono::seconds kBetween{30};

struct Candidate {
  std::string path;
  StatEntry entry;
};

}  // namespace

Status VersionStore::save_stat_cache() {
  std::vector<Candidate> candidates;
  std::uint64_t edits = 0;
  {
    const Lock guard = lock();
    if (!is_mirrored() || setup_.follower || setup_.boot_id.empty()) return {};
    edits = edits_;
    for (const auto& file : table_.files()) {
      const bool is_known = !file->is_gone() && places_.mirrors(file->name) &&
                            file->seen.type == platform::FileStatus::Type::kFile &&
                            file->seen.size == file->history.back().bytes.bytes().size();
      if (is_known) candidates.push_back({file->name, {file->version, file->seen, {}}});
    }
  }
  StatCache looks;
  bool all = true;
  for (Candidate& candidate : candidates) {
    const std::int64_t now = NowNanoseconds();
    const auto copy = places_.files->status(places_.mirror_copy(candidate.path));
    if (!copy) continue;
    if (IsRacy(*copy, now)) {
      all = false;
      continue;
    }
    candidate.entry.copy = *copy;
    looks.add(std::move(candidate.path), candidate.entry);
  }
  const Lock guard = lock();
  if (edits != edits_) return {};  // some of it is of the past; the next time is soon
  if (Status written =
          platform::ReplaceFile(*places_.files, layout_.stat_cache(), looks.write(setup_.boot_id));
      !written) {
    return written;
  }
  if (all) remembered_ = edits;
  return {};
}

void VersionStore::remember_when_due() {
  const auto now = std::chrono::steady_clock::now();
  {
    const Lock guard = lock();
    if (remembered_ == edits_) return;
    if (remember_next_ == std::chrono::steady_clock::time_point())
      remember_next_ = now + kAfterStart;
    if (now < remember_next_) return;
    remember_next_ = now + kBetween;
  }
  // Only the next start's time depends on it, so a failure is tried again and not told.
  static_cast<void>(save_stat_cache());
}

}  // namespace mrb::vfs
