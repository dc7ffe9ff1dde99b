#include "memory/context/context.h"

#include <utility>

#include "memory/record/store_format.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/process.h"

namespace mrb::memory {

using platform::JoinPath;

Context::Context(platform::FileSystem& files, const std::string& contexts_folder, std::string id,
                 MemoryObserver changed)
    : files_(files),
      contexts_folder_(contexts_folder),
      folder_(JoinPath(contexts_folder, id)),
      id_(std::move(id)),
      changed_(std::move(changed)) {}

std::shared_lock<platform::SharedMutex> Context::share() {
  const std::lock_guard turn(queue_);
  return std::shared_lock(mutex_);
}

std::unique_lock<platform::SharedMutex> Context::own() {
  const std::lock_guard turn(queue_);
  return std::unique_lock(mutex_);
}

Status Context::make_folder() {
  const bool first = !platform::Exists(files_, contexts_folder_);
  if (const Status made = platform::MakeDirectories(files_, folder_); !made) return made;
  if (first) {
    if (const Status kept = files_.sync_directory(platform::ParentPath(contexts_folder_)); !kept) {
      return kept;
    }
  }
  return files_.sync_directory(contexts_folder_);
}

Status Context::take_lock() {
  const std::string path = JoinPath(folder_, kLockFileName);
  auto lock = platform::FileLock::try_acquire(path);
  if (!lock) {
    if (lock.error().kind != ErrorKind::kBusy) return std::unexpected(lock.error());
    const std::string holder = platform::FileLock::read_note(path);
    return Fail(ErrorKind::kBusy, "context '" + id_ + "' is in use by another mb process (pid " +
                                      (holder.empty() ? "unknown" : holder) + ")");
  }
  // The note only serves the message above; the lock holds without it.
  (void)lock->write_note(std::to_string(platform::ProcessId()));
  lock_ = std::move(*lock);
  return {};
}

Status Context::open(bool create) {
  if (loaded() != nullptr) {
    return {};
  }
  if (!lock_) {
    if (const auto folder = files_.status(folder_); !folder) {
      if (folder.error().kind != ErrorKind::kNotFound || !create) {
        return std::unexpected(folder.error());
      }
      if (const Status made = make_folder(); !made) return made;
    }
    if (const Status locked = take_lock(); !locked) return locked;
  }
  store_.reset();  // before the new one, or both would be in memory
  auto store = std::make_unique<ContextStore>(files_, folder_);
  if (changed_) {
    store->set_observer([this](MemoryChange change) {
      change.context = id_;
      changed_(change);
    });
  }
  if (const auto memos = store->load(); !memos) {
    lock_.reset();
    return Fail(memos.error().kind == ErrorKind::kNotFound ? ErrorKind::kIo : memos.error().kind,
                "context '" + id_ + "' cannot be loaded: " + memos.error().text);
  }
  store_ = std::move(store);
  return {};
}

Result<ContextStore*> Context::writable_store() {
  if (const Status allowed = store_->writable(); !allowed) {
    return Fail(allowed.error().kind,
                "context '" + id_ + "' cannot be written: " + allowed.error().text);
  }
  const std::string path = JoinPath(folder_, kContextIdFileName);
  // A move that a crash cut short may have left the name from before.
  if (!named_ && platform::ReadFile(files_, path).value_or("") != id_) {
    if (const Status named = platform::ReplaceFile(files_, path, id_); !named) {
      return Fail(named.error().kind,
                  "context '" + id_ + "' cannot be written: " + named.error().text);
    }
  }
  named_ = true;
  return store_.get();
}

void Context::evict() {
  store_.reset();
  lock_.reset();
  named_ = false;
}

Status Context::move_to(const std::string& to, const std::function<Status()>& settle) {
  if (const auto there = files_.status(folder_); !there) return std::unexpected(there.error());
  if (!lock_) {
    if (const Status locked = take_lock(); !locked) return locked;
  }
  store_.reset();
  named_ = false;
  // Held to the end where the system allows it. Where it does not move a folder with an open file
  // in it, another process that gets in between keeps the folder from moving.
  Status moved = files_.rename_new(folder_, to);
  if (!moved) {
    lock_.reset();
    moved = files_.rename_new(folder_, to);
  }
  if (moved) moved = settle_move(to, settle);
  lock_.reset();
  return moved;
}

Status Context::settle_move(const std::string& to, const std::function<Status()>& settle) {
  Status settled = settle ? settle() : Status();
  for (const std::string& parent : {platform::ParentPath(to), contexts_folder_}) {
    if (settled) settled = files_.sync_directory(parent);
  }
  if (settled) {
    return {};
  }
  const Status back = files_.rename_new(to, folder_);
  return back
             ? settled
             : Fail(settled.error().kind, settled.error().text + "; the folder is at " + to +
                                              " and could not be moved back: " + back.error().text);
}

}  // namespace mrb::memory
