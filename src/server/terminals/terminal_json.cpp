#include "server/terminals/terminal_json.h"

#include "common/json_text.h"

namespace mrb::server {

void AppendJsonField(std::string& body, std::string_view key, std::string_view text) {
  body.append("\"").append(key).append("\":\"");
  AppendJsonEscaped(body, text);
  body += '"';
}

std::string OpenedJson(const TerminalSession& session) {
  std::string body = R"({"ok":true,)";
  AppendJsonField(body, "id", session.id());
  return body + "}";
}

std::string OutputJson(const TerminalSession::Output& output) {
  std::string body = R"({"ok":true,"len":)" + std::to_string(output.total) +
                     ",\"alive\":" + (output.alive ? "true" : "false") + ",";
  AppendJsonField(body, "data", output.data);
  return body + "}";
}

std::string ExecJson(const TerminalSession::ExecResult& result) {
  std::string body;
  if (result.how == TerminalSession::ExecResult::How::kTimedOut) {
    body = R"({"ok":false,"timedOut":true,)";
    AppendJsonField(body, "output", result.output);
  } else {
    body = R"({"ok":true,)";
    AppendJsonField(body, "output", result.output);
    body += ",\"exitCode\":" + std::to_string(result.exit_code);
  }
  return body + "}";
}

std::string SessionsJson(const std::vector<std::shared_ptr<TerminalSession>>& sessions) {
  std::string body = R"({"ok":true,"sessions":[)";
  for (const auto& session : sessions) {
    if (!body.ends_with('[')) body += ',';
    body += '{';
    AppendJsonField(body, "id", session->id());
    body += ',';
    AppendJsonField(body, "name", session->name());
    body += ',';
    AppendJsonField(body, "cmd", session->command_line());
    body += session->alive() ? R"(,"alive":true})" : R"(,"alive":false})";
  }
  return body + "]}";
}

}  // namespace mrb::server
