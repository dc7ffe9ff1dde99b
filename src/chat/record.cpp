#include "chat/record.h"

#include <algorithm>
#include <array>

#include "common/json_scan.h"
#include "common/json_text.h"
#include "common/text.h"

namespace mrb::chat {
namespace {

constexpr std::array<std::string_view, 4> kKinds{"msg", "dm", "join", "leave"};
constexpr std::size_t kMaxName = 64;

void AppendField(std::string& json, std::string_view key, std::string_view text) {
  if (text.empty()) return;
  json.append(",\"").append(key).append("\":\"");
  AppendJsonEscaped(json, text);
  json += '"';
}

std::uint64_t NumberOf(const JsonValue& value) {
  const auto number = value.integer();
  return number && *number > 0 ? static_cast<std::uint64_t>(*number) : 0;
}

}  // namespace

std::string RecordJson(const Record& record) {
  std::string json = R"({"kind":")";
  json.append(kKinds[static_cast<std::size_t>(record.kind)]).append("\"");
  if (record.seq > 0) json += ",\"seq\":" + std::to_string(record.seq);
  json += ",\"at\":" + std::to_string(record.at);
  AppendField(json, "channel", record.channel);
  AppendField(json, "from", record.from);
  AppendField(json, "to", record.to);
  AppendField(json, "terminal", record.terminal);
  AppendField(json, "text", record.text);
  return json + "}";
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
