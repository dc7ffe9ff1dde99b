#pragma once

#include <chrono>
#include <functional>

#include "platform/change_notifier.h"

namespace mrb::vfs {

/// The work of a watcher, one turn at a time: waits for a notice, lets a burst of writes settle and
/// compares disk and store; and compares them once a second in any case, because notices get lost
/// and some file systems give none.
class WatchLoop {
 public:
  using Milliseconds = std::chrono::milliseconds;

  static constexpr Milliseconds kWait{250};
  static constexpr Milliseconds kSettle{150};
  static constexpr Milliseconds kRepeat{100};
  static constexpr int kIdleWaits = 4;  ///< one second without a notice

  enum class Shape {
    kTree,    ///< unfinished work waits for the next notice, or the next second
    kFolder,  ///< for single files: unfinished work is repeated every kRepeat
  };

  /// One pass; true when something has to be looked at again soon.
  using Reconcile = std::function<bool()>;
  using Pause = std::function<void(Milliseconds)>;

  /// The notifier outlives the object.
  WatchLoop(platform::ChangeNotifier& notifier, Shape shape, Reconcile reconcile, Pause pause)
      : notifier_(notifier),
        shape_(shape),
        reconcile_(std::move(reconcile)),
        pause_(std::move(pause)) {}

  /// One turn of at most one wait and one pass. False when the root is gone: one last pass has been
  /// made, and there is nothing left to watch.
  [[nodiscard]] bool step();

 private:
  void look();

  platform::ChangeNotifier& notifier_;
  Shape shape_;
  Reconcile reconcile_;
  Pause pause_;
  int idle_waits_ = 0;
  bool is_unfinished_ = false;
};

}  // namespace mrb::vfs
