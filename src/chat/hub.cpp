#include "chat/hub.h"

#include <algorithm>
#include <set>
#include <utility>

#include "common/text.h"

namespace mrb::chat {
namespace {

constexpr std::string_view kTermSend = "::term.send ";
constexpr std::string_view kTerminalName = "terminal";

bool IsDirect(std::string_view channel) {
  return channel.starts_with('@');
}

/// A channel's own name, or the two who write to each other; a name holds no line feed.
std::string DirectKey(std::string_view a, std::string_view b) {
  return "@" + std::string(std::min(a, b)) + "\n" + std::string(std::max(a, b));
}

std::string KeyOf(const Record& record) {
  return record.kind == Record::Kind::kDirect ? DirectKey(record.from, record.to) : record.channel;
}

Status CheckChannel(std::string_view channel) {
  if (IsDirect(channel) ? IsCallsign(channel.substr(1)) : IsChannelName(channel)) return {};
  return Fail(ErrorKind::kInvalidArgument,
              "a channel is 1 to 64 of a-z, 0-9, _ and -, or @ and a callsign");
}

Status CheckCallsign(std::string_view callsign) {
  if (IsCallsign(callsign)) return {};
  return Fail(ErrorKind::kInvalidArgument, "a callsign is 1 to 64 bytes on one line");
}

Status CheckReader(const ReadRequest& request) {
  if (Status channel = CheckChannel(request.channel); !channel) return channel;
  if (!IsDirect(request.channel) && request.me.empty()) return {};
  return CheckCallsign(request.me);
}

std::string KeyOf(const ReadRequest& request) {
  return IsDirect(request.channel) ? DirectKey(request.me, request.channel.substr(1))
                                   : std::string(request.channel);
}

}  // namespace

Hub::Hub(HubOptions options)
    : options_(std::move(options)), log_(*options_.files, options_.folder) {
  direct_ = log_.read(ChatLog::kDirect, 0).lines;
}

Result<Hub::Said> Hub::say(std::string_view from, std::string_view channel, std::string_view text) {
  if (Status name = CheckCallsign(from); !name) return std::unexpected(std::move(name.error()));
  if (Status name = CheckChannel(channel); !name) return std::unexpected(std::move(name.error()));
  text = TrimLineEnd(text);
  if (text.empty()) return Fail(ErrorKind::kInvalidArgument, "text required");
  if (text.size() > kMaxText) return Fail(ErrorKind::kInvalidArgument, "the text is too long");
  if (text.starts_with(kTermSend) && options_.type_into_terminal) {
    const std::string_view words = Trim(text.substr(kTermSend.size()));
    const std::size_t end = std::min(words.find(' '), words.size());
    return Said{0,
                options_.type_into_terminal(from, words.substr(0, end), Trim(words.substr(end)))};
  }
  const bool direct = IsDirect(channel);
  Record record{.kind = direct ? Record::Kind::kDirect : Record::Kind::kMessage,
                .at = options_.now(),
                .channel = std::string(direct ? std::string_view() : channel),
                .from = std::string(from),
                .to = std::string(direct ? channel.substr(1) : std::string_view()),
                .terminal = {},
                .text = std::string(text)};
  std::uint64_t seq = 0;
  Status posted;
  std::vector<Roster::OutboxRef> outboxes;
  {
    const std::scoped_lock lock(mutex_);
    Room& room = room_of(KeyOf(record));
    seq = direct ? direct_ + 1 : room.last() + 1;
    record.seq = seq;
    posted = log_.append(direct ? ChatLog::kDirect : std::string_view(record.channel), record);
    if (!posted) return std::unexpected(std::move(posted.error()));
    if (direct) direct_ = seq;
    outboxes =
        direct ? roster_.of_callsigns(record.from, record.to) : roster_.in_channel(record.channel);
    tell(record, outboxes);
    room.add(std::move(record));
    changed_.notify_all();
  }
  for (const auto& outbox : outboxes) outbox->flush();
  return Said{seq, {}};
}

void Hub::post_terminal(std::string_view bot, std::string_view terminal, std::string_view text) {
  Record record{.kind = Record::Kind::kDirect,
                .at = options_.now(),
                .channel = {},
                .from = std::string(kTerminalName),
                .to = std::string(bot),
                .terminal = std::string(terminal),
                .text = std::string(text)};
  std::vector<Roster::OutboxRef> outboxes;
  {
    const std::scoped_lock lock(mutex_);
    record.seq = ++direct_;
    outboxes = roster_.of_callsigns(bot, bot);
    tell(record, outboxes);
    Room& room = room_of(KeyOf(record));
    room.add(std::move(record));
    changed_.notify_all();
  }
  for (const auto& outbox : outboxes) outbox->flush();
}

/// Under the lock, so that each outbox gets the records in their order.
void Hub::tell(const Record& record, const std::vector<Roster::OutboxRef>& outboxes) {
  if (outboxes.empty()) return;
  const auto json = std::make_shared<const std::string>(RecordJson(record));
  for (const auto& outbox : outboxes) outbox->put(json);
}

Result<Piece> Hub::recent(const ReadRequest& request, std::size_t most) {
  if (Status reader = CheckReader(request); !reader) {
    return std::unexpected(std::move(reader.error()));
  }
  const std::scoped_lock lock(mutex_);
  if (!request.me.empty()) roster_.seen(request.me, request.channel, options_.now());
  return room_of(KeyOf(request)).recent(most);
}

Result<Piece> Hub::read(const ReadRequest& request) {
  if (Status reader = CheckReader(request); !reader) {
    return std::unexpected(std::move(reader.error()));
  }
  const std::string key = KeyOf(request);
  const std::string_view skip = request.skip_own ? request.me : std::string_view();
  const auto deadline = std::chrono::steady_clock::now() + request.wait;
  std::unique_lock lock(mutex_);
  if (!request.me.empty()) roster_.seen(request.me, request.channel, options_.now());
  Piece piece;
  changed_.wait_until(lock, deadline, [&] {
    piece = room_of(key).since(request.since, request.bytes, skip);
    return !piece.records.empty() || stopping_;
  });
  return piece;
}

Status Hub::join(ListenerId id, std::string_view callsign, std::string_view channel,
                 std::shared_ptr<Outbox> outbox) {
  if (Status name = CheckCallsign(callsign); !name) return name;
  if (!IsChannelName(channel)) return CheckChannel("");
  leave(id);
  const Roster::Listener listener{std::string(callsign), std::string(channel), std::move(outbox)};
  announce(Record::Kind::kJoin, listener);
  const std::scoped_lock lock(mutex_);
  roster_.enter(id, listener);
  return {};
}

void Hub::leave(ListenerId id) {
  Roster::Listener listener;
  {
    const std::scoped_lock lock(mutex_);
    listener = roster_.take(id);
  }
  if (listener.outbox != nullptr) announce(Record::Kind::kLeave, listener);
}

/// Comings and goings are told to those who are there and not kept.
void Hub::announce(Record::Kind kind, const Roster::Listener& listener) {
  Record record;
  record.kind = kind;
  record.at = options_.now();
  record.channel = listener.channel;
  record.from = listener.callsign;
  std::vector<Roster::OutboxRef> outboxes;
  {
    const std::scoped_lock lock(mutex_);
    outboxes = roster_.in_channel(listener.channel);
    tell(record, outboxes);
  }
  for (const auto& outbox : outboxes) outbox->flush();
}

Presence Hub::place_of(ListenerId id) {
  const std::scoped_lock lock(mutex_);
  const Roster::Listener* listener = roster_.find(id);
  if (listener == nullptr) return {};
  return {listener->callsign, listener->channel, true};
}

std::vector<Presence> Hub::roster(std::string_view channel) {
  const std::scoped_lock lock(mutex_);
  return roster_.list(channel, options_.now());
}

std::vector<Hub::ChannelInfo> Hub::channels() {
  const std::scoped_lock lock(mutex_);
  std::set<std::string> names{std::string(kDefaultChannel)};
  for (std::string& name : log_.channels()) names.insert(std::move(name));
  std::map<std::string, std::set<std::string>> members;
  for (Presence& one : roster_.list({}, options_.now())) {
    if (IsDirect(one.channel)) continue;
    names.insert(one.channel);
    members[one.channel].insert(std::move(one.callsign));
  }
  std::vector<ChannelInfo> all;
  all.reserve(names.size());
  for (const std::string& name : names) all.push_back({name, members[name].size()});
  return all;
}

Result<std::vector<Record>> Hub::log(std::string_view channel, std::size_t most) {
  if (!IsChannelName(channel)) return std::unexpected(CheckChannel("").error());
  const std::scoped_lock lock(mutex_);
  return log_.read(channel, most).records;
}

std::string Hub::claim_callsign(std::string_view wanted) {
  constexpr std::size_t kMaxClaims = 10'000;  // names come from clients
  const std::scoped_lock lock(mutex_);
  if (claimed_.size() >= kMaxClaims) claimed_.clear();
  const std::uint64_t number = ++claimed_[std::string(wanted)];
  return std::string(wanted) + (number == 1 ? "" : "-" + std::to_string(number));
}

void Hub::stop() {
  const std::scoped_lock lock(mutex_);
  stopping_ = true;
  changed_.notify_all();
}

Room& Hub::room_of(const std::string& key) {
  auto found = rooms_.find(key);
  if (found == rooms_.end()) {
    make_room();
    found = rooms_.emplace(key, OpenRoom{load(key)}).first;
  }
  found->second.last_use = ++uses_;
  return found->second.room;
}

Room Hub::load(const std::string& key) {
  Room room;
  const bool direct = key.starts_with('@');
  auto content = log_.read(direct ? ChatLog::kDirect : std::string_view(key), Room::kMaxRecords);
  // Numbers are given anew, by the line: what a log of other times says of them must not rule ours.
  std::uint64_t seq = content.lines - content.records.size();
  for (Record& record : content.records) {
    record.seq = ++seq;
    if (KeyOf(record) == key) room.add(std::move(record));
  }
  room.set_last(direct ? direct_ : content.lines);
  return room;
}

void Hub::make_room() {
  if (rooms_.size() < kMaxRooms) return;
  rooms_.erase(std::ranges::min_element(rooms_, {},
                                        [](const auto& entry) { return entry.second.last_use; }));
}

}  // namespace mrb::chat
