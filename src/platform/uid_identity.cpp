#include "platform/uid_identity.h"

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

}  // namespace mrb::platform
