#include "vfs/store/older_versions.h"

namespace mrb::vfs {

Status OlderVersions::read_journal() {
  const std::scoped_lock guard(reading_);
  if (is_read_) return {};
  auto all = store_.all_changes();
  if (!all) return std::unexpected(all.error());
  // By file, for one name may have been spelled in several ways.
  const VersionStore::Lock held = store_.lock();
  for (Change& change : *all) {
    if (const File* file = store_.find(change.path)) changes_[file].push_back(std::move(change));
  }
  is_read_ = true;
  return {};
}

Result<std::vector<VersionRecord>> OlderVersions::of(const std::string& path,
                                                     std::uint32_t version) {
  if (const Status read = read_journal(); !read) return std::unexpected(read.error());
  const VersionStore::Lock guard = store_.lock();
  const File* file = store_.find(path);
  const auto changes = changes_.find(file);
  if (changes == changes_.end()) return std::vector<VersionRecord>();
  auto older = store_.older_versions(*file, changes->second);
  if (older) {
    std::erase_if(*older, [&](const VersionRecord& record) { return record.version >= version; });
  }
  return older;
}

}  // namespace mrb::vfs
