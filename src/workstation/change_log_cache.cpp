#include "workstation/change_log_cache.h"

#include <algorithm>

namespace mrb::workstation {

void ChangeLogCache::note(const vfs::VersionStore& store, const vfs::Change& change) {
  const std::scoped_lock guard(mutex_);
  const auto kept = books_.find(&store);
  if (kept == books_.end()) return;
  kept->second.book->add(change);
  // A move writes the lines of the versions that it carries along by itself. A full book is read
  // anew too, which leaves its oldest lines out.
  constexpr std::size_t kSlack = ChangeLogTable::kMaxLines / 8;
  const bool full = kept->second.book->lines().size() > ChangeLogTable::kMaxLines + kSlack;
  kept->second.stale |= full || change.kind == vfs::ChangeKind::kMove;
}

/// Makes the store's book right, if it is not.
Status ChangeLogCache::read(const StoreRef& store) {
  const vfs::VersionStore::Lock held = store->lock();  // nothing is written meanwhile
  {
    const std::scoped_lock guard(mutex_);
    const auto kept = books_.find(store.get());
    if (kept != books_.end() && !kept->second.stale && kept->second.store.lock() == store) {
      return {};
    }
  }
  const auto changes = store->all_changes();
  if (!changes) return std::unexpected(changes.error());
  auto book = std::make_shared<ChangeLogTable>();
  const std::size_t skipped =
      changes->size() - std::min(changes->size(), ChangeLogTable::kMaxLines);
  for (std::size_t i = skipped; i < changes->size(); ++i) book->add((*changes)[i]);
  const std::scoped_lock guard(mutex_);
  std::erase_if(books_, [](const auto& entry) { return entry.second.store.expired(); });
  books_[store.get()] = {store, std::move(book), false};
  return {};
}

Status ChangeLogCache::with(std::span<const StoreRef> stores, const Use& use) {
  for (const StoreRef& store : stores) {
    if (const Status ready = read(store); !ready) return ready;
  }
  const std::scoped_lock guard(mutex_);
  std::vector<const ChangeLogTable*> books;
  for (const StoreRef& store : stores) books.push_back(books_[store.get()].book.get());
  use(books);
  return {};
}

}  // namespace mrb::workstation
