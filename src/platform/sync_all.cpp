#include "platform/sync_all.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace mrb::platform {
namespace {

// A save flushes two files or two folders at a time. More threads than this help only saves that
// run side by side, and those flush from their own threads as well.
constexpr std::size_t kMaxThreads = 3;

Status SyncOne(FileSystem& files, const SyncTarget& target) {
  if (OpenFile* const* file = std::get_if<OpenFile*>(&target)) return (*file)->sync();
  return files.sync_directory(std::get<std::string>(target));
}

/// The targets of one call and what became of them. Guarded by the mutex of Workers.
struct Batch {
  FileSystem& files;
  std::span<const SyncTarget> targets;
  std::vector<Status> results;
  std::size_t next = 0;     // the first that nobody has begun
  std::size_t running = 0;  // begun and not ended
};

/// Threads that help with the batches of all callers. A batch is in the queue as long as it has
/// targets that nobody has begun.
class Workers {
 public:
  ~Workers() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    work_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }

  /// Returns once the batch has ended. The caller works too: a batch makes progress when all
  /// threads are busy, and when none could be started.
  void run(Batch& batch) {
    std::unique_lock lock(mutex_);
    queue_.push_back(&batch);
    want_threads(batch.targets.size() - 1);
    work_.notify_all();
    while (batch.next < batch.targets.size()) take_one(batch, lock);
    ended_.wait(lock, [&] { return batch.running == 0; });
  }

 private:
  /// Begins the batch's next target and ends it. The lock is free during the flush.
  void take_one(Batch& batch, std::unique_lock<std::mutex>& lock) {
    const std::size_t index = batch.next++;
    ++batch.running;
    if (batch.next == batch.targets.size()) std::erase(queue_, &batch);
    lock.unlock();
    Status result = SyncOne(batch.files, batch.targets[index]);
    lock.lock();
    batch.results[index] = std::move(result);
    if (--batch.running == 0) ended_.notify_all();
  }

  void want_threads(std::size_t count) {
    while (threads_.size() < std::min(count, kMaxThreads)) {
      try {
        threads_.emplace_back([this] { help(); });
      } catch (const std::system_error&) {
        return;  // the callers flush one by one then
      }
    }
  }

  void help() {
    std::unique_lock lock(mutex_);
    for (;;) {
      work_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      take_one(*queue_.front(), lock);
    }
  }

  std::mutex mutex_;
  std::condition_variable work_;
  std::condition_variable ended_;
  std::deque<Batch*> queue_;          // guarded by mutex_
  std::vector<std::thread> threads_;  // guarded by mutex_
  bool stopping_ = false;             // guarded by mutex_
};

}  // namespace

std::vector<Status> SyncEach(FileSystem& files, std::span<const SyncTarget> targets) {
  Batch batch{files, targets, std::vector<Status>(targets.size())};
  if (targets.size() < 2 || !files.syncs_in_parallel()) {
    for (std::size_t i = 0; i < targets.size(); ++i) {
      batch.results[i] = SyncOne(files, targets[i]);
    }
  } else {
    static Workers workers;
    workers.run(batch);
  }
  return std::move(batch.results);
}

Status SyncAll(FileSystem& files, std::span<const SyncTarget> targets) {
  for (Status& result : SyncEach(files, targets)) {
    if (!result) return std::move(result);
  }
  return {};
}

}  // namespace mrb::platform
