#include "vfs/watch/store_registry.h"

#include <algorithm>
#include <utility>

#include "common/text.h"
#include "platform/files.h"
#include "platform/local_time.h"
#include "platform/paths.h"
#include "platform/system_info.h"
#include "vfs/mirror/mirror_scan.h"
#include "vfs/model/tree_path.h"
#include "vfs/watch/watch_lock.h"

namespace mrb::vfs {
namespace {

using platform::JoinPath;

VersionStamp StampNow() {
  const CivilTime now = platform::LocalNow();
  return {
      static_cast<std::uint32_t>(now.year), now.month, now.day, now.hour, now.minute, now.second};
}

bool IsSameRoot(std::string_view a, std::string_view b) {
  return BelowRoot(a, b) == std::string();
}

bool Knows(VersionStore& store, const std::string& path) {
  const VersionStore::Lock guard = store.lock();
  return store.find(path) != nullptr || store.is_folder(path);
}

}  // namespace

StoreRegistry::~StoreRegistry() {
  std::vector<std::unique_ptr<Root>> roots;
  {
    const std::scoped_lock guard(mutex_);
    roots.swap(roots_);
    active_.reset();
  }
  for (const auto& root : roots) {
    if (root->watcher) root->watcher->request_stop();  // all at once, then each is waited for
  }
}

std::string StoreRegistry::mirror_root(const std::string& root) const {
  const std::string folder = JoinPath(options_.data_home, ".versioncontrol");
  std::string usual = JoinPath(folder, MirrorKey(root, options_.executable_folder));
  const auto owner = platform::ReadFile(*options_.files, MirrorLayout(usual).owner_note());
  if (!owner || IsSameRoot(TrimLineEnd(*owner), root)) return usual;
  return JoinPath(folder, DistinctMirrorKey(root));
}

/// The mirror's place, with a note of whose it is.
std::string StoreRegistry::claim_mirror(const std::string& root) const {
  std::string mirror = mirror_root(root);
  const MirrorLayout layout(mirror);
  if (platform::Exists(*options_.files, layout.owner_note())) return mirror;
  Status noted = platform::MakeDirectories(*options_.files, layout.bookkeeping_folder());
  if (noted) noted = platform::ReplaceFile(*options_.files, layout.owner_note(), root + "\n");
  if (!noted && options_.warn) options_.warn("warning: " + noted.error().text + "\n");
  return mirror;
}

StoreSetup StoreRegistry::setup_of(const std::string& root, const Policy& policy,
                                   StoreCategory category) const {
  StoreSetup setup;
  setup.files = options_.files;
  setup.disk_root = root;
  setup.policy = policy;
  setup.category = category;
  setup.now = &StampNow;
  setup.outside_author = options_.outside_author;
  setup.warn = options_.warn;
  setup.changed = options_.changed;
  setup.pruned_folders = {options_.data_home};
  setup.boot_id = platform::BootId();
  return setup;
}

Result<StoreRegistry::Opened> StoreRegistry::open(const std::string& root, const Policy& policy,
                                                  StoreCategory category,
                                                  const VersionStore::Progress& progress) {
  auto opened = std::make_unique<Root>();
  StoreSetup setup = setup_of(root, policy, category);
  auto owner = OwnRoot(*options_.files,
                       JoinPath(JoinPath(options_.data_home, "config"), ".watchlocks"), root);
  if (owner) {
    opened->owner = std::move(*owner);
  } else {
    setup.follower = true;
    if (options_.warn) options_.warn("[vc] " + root + ": " + owner.error().text + "\n");
  }
  if (policy.mode == Policy::Mode::kVersioned) {
    setup.mirror_root = setup.follower ? mirror_root(root) : claim_mirror(root);
  }
  opened->store = std::make_shared<VersionStore>(std::move(setup));
  IngestReport report;
  if (policy.mode == Policy::Mode::kVersioned) {
    auto read = opened->store->ingest(progress);
    if (!read) return std::unexpected(read.error());
    report = *std::move(read);
  }
  if (const Status watching = start_watching(*opened); !watching && options_.warn) {
    options_.warn("[vc] " + root + ": " + watching.error().text + "\n");
  }
  const std::scoped_lock guard(mutex_);
  auto store = opened->store;
  roots_.push_back(std::move(opened));
  if (category == StoreCategory::kEnrolled) active_ = store;
  return Opened{std::move(store), std::move(report)};
}

Result<std::shared_ptr<VersionStore>> StoreRegistry::open_folder(const std::string& folder) {
  for (const auto& store : all()) {
    if (store->category() == StoreCategory::kSingleFiles &&
        IsSameRoot(store->disk_root(), folder)) {
      return store;
    }
  }
  auto opened = open(folder, Policy(), StoreCategory::kSingleFiles);
  if (!opened) return std::unexpected(opened.error());
  return opened->store;
}

/// Nothing when the policy wants none, or the store has nothing to watch for.
Status StoreRegistry::start_watching(Root& root) const {
  const std::shared_ptr<VersionStore>& store = root.store;
  if (root.watcher || store->is_cache() || store->is_follower()) return {};
  {
    const VersionStore::Lock guard = store->lock();
    if (!store->policy().watch) return {};
  }
  WatchSetup setup;
  setup.root = store->disk_root();
  if (store->category() == StoreCategory::kSingleFiles) {
    setup.shape = WatchLoop::Shape::kFolder;
  } else {
    // The store outlives its watcher: both end with the root.
    setup.enters = [store = store.get()](std::string_view folder) { return store->enters(folder); };
  }
  setup.reconcile = [store = store.get()] { return store->reconcile(); };
  setup.say = [this](std::string_view line) {
    if (options_.warn) options_.warn(std::string(line) + "\n");
  };
  auto watcher = Watcher::start(std::move(setup), std::nullopt);
  if (!watcher) return std::unexpected(watcher.error());
  root.watcher = *std::move(watcher);
  return {};
}

bool StoreRegistry::close(const std::string& root, StoreCategory category) {
  std::unique_ptr<Root> closed;
  {
    const std::scoped_lock guard(mutex_);
    const auto at = std::ranges::find_if(roots_, [&](const std::unique_ptr<Root>& known) {
      return known->store->category() == category && IsSameRoot(known->store->disk_root(), root);
    });
    if (at == roots_.end()) return false;
    closed = std::move(*at);
    roots_.erase(at);
    if (active_ == closed->store) {
      active_.reset();
      for (const auto& left : roots_) {
        if (left->store->category() == StoreCategory::kEnrolled) active_ = left->store;
      }
    }
  }
  return true;  // the watcher ends here, with no lock held
}

std::size_t StoreRegistry::archived_count(const std::string& folder,
                                          const std::string& name) const {
  const MirrorLayout layout(mirror_root(folder));
  return ScanMirrorOf({options_.files, folder, &layout}, name).archives.size();
}

Status StoreRegistry::follow_policy(const std::shared_ptr<VersionStore>& store) {
  std::unique_ptr<Watcher> stopped;
  Status started;
  bool wanted = false;
  {
    const VersionStore::Lock guard = store->lock();
    wanted = store->policy().watch;
  }
  const std::scoped_lock guard(mutex_);
  for (const auto& root : roots_) {
    if (root->store != store) continue;
    if (wanted) started = start_watching(*root);
    if (!wanted) stopped = std::move(root->watcher);
  }
  return started;
}

bool StoreRegistry::is_watched(const VersionStore& store) const {
  const std::scoped_lock guard(mutex_);
  return std::ranges::any_of(roots_, [&](const std::unique_ptr<Root>& root) {
    return root->store.get() == &store && root->watcher && root->watcher->is_running();
  });
}

std::shared_ptr<VersionStore> StoreRegistry::of_root(const std::string& root) const {
  for (const auto& store : all()) {
    if (store->category() != StoreCategory::kSingleFiles && IsSameRoot(store->disk_root(), root)) {
      return store;
    }
  }
  return nullptr;
}

std::vector<std::shared_ptr<VersionStore>> StoreRegistry::all() const {
  const std::scoped_lock guard(mutex_);
  std::vector<std::shared_ptr<VersionStore>> stores;
  stores.reserve(roots_.size());
  for (const auto& root : roots_) stores.push_back(root->store);
  return stores;
}

std::shared_ptr<VersionStore> StoreRegistry::active() const {
  const std::scoped_lock guard(mutex_);
  return active_;
}

void StoreRegistry::make_active(const std::shared_ptr<VersionStore>& store) {
  const std::scoped_lock guard(mutex_);
  active_ = store;
}

std::optional<StorePath> StoreRegistry::of_absolute(std::string_view path) const {
  const auto normal = NormalPath(path);
  if (!normal) return std::nullopt;
  std::optional<StorePath> best;
  for (const auto& store : all()) {
    auto below = BelowRoot(*normal, store->disk_root());
    if (!below) continue;
    // A folder whose single files are followed holds those alone.
    if (store->category() == StoreCategory::kSingleFiles &&
        (best || below->empty() || !Knows(*store, *below))) {
      continue;
    }
    const bool longer = !best || best->store->category() == StoreCategory::kSingleFiles ||
                        best->store->disk_root().size() < store->disk_root().size();
    if (longer) best = StorePath{store, *std::move(below)};
  }
  return best;
}

std::optional<StorePath> StoreRegistry::resolve(std::string_view path, std::string_view cwd) const {
  if (IsAbsolutePath(path)) return of_absolute(path);
  if (!cwd.empty()) {
    auto here = of_absolute(JoinPath(cwd, platform::NativePath(path)));
    if (here && Knows(*here->store, here->path)) return here;
    const auto folder = of_absolute(cwd);
    if (folder && folder->store->category() != StoreCategory::kSingleFiles) return here;
  }
  const auto store = active();
  const auto relative = NormalRelative(path);
  if (!store || !relative) return std::nullopt;
  return StorePath{store, *relative};
}

}  // namespace mrb::vfs
