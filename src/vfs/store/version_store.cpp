#include "vfs/store/version_store.h"

#include <algorithm>

#include "platform/paths.h"
#include "vfs/mirror/chain_plan.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/mirror/mirror_scan.h"

namespace mrb::vfs {

VersionStore::VersionStore(StoreSetup setup)
    : setup_(std::move(setup)),
      layout_(setup_.mirror_root),
      places_{setup_.files, setup_.disk_root, setup_.mirror_root.empty() ? nullptr : &layout_},
      rules_(setup_),
      journal_(*setup_.files, layout_.journal()) {}

void VersionStore::warn(const std::string& line) const {
  if (setup_.warn) setup_.warn(line);
}

bool VersionStore::refuse(std::string reason) {
  message_ = std::move(reason);
  return false;
}

bool VersionStore::answer(const Outcome& failure) {
  return failure ? refuse(failure->reason) : true;
}

bool VersionStore::is_folder(std::string_view path) const {
  if (path.empty()) return true;
  return std::ranges::any_of(table_.below(path), [](const File* file) { return !file->is_gone(); });
}

std::unique_ptr<Directory> VersionStore::tree() const {
  auto root = std::make_unique<Directory>("");
  std::map<std::string, Directory*, std::less<>> folders{{"", root.get()}};
  const std::function<Directory&(std::string_view)> folder =
      [&](std::string_view path) -> Directory& {
    if (const auto known = folders.find(path); known != folders.end()) return *known->second;
    const std::size_t slash = path.find_last_of('/');
    const bool top = slash == std::string_view::npos;
    Directory& parent = folder(top ? std::string_view() : path.substr(0, slash));
    auto made = std::make_unique<Directory>(std::string(top ? path : path.substr(slash + 1)));
    Directory& added = *made;
    parent.children.push_back(std::move(made));
    folders.emplace(path, &added);
    return added;
  };
  for (const File* file : table_.in_order()) {
    if (file->is_gone()) continue;
    const std::size_t slash = file->name.find_last_of('/');
    folder(slash == std::string::npos ? "" : std::string_view(file->name).substr(0, slash))
        .children.push_back(file->clone());
  }
  return root;
}

std::size_t VersionStore::change_policy(const Policy& policy) {
  const Lock guard = lock();
  std::size_t left = 0;
  std::size_t stranded = 0;
  for (const auto& file : table_.files()) {
    if (file->is_gone()) continue;
    const std::uint64_t size = file->history.back().bytes.bytes().size();
    if (!setup_.policy.ext.admits(file->name, size) || policy.ext.admits(file->name, size))
      continue;
    ++left;
    if (locks_.holder(file->name).empty()) continue;
    ++stranded;
    (void)log(change_of(*file, ChangeKind::kReconcileStrandedLock));
  }
  setup_.policy = policy;
  rules_.set_filter(policy.ext);
  message_.clear();
  if (stranded > 0) {
    message_ = std::to_string(stranded) +
               " locked file(s) no longer policy-admitted; CheckIn them before tightening policy";
  }
  return left;
}

std::optional<bool> VersionStore::toggle_lock(const File& file) {
  const Lock guard = lock();
  message_.clear();
  if (locks_.held_by_other(file.name, author_)) {
    message_ = "file is locked (" + locks_.holder(file.name) + ")";
    return std::nullopt;
  }
  if (locks_.release(file.name, author_)) return false;
  locks_.take(file.name, author_);
  return true;
}

Result<Blob> VersionStore::version_bytes(const File& file, std::uint32_t version) const {
  const std::scoped_lock guard(mutex_);
  const VersionRecord* record = file.find_version(version);
  if (record != nullptr && record->tombstone) {
    return Fail(ErrorKind::kNotFound, "version " + std::to_string(version) + " is a delete");
  }
  if (record != nullptr) return record->bytes;
  if (!places_.mirrors(file.name)) return Fail(ErrorKind::kNotFound, "no such version");
  const auto changes = changes_of(file);
  if (!changes) return std::unexpected(changes.error());
  const MirrorFacts facts = ScanMirrorOf(places_, file.name);
  const std::vector<PlannedRecord> plan = PlanChain(facts, *changes).records;
  const auto planned = std::ranges::find(plan, version, &PlannedRecord::version);
  if (planned == plan.end() || planned->tombstone) {
    return Fail(ErrorKind::kNotFound, "no such version");
  }
  return ReadBlob(*places_.files, SourcePath(places_, file.name, planned->source));
}

Result<std::vector<Change>> VersionStore::all_changes() const {
  const std::scoped_lock guard(mutex_);
  std::vector<Change> changes;
  if (places_.mirror == nullptr) return changes_;
  const auto read = journal_.read([&](Change change) { changes.push_back(std::move(change)); });
  if (!read) return std::unexpected(read.error());
  return changes;
}

Result<std::vector<Change>> VersionStore::changes_of(const File& file) const {
  const std::scoped_lock guard(mutex_);
  std::vector<Change> changes;
  const auto keep = [&](Change change) { changes.push_back(std::move(change)); };
  const Status read = journal_.read_of(file.name, table_.ignores_case(), keep);
  if (!read) return std::unexpected(read.error());
  return changes;
}

Result<Blob> VersionStore::read_cached(const std::string& path, std::uint32_t now) {
  const Lock guard = lock();
  const std::string target = working_path(path);
  const auto status = places_.files->status(target);
  if (!status) return std::unexpected(status.error());
  if (status->type != platform::FileStatus::Type::kFile) {
    return Fail(ErrorKind::kInvalidArgument, target + " is not a file");
  }
  File& file = touch(path);
  if (!SameStat(file.seen, *status)) {
    const std::int64_t moment = NowNanoseconds();
    auto bytes = ReadBlob(*places_.files, target);
    if (!bytes) return bytes;
    file.content = *std::move(bytes);
    file.seen = Trusted(*status, moment);
  }
  file.pass = now;
  return file.content;
}

std::vector<std::uint32_t> VersionStore::cached_uses() const {
  const std::scoped_lock guard(mutex_);
  std::vector<std::uint32_t> uses;
  for (const auto& file : table_.files()) {
    if (!file->content.bytes().empty()) uses.push_back(file->pass);
  }
  return uses;
}

std::uint64_t VersionStore::drop_cached(std::uint32_t used) {
  const Lock guard = lock();
  for (const auto& file : table_.files()) {
    if (file->pass != used || file->content.bytes().empty()) continue;
    const std::uint64_t size = file->content.bytes().size();
    file->content = {};
    file->seen = {};
    return size;
  }
  return 0;
}

}  // namespace mrb::vfs
