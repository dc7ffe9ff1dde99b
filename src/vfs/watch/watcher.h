#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/change_notifier.h"
#include "platform/file_lock.h"
#include "vfs/watch/watch_loop.h"

namespace mrb::vfs {

struct WatchSetup {
  std::string root;        ///< the tree, or the folder of single files; absolute
  bool is_allowed = true;  ///< what the policy says
  WatchLoop::Shape shape = WatchLoop::Shape::kTree;
  platform::EntersFolder enters = [](std::string_view) { return true; };
  WatchLoop::Reconcile reconcile;             ///< called by start(), then by the thread alone
  std::function<void(std::string_view)> say;  ///< one line for the user, without its line feed
};

/// The thread that turns what other programs save in a root into versions.
///
///     auto lock = OwnRoot(files, locks_folder, root);        // before the store is read
///     auto watcher = Watcher::start(setup, std::move(*lock));
///
/// Runs until it is stopped or the root is gone.
class Watcher {
 public:
  /// Begins to listen, then makes one pass in the calling thread, which is the baseline, then
  /// starts the thread; nothing that changes after the call is missed. `owner` is kept as long as
  /// the object lives. Refuses when the policy does not allow it, or there is no root.
  [[nodiscard]] static Result<std::unique_ptr<Watcher>> start(
      WatchSetup setup, std::optional<platform::FileLock> owner);

  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  /// Stops and waits for the thread: not to be called with a lock that the pass takes.
  ~Watcher();

  /// Tells the thread to end, which it does within one wait; at once where it pauses.
  void request_stop();

  /// False once it was told to stop, or the root is gone.
  [[nodiscard]] bool is_running() const { return running_; }

 private:
  Watcher(WatchSetup setup, std::optional<platform::FileLock> owner,
          std::unique_ptr<platform::ChangeNotifier> notifier);

  void run();
  [[nodiscard]] bool reconcile();
  void say_warning();
  void pause(WatchLoop::Milliseconds limit);

  WatchSetup setup_;
  std::optional<platform::FileLock> owner_;
  std::unique_ptr<platform::ChangeNotifier> notifier_;
  std::atomic<bool> running_ = true;
  std::mutex mutex_;              // for stop_ only
  std::condition_variable stop_;  // told when running_ turns false
  std::thread thread_;            // last: it uses all of the above
};

}  // namespace mrb::vfs
