#include "vfs/model/lock_table.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace mrb::vfs {

std::string LockTable::holder(std::string_view path) const {
  const auto lock = locks_.find(path);
  return lock == locks_.end() ? std::string() : lock->second.holder;
}

bool LockTable::held_by_other(std::string_view path, std::string_view author) const {
  const auto lock = locks_.find(path);
  return lock != locks_.end() && lock->second.holder != author;
}

std::vector<std::string> LockTable::queue(std::string_view path) const {
  const auto lock = locks_.find(path);
  return lock == locks_.end() ? std::vector<std::string>() : lock->second.queue;
}

LockTable::Taken LockTable::take(const std::string& path, const std::string& author) {
  const auto [lock, free] = locks_.try_emplace(path, Lock{author, {}});
  if (free) return Taken::kTaken;
  if (lock->second.holder == author) return Taken::kOwned;
  std::vector<std::string>& queue = lock->second.queue;
  if (std::ranges::find(queue, author) == queue.end()) queue.push_back(author);
  return Taken::kQueued;
}

bool LockTable::release(const std::string& path, std::string_view author) {
  const auto lock = locks_.find(path);
  if (lock == locks_.end() || lock->second.holder != author) return false;
  std::vector<std::string>& queue = lock->second.queue;
  if (queue.empty()) {
    locks_.erase(lock);
  } else {
    lock->second.holder = std::move(queue.front());
    queue.erase(queue.begin());
  }
  return true;
}

void LockTable::transfer(const std::string& path, const std::string& seat) {
  Lock& lock = locks_[path];
  lock.holder = seat;
  std::erase(lock.queue, seat);
}

void LockTable::rename(const std::string& from, const std::string& to) {
  if (auto lock = locks_.extract(from)) {
    lock.key() = to;
    locks_.insert(std::move(lock));
  }
  if (dirty_.erase(from) > 0) dirty_.insert(to);
}

std::vector<std::string> LockTable::locked_paths() const {
  const auto paths = std::views::keys(locks_);
  return {paths.begin(), paths.end()};
}

bool LockTable::is_flagged(std::string_view path) const {
  return dirty_.find(path) != dirty_.end();
}

}  // namespace mrb::vfs
