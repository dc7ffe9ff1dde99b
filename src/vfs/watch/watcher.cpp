#include "vfs/watch/watcher.h"

#include <exception>
#include <system_error>

namespace mrb::vfs {

Result<std::unique_ptr<Watcher>> Watcher::start(WatchSetup setup,
                                                std::optional<platform::FileLock> owner) {
  if (!setup.is_allowed) {
    return Fail(ErrorKind::kUnavailable, "oob watch is off by policy (watch=off)");
  }
  if (setup.root.empty()) return Fail(ErrorKind::kInvalidArgument, "no disk root to watch");
  auto notifier = setup.shape == WatchLoop::Shape::kTree
                      ? platform::WatchTree(setup.root, setup.enters)
                      : platform::WatchFolder(setup.root);
  if (!notifier) return std::unexpected(notifier.error());
  std::unique_ptr<Watcher> watcher(
      new Watcher(std::move(setup), std::move(owner), std::move(*notifier)));
  watcher->say_warning();
  static_cast<void>(watcher->reconcile());
  try {
    watcher->thread_ = std::thread([raw = watcher.get()] { raw->run(); });
  } catch (const std::system_error& error) {
    return Fail(ErrorKind::kUnavailable,
                "cannot start a thread to watch " + watcher->setup_.root + ": " + error.what());
  }
  return watcher;
}

Watcher::Watcher(WatchSetup setup, std::optional<platform::FileLock> owner,
                 std::unique_ptr<platform::ChangeNotifier> notifier)
    : setup_(std::move(setup)), owner_(std::move(owner)), notifier_(std::move(notifier)) {}

Watcher::~Watcher() {
  request_stop();
  if (thread_.joinable()) thread_.join();
}

void Watcher::request_stop() {
  {
    const std::lock_guard lock(mutex_);
    running_ = false;
  }
  stop_.notify_all();
}

void Watcher::run() {
  WatchLoop loop(
      *notifier_, setup_.shape, [this] { return reconcile(); },
      [this](WatchLoop::Milliseconds limit) { pause(limit); });
  while (running_) {
    if (!loop.step()) running_ = false;
    say_warning();
  }
}

bool Watcher::reconcile() {
  try {
    return setup_.reconcile();
  } catch (const std::exception& error) {
    // Out of memory, most likely: the next pass may do better, and the resident lives on.
    setup_.say("watch of '" + setup_.root + "' failed: " + error.what() + ", will retry");
    return true;
  }
}

void Watcher::say_warning() {
  const std::string warning = notifier_->take_warning();
  if (!warning.empty()) setup_.say("warning: " + warning);
}

void Watcher::pause(WatchLoop::Milliseconds limit) {
  std::unique_lock lock(mutex_);
  stop_.wait_for(lock, limit, [this] { return !running_; });
}

}  // namespace mrb::vfs
