#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace mrb::server {

/// One request to POST "/", "/rpc" or "/mcp". The views last for the call.
struct JsonRpcCall {
  std::string_view body;
  bool trusted = false;                ///< may run what only the local user may
  std::string_view working_directory;  ///< the caller's, unchecked; empty when it did not say
};

/// `status` and `type` are texts that live as long as the program.
struct JsonRpcAnswer {
  std::string_view status = "200 OK";
  std::string_view type = "application/json";
  std::string body;
};

/// Called from the connections' threads, several at once.
using JsonRpcEntry = std::function<JsonRpcAnswer(const JsonRpcCall&)>;

}  // namespace mrb::server
