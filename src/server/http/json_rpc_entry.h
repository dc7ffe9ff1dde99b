#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "common/caller_folder.h"

namespace mrb::server {

/// One request to POST "/", "/rpc" or "/mcp". The views last for the call.
struct JsonRpcCall {
  std::string_view body;
  bool trusted = false;                    ///< may run what only the local user may
  CallerFolder folder = {};                ///< where the caller is
  std::string_view session = {};           ///< the client's own id, if it sends one
  std::string_view protocol_version = {};  ///< the revision it says it speaks, if it does
};

/// `status` and `type` are texts that live as long as the program.
struct JsonRpcAnswer {
  std::string_view status = "200 OK";
  std::string_view type = "application/json";
  std::string body;
  std::string session = {};  ///< a new client's id, which it is to send from now on; empty: none
};

/// Called from the connections' threads, several at once.
using JsonRpcEntry = std::function<JsonRpcAnswer(const JsonRpcCall&)>;

}  // namespace mrb::server
