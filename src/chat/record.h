#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mrb::chat {

/// One thing said. On the wire and in the logs it is one JSON object, fields that are empty left
/// out: {"kind":"msg","seq":3,"at":1763877600123,"channel":"general","from":"ann","text":"hi"}
struct Record {
  enum class Kind : std::uint8_t { kMessage, kDirect, kJoin, kLeave };  ///< msg, dm, join, leave

  Kind kind = Kind::kMessage;
  std::uint64_t seq = 0;  ///< rises by one in a channel; one count for all direct messages; 0: none
  std::uint64_t at = 0;   ///< milliseconds since 1970-01-01 00:00 UTC
  std::string channel = {};   ///< empty for a direct message
  std::string from = {};      ///< a callsign
  std::string to = {};        ///< of a direct message
  std::string terminal = {};  ///< the session whose output this is
  std::string text = {};

  bool operator==(const Record&) const = default;
};

[[nodiscard]] std::string RecordJson(const Record& record);

/// Nothing for what is no record. A field of the wrong type counts as absent.
[[nodiscard]] std::optional<Record> ParseRecord(std::string_view json);

inline constexpr std::size_t kMaxText = 65536;  ///< bytes of a message; a page shows no more
inline constexpr std::string_view kDefaultChannel = "general";

/// 1 to 64 of a-z, 0-9, "_", "-", not beginning with "_": a log's name and a word in a frame.
[[nodiscard]] bool IsChannelName(std::string_view name);

/// 1 to 64 bytes of UTF-8 on one line, no blank at an end, no "@" in front.
[[nodiscard]] bool IsCallsign(std::string_view name);

}  // namespace mrb::chat
