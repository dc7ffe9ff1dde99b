#include "vfs/store/folder_state.h"

#include <algorithm>
#include <list>
#include <map>
#include <set>
#include <span>

#include "common/text.h"
#include "vfs/store/older_versions.h"
#include "vfs/store/store_snapshot.h"

namespace mrb::vfs {
namespace {

/// Which versions of a path came along when a file moved there, and when that was.
class Arrivals {
 public:
  /// `changes`: all of the store, oldest first.
  explicit Arrivals(std::span<const Change> changes) {
    std::map<std::string_view, std::set<std::uint32_t>> carried;
    std::vector<Arrival*> undated;
    for (const Change& change : changes) {
      if (change.carried) {
        carried[change.path].insert(change.version);
      } else if (change.kind == ChangeKind::kMove) {
        Arrival& arrival = arrivals_[change.path].emplace_back();
        arrival.versions = std::move(carried[change.path]);
        arrival.versions.insert(change.version);
        undated.push_back(&arrival);
      } else {
        // A move bears the stamps of the versions moved; what was written next tells when it was.
        for (Arrival* arrival : undated) arrival->moment = change.stamp;
        undated.clear();
        carried[change.path].clear();
      }
    }
  }

  /// Whether the version was not there yet, but under another path.
  [[nodiscard]] bool was_elsewhere(std::string_view path, std::uint32_t version,
                                   const VersionStamp& moment) const {
    const auto known = arrivals_.find(path);
    return known != arrivals_.end() &&
           std::ranges::any_of(known->second, [&](const Arrival& arrival) {
             return arrival.versions.contains(version) && arrival.moment > moment;
           });
  }

 private:
  struct Arrival {
    std::set<std::uint32_t> versions;
    VersionStamp moment;
  };
  // A list: what `undated` refers to must not move.
  std::map<std::string, std::list<Arrival>, std::less<>> arrivals_;
};

/// The state of one folder of a store, whose path and "/" is the prefix, at one moment.
class PastState {
 public:
  PastState(const std::shared_ptr<VersionStore>& store, std::string_view prefix,
            const VersionStamp& moment)
      : moment_(moment),
        prefix_(prefix),
        snapshot_(TakeSnapshot(
            store, SnapshotOf::kEveryVersion,
            [prefix](const SnapshotFile& file) { return file.path.starts_with(prefix); })),
        older_(*store) {}

  Status run(FolderState& state) {
    const auto changes = snapshot_.store->all_changes();
    if (!changes) return std::unexpected(changes.error());
    const Arrivals arrivals(*changes);
    std::span<const SnapshotFile> rest = snapshot_.files;
    while (!rest.empty()) {
      const std::string_view path = rest.front().path;
      const auto end = std::ranges::find_if(
          rest, [path](const SnapshotFile& file) { return file.path != path; });
      const auto versions = rest.first(static_cast<std::size_t>(end - rest.begin()));
      rest = rest.subspan(versions.size());
      if (Status added = add(versions, arrivals, state); !added) return added;
    }
    return {};
  }

 private:
  /// The last of a file's versions, oldest first, that was there then; null when none was.
  template <typename Versions>
  [[nodiscard]] auto last_there(const Versions& versions, std::string_view path,
                                const Arrivals& arrivals) const -> decltype(&*versions.begin()) {
    for (auto version = versions.rbegin(); version != versions.rend(); ++version) {
      if (version->stamp <= moment_ && !arrivals.was_elsewhere(path, version->version, moment_)) {
        return &*version;
      }
    }
    return nullptr;
  }

  Status add(std::span<const SnapshotFile> versions, const Arrivals& arrivals, FolderState& state) {
    const SnapshotFile& first = versions.front();
    const std::string path(first.path);
    const auto put = [&](std::uint32_t version, const Blob& bytes) {
      state.files.push_back({path.substr(prefix_.size()), version, bytes});
    };
    if (const SnapshotFile* there = last_there(versions, path, arrivals)) {
      if (!there->is_deleted) put(there->version, there->bytes);
      return {};
    }
    if (!first.has_older) return {};
    const auto older = older_.of(path, first.version);
    if (!older) return std::unexpected(older.error());
    const VersionRecord* there = last_there(*older, path, arrivals);
    if (there != nullptr && !there->tombstone) put(there->version, there->bytes);
    return {};
  }

  const VersionStamp moment_;
  const std::string_view prefix_;
  StoreSnapshot snapshot_;
  OlderVersions older_;
};

/// Up to two digits less than `end`.
std::optional<std::uint32_t> Part(std::string_view text, std::uint32_t end) {
  const auto number = ParseDecimal(text);
  if (!number || *number >= end) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

}  // namespace

std::optional<VersionStamp> ParseMoment(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00 00:00:00";
  const bool has_length = text.size() == 10 || text.size() == 16 || text.size() == kForm.size();
  if (!has_length) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kForm[i] == '0') continue;  // ParseDecimal looks at digits
    if (text[i] != kForm[i] && !(i == 10 && text[i] == 'T')) return std::nullopt;
  }
  std::string whole(text);
  whole += kForm.substr(text.size());
  const std::string_view all = whole;
  const auto year = Part(all.substr(0, 4), 10'000);
  const auto month = Part(all.substr(5, 2), 13);
  const auto day = Part(all.substr(8, 2), 32);
  const auto hour = Part(all.substr(11, 2), 24);
  const auto minute = Part(all.substr(14, 2), 60);
  const auto second = Part(all.substr(17, 2), 61);
  if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
  return VersionStamp{*year, *month, *day, *hour, *minute, *second};
}

Result<FolderState> StateOf(const std::shared_ptr<VersionStore>& store, std::string_view folder,
                            const std::optional<VersionStamp>& moment) {
  const std::string prefix = folder.empty() ? "" : std::string(folder) + "/";
  FolderState state;
  if (moment) {
    if (Status past = PastState(store, prefix, *moment).run(state); !past) {
      return std::unexpected(past.error());
    }
    return state;
  }
  StoreSnapshot snapshot = TakeSnapshot(store, SnapshotOf::kNewest, [&](const SnapshotFile& file) {
    return !file.is_deleted && file.path.starts_with(prefix);
  });
  for (SnapshotFile& file : snapshot.files) {
    state.files.push_back(
        {std::string(file.path.substr(prefix.size())), file.version, std::move(file.bytes)});
  }
  return state;
}

}  // namespace mrb::vfs
