#include "vfs/watch/watch_loop.h"

namespace mrb::vfs {

using Event = platform::ChangeNotifier::Event;

bool WatchLoop::step() {
  const bool repeats = shape_ == Shape::kFolder && is_unfinished_;
  if (repeats) pause_(kRepeat);
  const Event event = notifier_.wait(repeats ? Milliseconds(0) : kWait);
  if (event == Event::kGone) {
    is_unfinished_ = reconcile_();
    return false;
  }
  if (event == Event::kChanged) {
    if (!repeats) pause_(kSettle);
    // Before looking: what changes during the look is noticed.
    notifier_.rearm();
    look();
  } else if (repeats || ++idle_waits_ == kIdleWaits) {
    look();
  }
  return true;
}

void WatchLoop::look() {
  idle_waits_ = 0;
  is_unfinished_ = reconcile_();
}

}  // namespace mrb::vfs
