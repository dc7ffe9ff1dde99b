#include "vfs/mirror/chain_plan.h"

#include <algorithm>
#include <map>
#include <ranges>
#include <set>
#include <utility>

namespace mrb::vfs {
namespace {

using Kind = ByteSource::Kind;

/// Replays a file's changes and then finds the bytes of every version.
class Planner {
 public:
  explicit Planner(const MirrorFacts& facts) : facts_(facts) {
    for (const MirrorFacts::Archive& archive : facts.archives) {
      archives_[archive.number] = archive.modified_ns;
    }
  }

  ChainPlan plan(const std::vector<Change>& changes) {
    for (const Change& change : changes) replay(change);
    drop_unfulfilled(changes);
    if (changes.empty()) {
      number_by_name();
    } else {
      place_unmentioned();
    }
    find_bytes();
    std::erase_if(records_, [](const PlannedRecord& record) {
      return !record.tombstone && record.source.kind == Kind::kNone;
    });
    return {std::move(records_), guessed_};
  }

 private:
  void replay(const Change& change) {
    if (change.archived != 0) note_archive(change);
    if (change.tombstone_version != 0) {
      buried_before_ = std::exchange(buried_, change.tombstone_version);
    } else if (change.kind == ChangeKind::kRestore) {
      buried_ = 0;
    }
    switch (change.kind) {
      case ChangeKind::kRestore:
        if (change.same_as == 0) {  // the tombstone was withdrawn
          forget_from(change.version + 1);
          return;
        }
        same_[change.version] = change.same_as;
        break;
      case ChangeKind::kMirrorFail:
        if (!records_.empty() && records_.back().version == change.version &&
            records_.back().tombstone) {
          buried_ = buried_before_;
        }
        forget_from(change.version);
        return;
      case ChangeKind::kReconcileStrandedLock:
        return;
      default:
        break;
    }
    forget_from(change.version);
    records_.push_back({.version = change.version,
                        .author = AuthorName(change.author),
                        .stamp = change.stamp,
                        .modified_ns = 0,
                        .tombstone = change.kind == ChangeKind::kDelete,
                        .source = {}});
  }

  /// A store that mirrors edited files only archives a first version that it never wrote down.
  void note_archive(const Change& change) {
    mentioned_.insert(change.archived);
    const auto archive = archives_.find(change.archived);
    if (archive == archives_.end() || change.holds == 0) return;
    // A number may have been given before, by a change that was taken back.
    std::erase_if(archive_of_, [&](const auto& of) { return of.second == change.archived; });
    archive_of_[change.holds] = change.archived;
    const auto at = std::ranges::lower_bound(records_, change.holds, {}, &PlannedRecord::version);
    if (at != records_.end() && at->version == change.holds) return;
    PlannedRecord record;
    record.version = change.holds;
    record.modified_ns = archive->second;
    records_.insert(at, record);
  }

  void forget_from(std::uint32_t version) {
    while (!records_.empty() && records_.back().version >= version) records_.pop_back();
  }

  /// The journal is written before the renames that it tells of: a crash between leaves a last line
  /// that never came true.
  void drop_unfulfilled(const std::vector<Change>& changes) {
    if (changes.empty() || records_.empty()) return;
    const Change& last = changes.back();
    if (last.version != records_.back().version) return;
    if (last.kind == ChangeKind::kDelete ? was_buried(last) : was_written(last)) return;
    records_.pop_back();
    if (last.kind == ChangeKind::kDelete) buried_ = buried_before_;
  }

  /// A tombstone file that was there before goes to the archive first, so it is not that one.
  [[nodiscard]] bool was_buried(const Change& last) const {
    return !facts_.has_copy ||
           (facts_.has_tombstone && (last.archived == 0 || archives_.contains(last.archived)));
  }

  /// A copy that is not there may have been archived by a save, or made a tombstone by a delete,
  /// whose line was lost.
  [[nodiscard]] bool was_written(const Change& last) const {
    if (last.archived != 0 && !archives_.contains(last.archived)) return false;
    if (last.archived != 0 && last.holds == last.version) return true;  // carried by a move
    return facts_.has_copy || (facts_.has_tombstone && buried_ == 0) ||
           std::ranges::any_of(archives_, [this](const auto& archive) {
             return !mentioned_.contains(archive.first);
           });
  }

  void push(std::uint32_t version, ByteSource source, std::int64_t modified_ns) {
    PlannedRecord record;
    record.version = version;
    record.modified_ns = modified_ns;
    record.source = source;
    records_.push_back(record);
  }

  [[nodiscard]] std::uint32_t next_version() const {
    return records_.empty() ? 1 : records_.back().version + 1;
  }

  void push_tombstone() {
    PlannedRecord record;
    record.version = next_version();
    record.modified_ns = facts_.tombstone_modified_ns;
    record.tombstone = true;
    records_.push_back(record);
  }

  void number_by_name() {
    guessed_ = !facts_.empty();
    for (const auto& [number, modified_ns] : archives_) {
      push(number, {Kind::kArchive, number}, modified_ns);
    }
    if (facts_.has_tombstone) {
      push(next_version(), {Kind::kTombstone, 0}, facts_.tombstone_modified_ns);
      push_tombstone();
    }
    if (facts_.has_copy) push(next_version(), {Kind::kCopy, 0}, facts_.copy.modified_ns);
  }

  /// Archives that the journal does not know were made right before a crash, or after it was lost:
  /// the first took the newest version that the journal knows, and what follows is newer.
  void place_unmentioned() {
    bool first = true;
    for (const auto& [number, modified_ns] : archives_) {
      if (mentioned_.contains(number)) continue;
      guessed_ = true;
      PlannedRecord* newest = newest_content();
      if (first && newest != nullptr && !archive_of_.contains(newest->version)) {
        archive_of_[newest->version] = number;
      } else {
        push(next_version(), {Kind::kArchive, number}, modified_ns);
      }
      first = false;
    }
    const bool unexplained = copy_is_taken();
    const bool behind_delete = !records_.empty() && records_.back().tombstone;
    if (facts_.has_copy && (unexplained || behind_delete)) {
      guessed_ = true;
      push(next_version(), {Kind::kCopy, 0}, facts_.copy.modified_ns);
    }
  }

  /// Whether the newest version lies in the archive already, so that the copy is a newer one.
  [[nodiscard]] bool copy_is_taken() {
    const PlannedRecord* newest = newest_content();
    return newest == nullptr || archive_of_.contains(newest->version) ||
           newest->source.kind == Kind::kArchive;
  }

  PlannedRecord* newest_content() {
    for (PlannedRecord& record : records_ | std::views::reverse) {
      if (!record.tombstone) return &record;
    }
    return nullptr;
  }

  void find_bytes() {
    for (PlannedRecord& record : records_) {
      const auto archive = archive_of_.find(record.version);
      if (archive != archive_of_.end()) record.source = {Kind::kArchive, archive->second};
    }
    find_copy_and_tombstone();
    // Twice, as a version may be the same as an older one, or an older one the same as it.
    for (const auto& [version, older] : same_) share(version, older);
    for (const auto& [version, older] : same_ | std::views::reverse) share(version, older);
  }

  void find_copy_and_tombstone() {
    bool copy_free = facts_.has_copy;
    if (PlannedRecord* tombstone_version = find(buried_);
        tombstone_version != nullptr && facts_.has_tombstone) {
      if (tombstone_version->source.kind == Kind::kNone)
        tombstone_version->source = {Kind::kTombstone, 0};
    }
    bool tombstone_free = facts_.has_tombstone;
    bool behind_delete = false;
    for (PlannedRecord& record : records_ | std::views::reverse) {
      if (record.tombstone) {
        behind_delete = true;
        continue;
      }
      if (record.source.kind == Kind::kCopy) copy_free = false;
      if (record.source.kind == Kind::kTombstone) tombstone_free = false;
      if (record.source.kind != Kind::kNone) {
        if (behind_delete) return;
        continue;
      }
      if (tombstone_free && (behind_delete || (buried_ == 0 && !copy_free))) {
        guessed_ = guessed_ || !behind_delete;
        record.source = {Kind::kTombstone, 0};
        tombstone_free = false;
      } else if (copy_free) {  // behind a delete too: its copy was not moved away then
        record.source = {Kind::kCopy, 0};
        copy_free = false;
      }
    }
  }

  void share(std::uint32_t version, std::uint32_t older) {
    PlannedRecord* a = find(version);
    PlannedRecord* b = find(older);
    if (a == nullptr || b == nullptr) return;
    if (a->source.kind == Kind::kNone) a->source = b->source;
    if (b->source.kind == Kind::kNone) b->source = a->source;
  }

  PlannedRecord* find(std::uint32_t version) {
    const auto at = std::ranges::find(records_, version, &PlannedRecord::version);
    return at == records_.end() ? nullptr : &*at;
  }

  const MirrorFacts& facts_;
  std::map<std::uint32_t, std::int64_t> archives_;  // number: time of its last change
  std::vector<PlannedRecord> records_;
  std::map<std::uint32_t, std::uint32_t> archive_of_;  // version: archive number
  std::set<std::uint32_t> mentioned_;
  bool guessed_ = false;
  std::uint32_t buried_ = 0;  // the version that the tombstone file holds
  std::uint32_t buried_before_ = 0;
  std::map<std::uint32_t, std::uint32_t> same_;  // version: an older one with the same bytes
};

}  // namespace

ChainPlan PlanChain(const MirrorFacts& facts, const std::vector<Change>& changes) {
  return Planner(facts).plan(changes);
}

std::uint32_t FirstFreeArchive(const MirrorFacts& facts) {
  std::set<std::uint32_t> taken;
  for (const MirrorFacts::Archive& archive : facts.archives) taken.insert(archive.number);
  std::uint32_t number = 1;
  while (taken.contains(number)) ++number;
  return number;
}

}  // namespace mrb::vfs
