#include "chat/record.h"

#include <algorithm>
#include <array>

#include "common/json_scan.h"
#include "common/json_writer.h"
#include "common/text.h"

namespace mrb::chat {
namespace {

constexpr std::array<std::string_view, 4> kKinds{"msg", "dm", "join", "leave"};
constexpr std::size_t kMaxName = 64;

void AddText(JsonWriter& json, std::string_view key, const std::string& text) {
  if (!text.empty()) json.field(key, text);
}

std::uint64_t NumberOf(const JsonValue& value) {
  const auto number = value.integer();
  return number && *number > 0 ? static_cast<std::uint64_t>(*number) : 0;
}

}  // namespace

std::string RecordJson(const Record& record) {
  JsonWriter json;
  json.begin_object().field("kind", kKinds[static_cast<std::size_t>(record.kind)]);
  if (record.seq > 0) json.field("seq", record.seq);
  json.field("at", record.at);
  AddText(json, "channel", record.channel);
  AddText(json, "from", record.from);
  AddText(json, "to", record.to);
  AddText(json, "terminal", record.terminal);
  AddText(json, "text", record.text);
  return json.end_object().take();
}

std::optional<Record> ParseRecord(std::string_view json) {
  const auto document = JsonDocument::scan(json);
  if (!document) return std::nullopt;
  const JsonValue root = document->root();
  const auto kind = std::ranges::find(kKinds, root.find("kind").text());
  if (kind == kKinds.end()) return std::nullopt;
  return Record{.kind = static_cast<Record::Kind>(kind - kKinds.begin()),
                .seq = NumberOf(root.find("seq")),
                .at = NumberOf(root.find("at")),
                .channel = root.find("channel").text(),
                .from = root.find("from").text(),
                .to = root.find("to").text(),
                .terminal = root.find("terminal").text(),
                .text = root.find("text").text()};
}

bool IsChannelName(std::string_view name) {
  return !name.empty() && name.size() <= kMaxName && name.front() != '_' &&
         std::ranges::all_of(name, [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
         });
}

bool IsCallsign(std::string_view name) {
  if (name.empty() || name.size() > kMaxName || name.front() == '@' || Trim(name) != name) {
    return false;
  }
  return IsUtf8(name) && std::ranges::none_of(name, IsControl);
}

}  // namespace mrb::chat
