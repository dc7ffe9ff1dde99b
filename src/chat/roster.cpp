#include "chat/roster.h"

#include <algorithm>
#include <utility>

namespace mrb::chat {

Roster::Listener Roster::take(ListenerId id) {
  const auto found = listeners_.find(id);
  if (found == listeners_.end()) return {};
  Listener listener = std::move(found->second);
  listeners_.erase(found);
  return listener;
}

const Roster::Listener* Roster::find(ListenerId id) const {
  const auto found = listeners_.find(id);
  return found == listeners_.end() ? nullptr : &found->second;
}

void Roster::seen(std::string_view callsign, std::string_view channel, std::uint64_t now) {
  if (readers_.size() >= kMaxReaders) {
    std::erase_if(readers_, [&](const auto& reader) { return reader.second + kReaderStays < now; });
    if (readers_.size() >= kMaxReaders) return;
  }
  readers_[{std::string(callsign), std::string(channel)}] = now;
}

std::vector<Presence> Roster::list(std::string_view channel, std::uint64_t now) const {
  std::vector<Presence> all;
  all.reserve(listeners_.size() + readers_.size());
  for (const auto& [id, listener] : listeners_) {
    all.push_back({listener.callsign, listener.channel, true});
  }
  for (const auto& [who, when] : readers_) {
    const Presence live{who.first, who.second, true};
    if (when + kReaderStays < now || std::ranges::find(all, live) != all.end()) continue;
    all.push_back({who.first, who.second, false});
  }
  if (!channel.empty()) {
    std::erase_if(all, [&](const Presence& one) { return one.channel != channel; });
  }
  std::ranges::sort(all);
  const auto same = std::ranges::unique(all);
  all.erase(same.begin(), same.end());
  return all;
}

std::vector<Roster::OutboxRef> Roster::in_channel(std::string_view channel) const {
  std::vector<OutboxRef> found;
  for (const auto& [id, listener] : listeners_) {
    if (listener.channel == channel) found.push_back(listener.outbox);
  }
  return found;
}

std::vector<Roster::OutboxRef> Roster::of_callsigns(std::string_view a, std::string_view b) const {
  std::vector<OutboxRef> found;
  for (const auto& [id, listener] : listeners_) {
    if (listener.callsign == a || listener.callsign == b) found.push_back(listener.outbox);
  }
  return found;
}

}  // namespace mrb::chat
