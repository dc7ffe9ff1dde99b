#include "memory/index/recency_list.h"

namespace mrb::memory {

void RecencyList::append(std::uint32_t topic) {
  links_[topic] = {newest_, kNoId};
  (newest_ == kNoId ? oldest_ : links_[newest_].newer) = topic;
  newest_ = topic;
}

void RecencyList::unlink(std::uint32_t topic) {
  const Link link = links_[topic];
  (link.older == kNoId ? oldest_ : links_[link.older].newer) = link.newer;
  (link.newer == kNoId ? newest_ : links_[link.newer].older) = link.older;
}

void RecencyList::add() {
  const std::lock_guard lock(mutex_);
  links_.emplace_back();
  append(static_cast<std::uint32_t>(links_.size() - 1));
}

void RecencyList::assign(const std::vector<std::uint32_t>& oldest_first) {
  const std::lock_guard lock(mutex_);
  links_.assign(oldest_first.size(), {});
  oldest_ = newest_ = kNoId;
  for (const std::uint32_t topic : oldest_first) {
    append(topic);
  }
}

void RecencyList::touch(std::uint32_t topic) {
  const std::lock_guard lock(mutex_);
  if (topic != newest_) {
    unlink(topic);
    append(topic);
  }
}

std::vector<std::uint32_t> RecencyList::newest_first() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::uint32_t> topics;
  topics.reserve(links_.size());
  for (std::uint32_t topic = newest_; topic != kNoId; topic = links_[topic].older) {
    topics.push_back(topic);
  }
  return topics;
}

}  // namespace mrb::memory
