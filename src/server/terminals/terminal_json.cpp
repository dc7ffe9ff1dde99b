#include "server/terminals/terminal_json.h"

#include "common/json_writer.h"

namespace mrb::server {
namespace {

JsonWriter Begin(bool ok) {
  JsonWriter json;
  json.begin_object().field("ok", ok);
  return json;
}

}  // namespace

std::string OpenedJson(const TerminalSession& session) {
  return Begin(true).field("id", session.id()).end_object().take();
}

std::string OutputJson(const TerminalSession::Output& output) {
  JsonWriter json = Begin(true);
  json.field("len", output.total).field("alive", output.alive).field("data", output.data);
  return json.end_object().take();
}

std::string ExecJson(const TerminalSession::ExecResult& result) {
  const bool in_time = result.how != TerminalSession::ExecResult::How::kTimedOut;
  JsonWriter json = Begin(in_time);
  if (!in_time) json.field("timedOut", true);
  json.field("output", result.output);
  if (in_time) json.field("exitCode", result.exit_code);
  return json.end_object().take();
}

std::string SessionsJson(const std::vector<std::shared_ptr<TerminalSession>>& sessions) {
  JsonWriter json = Begin(true);
  json.key("sessions").begin_array();
  for (const auto& session : sessions) {
    json.begin_object().field("id", session->id()).field("name", session->name());
    json.field("cmd", session->command_line()).field("alive", session->alive()).end_object();
  }
  return json.end_array().end_object().take();
}

}  // namespace mrb::server
