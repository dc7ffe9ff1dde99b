#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/peer_identity.h"
#include "platform/socket_list.h"

namespace mrb::platform {

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
