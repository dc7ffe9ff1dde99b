#pragma once

#include <string>
#include <string_view>

#include "common/json_scan.h"
#include "mcp/mcp_options.h"
#include "mcp/messages.h"
#include "mcp/sessions.h"
#include "server/http/json_rpc_entry.h"

namespace mrb::mcp {

/// The bot id under which the commands run: the author of versions and the owner of locks.
inline constexpr std::string_view kBot = "mcp";

/// One request on its way to its method.
struct MethodCall {
  const McpOptions& options;
  const server::JsonRpcCall& http;
  Session& session;
  JsonValue params;  ///< an object, or missing
};

using Method = Outcome (*)(const MethodCall& call);

/// A text member of the params; empty when it is missing or no text.
[[nodiscard]] std::string ParamText(const MethodCall& call, std::string_view name);

/// Runs one command line for the client, in its folder, and answers its text.
[[nodiscard]] std::string RunCommand(const MethodCall& call, std::string_view command);

// The methods, by family.
[[nodiscard]] Outcome Initialize(const MethodCall& call);
[[nodiscard]] Outcome EmptyResult(const MethodCall& call);
[[nodiscard]] Outcome ListTools(const MethodCall& call);
[[nodiscard]] Outcome CallTool(const MethodCall& call);
[[nodiscard]] Outcome ListResources(const MethodCall& call);
[[nodiscard]] Outcome ListTemplates(const MethodCall& call);
[[nodiscard]] Outcome ReadResource(const MethodCall& call);
[[nodiscard]] Outcome ListPrompts(const MethodCall& call);
[[nodiscard]] Outcome GetPrompt(const MethodCall& call);
[[nodiscard]] Outcome CompleteArgument(const MethodCall& call);

/// Whether a protocol revision is one of the known.
[[nodiscard]] bool IsKnownRevision(std::string_view revision);
/// Whether several messages may come in one array under it; an empty one: not agreed yet.
[[nodiscard]] bool HasBatches(std::string_view revision);

}  // namespace mrb::mcp
