#include "mcp/method.h"

#include <algorithm>
#include <array>

#include "common/json_writer.h"
#include "common/text.h"
#include "server/http/interpreter_bridge.h"

namespace mrb::mcp {
namespace {

/// Newest first.
constexpr std::array<std::string_view, 3> kRevisions{"2025-06-18", "2025-03-26", "2024-11-05"};

constexpr std::string_view kCapabilities =
    R"({"tools":{"listChanged":false},"resources":{"subscribe":false,"listChanged":false},)"
    R"("prompts":{"listChanged":false},"logging":{},"completions":{}})";

constexpr std::string_view kInstructions =
    "Mirebolt gives you persistent memory, automatic version control and terminals on this "
    "machine.\n"
    "Memory: named contexts hold topics, a topic holds memos. At the start of a session call "
    "memory.contexts, then memory.recent on the project's context; look things up with "
    "memory.keywords (one context) or memory.search (several). Store what a later session will "
    "need - decisions with their reason, constraints, how to build and test - with memory.addmemo "
    "(adds to a topic) or memory.add (REPLACES a topic). It is on disk when you get the answer.\n"
    "Files: in enrolled directories (stores.list) every save by any program is a version. fs.read "
    "and fs.write read and write; vc.log, vc.diff, vc.open_version and vc.revert are the history. "
    "You never check in by hand, and nothing you overwrite is lost.\n"
    "Terminals: term.open, term.exec, term.read; they stay when you leave.\n"
    "Chat: chat.say and chat.read reach the user and other agents on this machine.\n"
    "Every answer is one text. It begins \"ERROR:\" when the call failed and says what to do. An "
    "answer that would be too long is cut at a line and says which \"offset\" continues it. "
    "mrb.run runs any other command; mrb.run with \"help\" prints them all.";

}  // namespace

bool IsKnownRevision(std::string_view revision) {
  return std::ranges::find(kRevisions, revision) != kRevisions.end();
}

bool HasBatches(std::string_view revision) {
  return revision != kRevisions.front();
}

std::string ParamText(const MethodCall& call, std::string_view name) {
  return call.params.find(name).text();
}

std::string RunCommand(const MethodCall& call, std::string_view command) {
  std::string answer;
  const server::ScopedCallSettings settings({.folder = call.http.folder});
  call.options.bridge->execute(kBot, command, answer);
  return answer;
}

Outcome Initialize(const MethodCall& call) {
  constexpr std::size_t kMaxName = 100;
  const std::string wanted = ParamText(call, "protocolVersion");
  const std::string_view agreed = IsKnownRevision(wanted) ? wanted : kRevisions.front();
  {
    const std::scoped_lock lock(call.session.mutex);
    call.session.protocol = agreed;
    call.session.client = CutUtf8(call.params.find("clientInfo").find("name").text(), kMaxName);
  }
  JsonWriter json;
  json.begin_object().field("protocolVersion", agreed).raw_field("capabilities", kCapabilities);
  json.key("serverInfo").begin_object().field("name", "Mirebolt-mcp").field("version", "1.0.0");
  return json.end_object().field("instructions", kInstructions).end_object().take();
}

Outcome EmptyResult(const MethodCall& /*call*/) {
  return "{}";
}

}  // namespace mrb::mcp
