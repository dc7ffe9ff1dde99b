#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "common/error.h"
#include "platform/peer_identity.h"

namespace mrb::platform {

/// What a Unix tells of its TCP sockets, whichever way it is asked. No I/O here.

/// The numbers of Linux' include/net/tcp_states.h; its public headers have no names for them.
enum TcpState : unsigned {
  kEstablished = 1,
  kSynReceived = 3,
  kFinWait1 = 4,
  kFinWait2 = 5,
  kCloseWait = 8,
  kLastAck = 9,
  kListen = 10,
  kClosing = 11,
};

struct SocketEnd {
  std::uint32_t ipv4 = 0;  ///< network byte order
  std::uint16_t port = 0;  ///< host byte order
  bool operator==(const SocketEnd&) const = default;
};

/// One socket of this machine: its own end and the one it is connected to, which is all zero for a
/// socket that listens.
struct SocketPair {
  SocketEnd local;
  SocketEnd remote;
  bool operator==(const SocketPair&) const = default;
};

struct SocketEntry {
  SocketPair pair;
  unsigned state = 0;
  std::uint32_t uid = 0;
  std::uint64_t inode = 0;  ///< 0: no program holds it, and `uid` says nothing
};

/// Whether the pair stands for the socket that listens at its local end.
[[nodiscard]] bool AsksForListener(const SocketPair& pair);

/// The socket of exactly that pair, or the one that listens there, in the text of /proc/net/tcp and
/// /proc/net/tcp6 (proc(5)): one line a socket. An address of IPv6 counts when it stands for one of
/// IPv4. kNotFound when there is none; what is no such line is passed over.
[[nodiscard]] Result<SocketEntry> FindInSocketList(std::string_view list, const SocketPair& pair);

/// PeerIdentity where sockets belong to users that are numbers, and user 0 is root. As thread-safe
/// as what it works with.
class UidIdentity final : public PeerIdentity {
 public:
  struct System {
    /// A connection as its other end has it; nothing when it is not connected any more.
    std::function<std::optional<SocketPair>(const Socket&)> other_end;
    /// The socket of a pair, as FindInSocketList() finds it.
    std::function<Result<SocketEntry>(const SocketPair&)> find;
    std::function<std::string(std::uint32_t)> user_name;
    std::uint32_t own_uid = 0;
  };

  explicit UidIdentity(System system) : system_(std::move(system)) {}

  PeerOwner client_of(const Socket& accepted) override;
  ServerIdentity server_of(const Socket& connected) override;

 private:
  [[nodiscard]] Result<SocketEntry> find(const SocketPair& pair) const;
  [[nodiscard]] PeerOwner owner_of(const SocketEntry& entry) const;
  [[nodiscard]] PeerOwner named_owner_of(const SocketEntry& entry) const;

  const System system_;
};

}  // namespace mrb::platform
