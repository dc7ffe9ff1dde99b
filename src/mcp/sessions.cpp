#include "mcp/sessions.h"

#include <algorithm>
#include <random>

namespace mrb::mcp {

Sessions::SessionRef Sessions::of(std::string_view id) {
  constexpr std::size_t kMaxId = 128;  // more is not one of ours; the rest would only fill memory
  const std::scoped_lock lock(mutex_);
  const std::string_view key = id.substr(0, kMaxId);
  auto found = entries_.find(key);
  if (found == entries_.end()) {
    make_room();
    found = entries_.emplace(key, Entry{std::make_shared<Session>()}).first;
  }
  found->second.last_use = ++uses_;
  return found->second.session;
}

void Sessions::make_room() {
  if (entries_.size() < kMax) return;
  entries_.erase(std::ranges::min_element(entries_, {},
                                          [](const auto& entry) { return entry.second.last_use; }));
}

std::string Sessions::new_id() {
  constexpr std::string_view kDigits = "0123456789abcdef";
  constexpr int kLength = 32;
  std::random_device random;
  std::uniform_int_distribution<std::size_t> digit(0, kDigits.size() - 1);
  std::string id;
  for (int i = 0; i < kLength; ++i) id += kDigits[digit(random)];
  return id;
}

}  // namespace mrb::mcp
