#include "server/routes/chat_sockets.h"

#include <string>
#include <utility>

#include "common/json_writer.h"
#include "common/text.h"
#include "server/routes/chat_routes.h"

namespace mrb::server {
namespace {

/// What the server says to one client: an object of that kind, left open for more.
JsonWriter BeginFrame(std::string_view kind) {
  JsonWriter json;
  json.begin_object().field("kind", kind);
  return json;
}

constexpr std::size_t kHistory = 50;  // records that a newcomer gets

/// The first line of a text, which loses it.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return Trim(line);
}

std::string_view OrUsual(std::string_view channel) {
  return channel.empty() ? chat::kDefaultChannel : channel;
}

}  // namespace

void ChatSockets::message(WebSocketClient& client, std::string_view text) {
  const std::string_view word = TakeLine(text);
  if (word == "join") {
    const std::string_view callsign = TakeLine(text);
    join(client, callsign, OrUsual(TakeLine(text)));
  } else if (word == "msg") {
    say(client, {}, text);
  } else if (word == "dm") {
    const std::string to = "@" + std::string(TakeLine(text));
    say(client, to, text);
  } else if (word == "leave") {
    hub_.leave(client.id());
    reply(client, BeginFrame("left").end_object().take());
  } else if (word == "roster") {
    JsonWriter json = BeginFrame("roster");
    json.raw_field("roster", RosterJson(hub_.roster(TakeLine(text))));
    reply(client, json.end_object().take());
  } else {
    refuse(client, "unknown frame: join, msg, dm, roster or leave");
  }
}

void ChatSockets::leave(WebSocketClient& client) {
  hub_.leave(client.id());
  OutboxRef outbox;
  {
    const std::scoped_lock lock(mutex_);
    const auto found = outboxes_.find(client.id());
    if (found == outboxes_.end()) return;
    outbox = std::move(found->second);
    outboxes_.erase(found);
  }
  outbox->close();
}

ChatSockets::OutboxRef ChatSockets::outbox_of(WebSocketClient& client) {
  const std::scoped_lock lock(mutex_);
  OutboxRef& outbox = outboxes_[client.id()];
  if (outbox == nullptr) {
    outbox = std::make_shared<chat::Outbox>(
        [&client](std::string_view text) { return client.send_text(text); });
  }
  return outbox;
}

void ChatSockets::join(WebSocketClient& client, std::string_view callsign,
                       std::string_view channel) {
  const OutboxRef outbox = outbox_of(client);
  // Joined first, then asked for the history: a record may come twice, but none is missing.
  const Status joined = hub_.join(client.id(), callsign, channel, outbox);
  if (!joined) return refuse(client, joined.error().text);
  const auto piece = hub_.recent({.me = {}, .channel = channel}, kHistory);
  if (!piece) return refuse(client, piece.error().text);
  JsonWriter json = BeginFrame("joined");
  json.field("callsign", callsign).field("channel", channel).field("next", piece->next);
  json.raw_field("roster", RosterJson(hub_.roster(channel)));
  json.raw_field("history", RecordsJson(piece->records));
  reply(client, json.end_object().take());
}

void ChatSockets::say(WebSocketClient& client, std::string_view channel, std::string_view text) {
  const chat::Presence place = hub_.place_of(client.id());
  if (place.callsign.empty()) return refuse(client, "join first");
  const bool to_all = channel.empty() && !text.starts_with("::");
  if (!to_all && !client.trusted()) return refuse(client, "not allowed from here");
  const auto said = hub_.say(place.callsign, channel.empty() ? place.channel : channel, text);
  if (!said) return refuse(client, said.error().text);
  if (!said->answer.empty()) {
    reply(client, BeginFrame("answer").field("text", said->answer).end_object().take());
  }
}

void ChatSockets::reply(WebSocketClient& client, std::string json) {
  const OutboxRef outbox = outbox_of(client);
  outbox->put(std::make_shared<const std::string>(std::move(json)));
  outbox->flush();
}

void ChatSockets::refuse(WebSocketClient& client, std::string_view why) {
  reply(client, BeginFrame("error").field("text", why).end_object().take());
}

}  // namespace mrb::server
