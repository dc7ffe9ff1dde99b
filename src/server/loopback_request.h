#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/error.h"

namespace mrb::server {

/// One request to the resident of a port on this machine, as its clients make them.
struct LoopbackRequest {
  std::string_view method_and_target;  ///< "GET /health", the query encoded
  std::string_view headers;            ///< whole lines with their line ends; may be empty
  std::string_view body;
};

/// The answer's body, whatever its status; waits for it however long it takes. kClosed when the
/// connection ended without one, kCorrupt before the whole of it: the request did run then. Call
/// platform::StartSockets() before.
[[nodiscard]] Result<std::string> AskResident(std::int32_t port, const LoopbackRequest& request);

}  // namespace mrb::server
