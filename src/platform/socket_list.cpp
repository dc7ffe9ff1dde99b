#include "platform/socket_list.h"

#include <charconv>
#include <optional>

#include "common/text.h"

namespace mrb::platform {
namespace {

constexpr std::uint32_t kAnyAddress = 0;

std::optional<std::uint32_t> ParseHex(std::string_view digits) {
  std::uint32_t value = 0;
  const auto [stop, error] = std::from_chars(digits.begin(), digits.end(), value, 16);
  if (digits.empty() || stop != digits.end() || error != std::errc{}) return std::nullopt;
  return value;
}

/// The address is printed as the number that it is in memory, the port in its true order.
std::optional<SocketEnd> ParseEnd(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view address = text.substr(0, colon);
  for (const std::string_view mapped : {"0000000000000000FFFF0000", "000000000000000000000000"}) {
    if (address.size() > mapped.size() && address.starts_with(mapped)) {
      address.remove_prefix(mapped.size());
    }
  }
  const auto ipv4 = ParseHex(address);
  const auto port = ParseHex(text.substr(colon + 1));
  if (!ipv4 || !port || *port > 65535) return std::nullopt;
  return SocketEnd{*ipv4, static_cast<std::uint16_t>(*port)};
}

/// "0: 0100007F:270F 00000000:0000 0A tx:rx timer:when retransmits uid timeout inode …"
std::optional<SocketEntry> ParseLine(std::string_view line) {
  constexpr std::size_t kUid = 7;
  constexpr std::size_t kInode = 9;
  const auto words = SplitWords(line);
  if (words.size() <= kInode) return std::nullopt;
  const auto local = ParseEnd(words[1]);
  const auto remote = ParseEnd(words[2]);
  const auto state = ParseHex(words[3]);
  const auto uid = ParseDecimal(words[kUid]);
  const auto inode = ParseDecimal(words[kInode]);
  if (!local || !remote || !state || !uid || !inode || *uid > ~std::uint32_t{0}) {
    return std::nullopt;
  }
  return SocketEntry{{*local, *remote}, *state, static_cast<std::uint32_t>(*uid), *inode};
}

bool ListensAt(const SocketEntry& entry, const SocketEnd& end) {
  const SocketEnd& local = entry.pair.local;
  return entry.state == kListen && local.port == end.port &&
         (local.ipv4 == end.ipv4 || local.ipv4 == kAnyAddress);
}

}  // namespace

bool AsksForListener(const SocketPair& pair) {
  return pair.remote == SocketEnd{};
}

Result<SocketEntry> FindInSocketList(std::string_view list, const SocketPair& pair) {
  for (const std::string_view line : Split(list, '\n')) {
    const auto entry = ParseLine(line);
    if (!entry) continue;
    if (AsksForListener(pair) ? ListensAt(*entry, pair.local) : entry->pair == pair) return *entry;
  }
  return Fail(ErrorKind::kNotFound, "no such socket");
}

}  // namespace mrb::platform
