#include "platform/peer_identity.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>

#include "platform/posix/socket_table.h"
#include "platform/posix/user_name.h"
#include "platform/uid_identity.h"

namespace mrb::platform {
namespace {

SocketEnd EndOf(const sockaddr_in& address) {
  return {address.sin_addr.s_addr, ntohs(address.sin_port)};
}

std::optional<SocketPair> OtherEnd(const Socket& socket) {
  const int fd = static_cast<int>(socket.native_handle());
  sockaddr_in own{};
  sockaddr_in other{};
  socklen_t own_length = sizeof own;
  socklen_t other_length = sizeof other;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &own_length) != 0 ||
      ::getpeername(fd, reinterpret_cast<sockaddr*>(&other), &other_length) != 0 ||
      own.sin_family != AF_INET || other.sin_family != AF_INET) {
    return std::nullopt;
  }
  return SocketPair{EndOf(other), EndOf(own)};
}

}  // namespace

PeerIdentity& SystemPeerIdentity() {
  static SocketTable table;
  static UidIdentity identity({.other_end = &OtherEnd,
                               .find = [](const SocketPair& pair) { return table.find(pair); },
                               .user_name = &UserName,
                               .own_uid = ::geteuid()});
  return identity;
}

}  // namespace mrb::platform
