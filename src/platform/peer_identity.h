#pragma once

#include <cstdint>
#include <string>

#include "platform/sockets.h"

namespace mrb::platform {

/// Whose program holds one end of a connection within this machine, as the system tells it.
struct PeerOwner {
  enum class Kind {
    kUnknown,         ///< the system does not say, or that end is closed: trust nobody
    kOwnUser,         ///< the user of this process
    kLessPrivileged,  ///< the user of this process, which runs elevated and that program does not
    kAdministrator,   ///< root, where this process is not root; never on Windows
    kOtherUser,
  };
  Kind kind = Kind::kUnknown;
  std::string user;    ///< of a server, another user's name or number; empty when it is not known
  std::string reason;  ///< of kUnknown, when it is the system that does not tell: for a log
};

/// Who listens where a connection leads to.
struct ServerIdentity {
  PeerOwner owner;
  /// A number that stays the same for as long as one listener is there and differs for the next
  /// one; 0 when the system does not tell.
  std::uint64_t listener = 0;
};

/// Tells who is at the other end of a TCP connection of which both ends lie in this machine: one
/// question to the system about exactly that pair of addresses. An end whose program has closed it
/// or ended belongs to nobody. Thread-safe.
class PeerIdentity {
 public:
  PeerIdentity() = default;
  PeerIdentity(const PeerIdentity&) = delete;
  PeerIdentity& operator=(const PeerIdentity&) = delete;
  virtual ~PeerIdentity() = default;

  /// The program that opened a connection which was accepted here.
  [[nodiscard]] virtual PeerOwner client_of(const Socket& accepted) = 0;

  /// The program that a connection made here leads to, also when it has not accepted it yet.
  [[nodiscard]] virtual ServerIdentity server_of(const Socket& connected) = 0;
};

/// The machine's own. Lives as long as the process.
[[nodiscard]] PeerIdentity& SystemPeerIdentity();

}  // namespace mrb::platform
