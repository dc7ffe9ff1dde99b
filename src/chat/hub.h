#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "chat/chat_log.h"
#include "chat/room.h"
#include "chat/roster.h"

namespace mrb::chat {

struct HubOptions {
  platform::FileSystem* files = nullptr;  ///< must be set; outlives the hub
  std::string folder;                     ///< of the logs; made with the first message
  std::function<std::uint64_t()> now;     ///< milliseconds since 1970; must be set
  /// Types a line into a terminal for a bot and answers its text; empty: there are no terminals.
  std::function<std::string(std::string_view bot, std::string_view id, std::string_view line)>
      type_into_terminal;
};

/// Where somebody reads.
struct ReadRequest {
  std::string_view me = {};       ///< the reader's callsign; empty: a channel is read unseen
  std::string_view channel = {};  ///< or "@name": what that one and `me` wrote to each other
  std::uint64_t since = 0;
  std::chrono::milliseconds wait{0};  ///< at most, while there is nothing
  std::size_t bytes = Room::kMaxBytes;
  bool skip_own = false;
};

/// The chat of one machine: channels and direct messages, who is there, and the logs. Thread-safe.
///
/// A channel is there as soon as it is named. A callsign is what somebody calls themselves: whoever
/// may talk to the resident at all is the same person's program.
class Hub {
 public:
  using ListenerId = Roster::ListenerId;

  explicit Hub(HubOptions options);
  Hub(const Hub&) = delete;
  Hub& operator=(const Hub&) = delete;

  /// What became of a text.
  struct Said {
    std::uint64_t seq = 0;  ///< the message's
    std::string answer;     ///< instead, of a text that was for a terminal
  };
  /// Says a text on a channel, or to "@name" alone. "::term.send <id> <line>" is typed into a
  /// terminal that is shared with the speaker. The message is in the log when this returns.
  /// kInvalidArgument for bad names and for a text that is empty or longer than kMaxText.
  [[nodiscard]] Result<Said> say(std::string_view from, std::string_view channel,
                                 std::string_view text);

  /// A shared terminal's output, as a direct message from "terminal". Not logged: what a terminal
  /// shows is private and has no end.
  void post_terminal(std::string_view bot, std::string_view terminal, std::string_view text);

  /// The last records, at once.
  [[nodiscard]] Result<Piece> recent(const ReadRequest& request, std::size_t most);
  /// What came after `since`; waits while there is nothing.
  [[nodiscard]] Result<Piece> read(const ReadRequest& request);

  /// From now on everything on the channel, and every direct message from or to the callsign, goes
  /// to the outbox; whoever was in the channel is told. A listener in another channel leaves that.
  [[nodiscard]] Status join(ListenerId id, std::string_view callsign, std::string_view channel,
                            std::shared_ptr<Outbox> outbox);
  void leave(ListenerId id);
  /// Where a listener is; nothing in it for one that has not joined.
  [[nodiscard]] Presence place_of(ListenerId id);

  [[nodiscard]] std::vector<Presence> roster(std::string_view channel);

  struct ChannelInfo {
    std::string name;
    std::size_t members = 0;
  };
  /// Those with a log or somebody in them, sorted; "general" always.
  [[nodiscard]] std::vector<ChannelInfo> channels();

  /// The end of a channel's log.
  [[nodiscard]] Result<std::vector<Record>> log(std::string_view channel, std::size_t most);

  /// `wanted`, or that with a number behind it when it was given out before.
  [[nodiscard]] std::string claim_callsign(std::string_view wanted);

  /// Every wait ends, and later ones do not begin.
  void stop();

 private:
  static constexpr std::size_t kMaxRooms = 200;  ///< in memory; a channel comes back from its log

  struct OpenRoom {
    Room room;
    std::uint64_t last_use = 0;
  };

  Room& room_of(const std::string& key);
  Room load(const std::string& key);
  void make_room();
  [[nodiscard]] Status post(Record record, bool logged);
  void tell(const Record& record, const std::vector<Roster::OutboxRef>& outboxes);
  void announce(Record::Kind kind, const Roster::Listener& listener);

  const HubOptions options_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_:
  ChatLog log_;
  Roster roster_;
  std::map<std::string, OpenRoom> rooms_;  // by RoomKey()
  std::map<std::string, std::uint64_t, std::less<>> claimed_;
  std::uint64_t uses_ = 0;
  std::uint64_t direct_ = 0;  // direct messages ever, those to come counted on from the log
  bool stopping_ = false;
};

}  // namespace mrb::chat
