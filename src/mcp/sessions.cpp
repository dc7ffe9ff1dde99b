#include "mcp/sessions.h"

#include <algorithm>

#include "common/random_text.h"

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
  constexpr std::size_t kLength = 32;
  return RandomText(kHexDigits, kLength);
}

}  // namespace mrb::mcp
