#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "chat/outbox.h"

namespace mrb::chat {

/// One line of a roster.
struct Presence {
  std::string callsign;
  std::string channel;
  bool live = false;  ///< a WebSocket; else one who asks again and again

  auto operator<=>(const Presence&) const = default;
};

/// Who is where: those with a connection, and those who read now and then, who count as there for a
/// while after. Not thread-safe.
class Roster {
 public:
  using ListenerId = std::uint64_t;
  using OutboxRef = std::shared_ptr<Outbox>;

  struct Listener {
    std::string callsign;
    std::string channel;
    OutboxRef outbox;
  };

  void enter(ListenerId id, Listener listener) { listeners_[id] = std::move(listener); }
  /// The one who was there; with no outbox when none was.
  Listener take(ListenerId id);
  [[nodiscard]] const Listener* find(ListenerId id) const;

  /// A reader without a connection; `now` in milliseconds.
  void seen(std::string_view callsign, std::string_view channel, std::uint64_t now);

  /// Those of a channel, or all when it is empty; sorted, each once.
  [[nodiscard]] std::vector<Presence> list(std::string_view channel, std::uint64_t now) const;

  /// The connections in a channel.
  [[nodiscard]] std::vector<OutboxRef> in_channel(std::string_view channel) const;
  /// The connections of either of two callsigns.
  [[nodiscard]] std::vector<OutboxRef> of_callsigns(std::string_view a, std::string_view b) const;

 private:
  static constexpr std::uint64_t kReaderStays = 90'000;  ///< ms; more than the longest poll
  static constexpr std::size_t kMaxReaders = 1000;

  std::map<ListenerId, Listener> listeners_;
  std::map<std::pair<std::string, std::string>, std::uint64_t> readers_;  // to when last seen
};

}  // namespace mrb::chat
