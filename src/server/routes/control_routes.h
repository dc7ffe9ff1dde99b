#pragma once

#include "server/routes/route.h"

namespace mrb::server {

/// The routes through which the command line and other local tools drive the interpreter.

[[nodiscard]] Response AnswerHealth(const Request& request, const Services& services);
[[nodiscard]] Response AnswerShutdown(const Request& request, const Services& services);
[[nodiscard]] Response AnswerConsoleExec(const Request& request, const Services& services);
[[nodiscard]] Response AnswerConsoleTail(const Request& request, const Services& services);
[[nodiscard]] Response AnswerInterp(const Request& request, const Services& services);
[[nodiscard]] Response AnswerJsonRpc(const Request& request, const Services& services);
[[nodiscard]] Response AnswerMcpBanner(const Request& request, const Services& services);
/// Methods that MCP clients try although they need not work: 405 tells them so.
[[nodiscard]] Response AnswerMcpOther(const Request& request, const Services& services);

/// The fixed answers of subsystems that are not part of this build.
[[nodiscard]] Response AnswerAgentBanner(const Request& request, const Services& services);
[[nodiscard]] Response AnswerNodeDisabled(const Request& request, const Services& services);
/// /ui/api/…: what the workstation pages ask; see docs/http.md.
[[nodiscard]] Response AnswerWorkstation(const Request& request, const Services& services);

}  // namespace mrb::server
