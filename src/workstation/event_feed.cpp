#include "workstation/event_feed.h"

#include <algorithm>

namespace mrb::workstation {

void EventFeed::add(std::string members) {
  const std::scoped_lock guard(mutex_);
  events_.push_back(std::move(members));
  ++next_;
  if (events_.size() > limits_.kept) events_.pop_front();
  changed_.notify_all();
}

/// Needs mutex_.
EventFeed::Batch EventFeed::batch_after(std::uint64_t after) const {
  Batch batch{.last = next_ - 1};
  if (after == 0) return batch;
  const std::uint64_t oldest = next_ - events_.size();
  if (after >= next_ || after + 1 < oldest) {
    batch.missed = true;
    return batch;
  }
  const auto from = static_cast<std::ptrdiff_t>(after + 1 - oldest);
  const auto count = std::min<std::ptrdiff_t>(std::ssize(events_) - from,
                                              static_cast<std::ptrdiff_t>(limits_.answered));
  batch.events.assign(events_.begin() + from, events_.begin() + from + count);
  batch.last = after + batch.events.size();
  return batch;
}

Result<EventFeed::Batch> EventFeed::wait(std::uint64_t after, std::chrono::milliseconds longest) {
  std::unique_lock lock(mutex_);
  if (after == next_ - 1 && !closed_) {
    if (waiting_ >= limits_.waiting) {
      return Fail(ErrorKind::kBusy, "too many pages follow the events already");
    }
    ++waiting_;
    changed_.wait_for(lock, longest, [&] { return closed_ || next_ - 1 != after; });
    --waiting_;
  }
  return batch_after(after);
}

void EventFeed::close() {
  const std::scoped_lock guard(mutex_);
  closed_ = true;
  changed_.notify_all();
}

}  // namespace mrb::workstation
