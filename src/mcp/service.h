#pragma once

#include <memory>

#include "mcp/mcp_options.h"
#include "server/http/json_rpc_entry.h"

namespace mrb::mcp {

/// The Model Context Protocol over JSON-RPC 2.0: revisions 2024-11-05, 2025-03-26 and 2025-06-18.
/// Thread-safe; calls run on their callers' threads, several at once.
///
///     McpService mcp({.bridge = &interpreter});
///     server_options.json_rpc = [&](const auto& call) { return mcp.answer(call); };
class McpService {
 public:
  explicit McpService(McpOptions options);
  McpService(const McpService&) = delete;
  McpService& operator=(const McpService&) = delete;
  ~McpService();

  /// Answers one message or a batch of them. 202 without a body when nothing in it asks for an
  /// answer; 400 for what is no JSON-RPC at all.
  [[nodiscard]] server::JsonRpcAnswer answer(const server::JsonRpcCall& call);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace mrb::mcp
