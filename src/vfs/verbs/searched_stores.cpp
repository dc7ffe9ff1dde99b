#include <algorithm>

#include "platform/paths.h"
#include "vfs/verbs/verbs_grep.h"

namespace mrb::vfs {

Result<std::vector<std::shared_ptr<VersionStore>>> SearchedStores(
    const VerbCall& call, const std::optional<std::string>& named) {
  std::vector<std::shared_ptr<VersionStore>> stores;
  if (named) {
    auto store = StoreNamed(call, *named);
    if (!store) return std::unexpected(store.error());
    stores.push_back(*std::move(store));
  } else {
    stores = call.service.registry().all();
    std::erase_if(stores, [](const std::shared_ptr<VersionStore>& store) {
      return store->category() == StoreCategory::kConfiguration;
    });
    if (stores.empty()) {
      return Fail(ErrorKind::kNotFound, "no enrolled directory — enroll <dir> first");
    }
  }
  const std::shared_ptr<VersionStore> first = stores.front();
  std::erase_if(stores,
                [](const std::shared_ptr<VersionStore>& store) { return store->is_cache(); });
  if (stores.empty()) return Fail(ErrorKind::kInvalidArgument, NothingToSearch(*first));
  std::ranges::sort(stores, {}, [](const auto& store) { return store->disk_root(); });
  return stores;
}

FileLabels::FileLabels(const VerbCall& call, const VersionStore& store) {
  if (call.service.registry().active().get() != &store) root_ = store.disk_root();
}

void FileLabels::append(std::string& out, std::string_view path) const {
  if (root_.empty()) {
    out += path;
  } else {
    out += platform::JoinPath(root_, platform::NativePath(path));
  }
}

}  // namespace mrb::vfs
