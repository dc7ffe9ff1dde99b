#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/error.h"
#include "platform/peer_identity.h"
#include "platform/sockets.h"

namespace mrb::server {

/// The client's side of talking with the resident of a port on this machine. Nothing is said to a
/// listener of another user: what a client hands over are its user's commands and folders. Call
/// platform::StartSockets() before any of it.

/// A connection, and who listens at its other end.
struct ResidentConnection {
  platform::Socket socket;
  platform::ServerIdentity server;
};
[[nodiscard]] Result<ResidentConnection> ConnectToPort(std::int32_t port,
                                                       platform::Milliseconds timeout);

/// Whether a listener may be told what the user says: its program is the user's own.
[[nodiscard]] bool IsOwnListener(const platform::ServerIdentity& server);

/// The error of a 503 from a resident that is ending: nothing was done, and nothing will be.
inline constexpr std::string_view kGoingDown = "the resident is going down; nothing was done";

/// One request, as the resident's clients make them.
struct LoopbackRequest {
  std::string_view method_and_target;  ///< "GET /health", the query encoded
  std::string_view type;               ///< of the body; may be empty
  std::string_view headers;            ///< further ones: whole lines with their ends; may be empty
  std::string_view body;
};

struct LoopbackAnswer {
  int status = 0;
  std::string body;
};

/// Makes the request on a fresh connection and waits for the answer, however long it takes. kClosed
/// when the connection ended without one, kCorrupt before the whole of it: the request did run
/// then.
[[nodiscard]] Result<LoopbackAnswer> Exchange(platform::Socket& socket,
                                              const LoopbackRequest& request);

}  // namespace mrb::server
