#include "platform/uid_identity.h"

#include <charconv>
#include <optional>

#include "common/text.h"

namespace mrb::platform {

namespace {

/// Whether a program holds that end. One that has sent its request may have shut its sending side
/// down; an end that was closed is shown with the user 0, as if it were root's.
bool IsHeld(const SocketEntry& entry) {
  switch (entry.state) {
    case kEstablished:
    case kFinWait1:
    case kFinWait2:
    case kCloseWait:
    case kLastAck:
    case kClosing:
      return entry.inode != 0;
    default:
      return false;
  }
}

/// Whether that end may wait to be accepted.
bool IsWaiting(const SocketEntry& entry) {
  return entry.inode == 0 &&
         (entry.state == kSynReceived || entry.state == kEstablished || entry.state == kCloseWait);
}

PeerOwner Unknown(const Error& error) {
  const bool is_gone = error.kind == ErrorKind::kNotFound;
  return {PeerOwner::Kind::kUnknown, {}, is_gone ? std::string() : error.text};
}

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

/// As the system finds it. An end that is just being closed may have lost its user, which leaves
/// root's number, and not yet what says that nobody holds it: what looks like root's is looked at
/// again.
Result<SocketEntry> UidIdentity::find(const SocketPair& pair) const {
  auto found = system_.find(pair);
  if (!found || found->uid != 0 || !IsHeld(*found)) return found;
  auto again = system_.find(pair);
  if (again && again->inode != found->inode) return Fail(ErrorKind::kNotFound, "it is closed");
  return again;
}

PeerOwner UidIdentity::owner_of(const SocketEntry& entry) const {
  using Kind = PeerOwner::Kind;
  if (entry.uid == system_.own_uid) return {Kind::kOwnUser, {}, {}};
  return {entry.uid == 0 ? Kind::kAdministrator : Kind::kOtherUser, {}, {}};
}

PeerOwner UidIdentity::named_owner_of(const SocketEntry& entry) const {
  PeerOwner owner = owner_of(entry);
  if (owner.kind != PeerOwner::Kind::kOwnUser) owner.user = system_.user_name(entry.uid);
  return owner;
}

PeerOwner UidIdentity::client_of(const Socket& accepted) {
  const auto pair = system_.other_end(accepted);
  if (!pair) return {};
  const auto client = find(*pair);
  if (!client) return Unknown(client.error());
  return IsHeld(*client) ? owner_of(*client) : PeerOwner{};
}

// Until it is accepted, a connection belongs to nobody and waits with the one that listens, and
// ends when that one closes. So one that still waits after the listener was looked at waits with
// that very listener; hence the order.
ServerIdentity UidIdentity::server_of(const Socket& connected) {
  const auto pair = system_.other_end(connected);
  if (!pair) return {};
  const auto listener = system_.find({pair->local, {}});
  const auto server = find(*pair);
  const std::uint64_t number = listener ? listener->inode : 0;
  if (!server) return {Unknown(server.error()), number};
  if (IsHeld(*server)) return {named_owner_of(*server), number};
  if (!listener) return {Unknown(listener.error()), 0};
  return {IsWaiting(*server) && number != 0 ? named_owner_of(*listener) : PeerOwner{}, number};
}

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
