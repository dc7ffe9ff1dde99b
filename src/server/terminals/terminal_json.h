#pragma once

#include <memory>
#include <string>
#include <vector>

#include "server/terminals/terminal_session.h"

namespace mrb::server {

/// What the terminal operations answer, as JSON text; for the routes and whoever else offers them.
[[nodiscard]] std::string OpenedJson(const TerminalSession& session);
[[nodiscard]] std::string OutputJson(const TerminalSession::Output& output);
[[nodiscard]] std::string ExecJson(const TerminalSession::ExecResult& result);
[[nodiscard]] std::string SessionsJson(
    const std::vector<std::shared_ptr<TerminalSession>>& sessions);

}  // namespace mrb::server
