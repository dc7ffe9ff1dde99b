#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "chat/hub.h"
#include "common/json_scan.h"
#include "common/json_writer.h"
#include "mcp/service.h"
#include "mcp/sized_answer.h"
#include "mcp/tool_table.h"
#include "server/http/interpreter_bridge.h"
#include "temp_folder.h"

namespace mrb::mcp {
namespace {

/// Answers what it was asked, or what a test wants.
class FakeBridge : public server::InterpreterBridge {
 public:
  void execute(std::string_view bot, std::string_view command, std::string& answer) override {
    ++calls;
    if (command == "throw") throw std::runtime_error("broken");
    answer = !reply.empty() ? reply
                            : std::string(bot) + "|" + std::string(command) + "|" +
                                  server::CurrentCallSettings().folder.path;
  }
  std::atomic<int> calls = 0;
  std::string reply;
};

class McpTest : public testing::Test {
 protected:
  server::JsonRpcAnswer post(std::string_view body) {
    return mcp_.answer({body, trusted_, CallerFolder::known("/w"), session_, version_});
  }
  std::string ask(std::string_view body) { return post(body).body; }

  /// The answer text of a tool, "!" in front of a failure.
  std::string call(std::string_view tool, std::string_view arguments) {
    std::string body = ask(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":)" +
                           JsonString(tool) + R"(,"arguments":)" + std::string(arguments) + "}}");
    const auto document = JsonDocument::scan(body);
    if (!document) return "NO JSON: " + body;
    const JsonValue result = document->root().find("result");
    if (!result.exists()) return body;
    return (result.find("isError").boolean().value_or(false) ? "!" : "") +
           result.find("content").elements().at(0).find("text").text();
  }

  FakeBridge bridge_;
  bool trusted_ = true;
  std::string session_ = "s1";
  std::string version_;
  McpService mcp_{{.bridge = &bridge_, .max_answer = 2000}};
};

std::string Message(std::string_view method, std::string_view rest = "") {
  return R"({"jsonrpc":"2.0","id":1,"method":")" + std::string(method) + "\"" + std::string(rest) +
         "}";
}

TEST_F(McpTest, AnswersTheProtocol) {
  const std::string head = R"({"jsonrpc":"2.0","id":1,"result":)";
  EXPECT_EQ(ask(Message("ping")), head + "{}}");
  EXPECT_EQ(ask(Message("logging/setLevel", R"(,"params":{"level":"debug"})")), head + "{}}");
  EXPECT_EQ(ask(Message("notifications/initialized")), head + "{}}");
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","id":"a\"é\ud800","method":"ping"})"),
            R"({"jsonrpc":"2.0","id":"a\"é\ud800","result":{}})");
  const std::pair<const char*, const char*> versions[] = {{"2024-11-05", "2024-11-05"},
                                                          {"2025-03-26", "2025-03-26"},
                                                          {"2025-06-18", "2025-06-18"},
                                                          {"2031-01-01", "2025-06-18"}};
  for (const auto& [sent, agreed] : versions) {
    const std::string params = R"(,"params":{"protocolVersion":")" + std::string(sent) + "\"}";
    const std::string answer = ask(Message("initialize", params));
    EXPECT_TRUE(answer.starts_with(
        head + R"({"protocolVersion":")" + agreed +
        R"(","capabilities":{"tools":{"listChanged":false},"resources":{"subscribe":false,"listChanged":false},"prompts":{"listChanged":false},"logging":{},"completions":{}},"serverInfo":{"name":"Mirebolt-mcp","version":"1.0.0"},"instructions":")"))
        << answer;
  }
}

TEST_F(McpTest, RefusesWhatIsNoRequest) {
  const auto error = [](std::string_view id, int code, std::string_view message) {
    return R"({"jsonrpc":"2.0","id":)" + std::string(id) + R"(,"error":{"code":)" +
           std::to_string(code) + R"(,"message":")" + std::string(message) + "\"}}";
  };
  const auto payload = error("null", -32600, "unrecognized protocol payload");
  for (const std::string& body :
       {std::string(), std::string("{"), std::string("3"), std::string("{} {}"),
        std::string(100'000, '['), std::string("\"\\q\"")}) {
    EXPECT_EQ(post(body).status, "400 Bad Request");
    EXPECT_EQ(ask(body), payload);
  }
  const std::tuple<const char*, const char*, int, const char*> cases[] = {
      {"{}", "null", -32600, "invalid request: missing method"},
      {R"({"id":4})", "4", -32600, "invalid request: missing method"},
      {R"({"id":4,"method":3})", "4", -32600, "invalid request: the method is no text"},
      {R"({"id":{},"method":"ping"})", "null", -32600,
       "invalid request: an id is a number or a text"},
      {R"({"id":4,"jsonrpc":"1.0","method":"ping"})", "4", -32600,
       "invalid request: not JSON-RPC 2.0"},
      {R"({"id":4,"method":"ping","params":[]})", "4", -32602, "params must be an object"},
      {R"({"id":4,"method":"no/such"})", "4", -32601, "method not found: no/such"},
      {R"({"id":4,"method":"tools/call"})", "4", -32602, "tools/call needs a tool's name"},
      {R"({"id":4,"method":"tools/call","params":{"name":"ping","arguments":[]}})", "4", -32602,
       "arguments must be an object"},
      {R"({"id":1234567890123456789012345678901234567890,"method":"x"})",
       "1234567890123456789012345678901234567890", -32601, "method not found: x"},
  };
  for (const auto& [body, id, code, message] : cases) {
    EXPECT_EQ(ask(body), error(id, code, message)) << body;
  }
  version_ = "1999-01-01";
  EXPECT_EQ(post(Message("ping")).status, "400 Bad Request");
}

TEST_F(McpTest, AnswersNotificationsAndBatches) {
  for (const char* silent : {R"({"method":"notifications/cancelled","params":{"requestId":9}})",
                             R"({"id":1,"result":{}})", R"([{"method":"notifications/x"}])"}) {
    EXPECT_EQ(post(silent).status, "202 Accepted") << silent;
    EXPECT_EQ(ask(silent), "");
  }
  EXPECT_EQ(
      ask("[" + Message("ping") + R"(,{"method":"notifications/x"},3])"),
      R"([{"jsonrpc":"2.0","id":1,"result":{}},{"jsonrpc":"2.0","id":null,"error":{"code":-32600,"message":"invalid request: not an object"}}])");
  EXPECT_NE(ask("[]").find("an empty batch"), std::string::npos);
  std::string many = "[" + Message("ping");
  for (int i = 0; i < 100; ++i) many += "," + Message("ping");
  EXPECT_NE(ask(many + "]").find("more than 100"), std::string::npos);
  (void)ask(Message("initialize", R"(,"params":{"protocolVersion":"2025-06-18"})"));
  EXPECT_NE(ask("[" + Message("ping") + "]").find("has no batches"), std::string::npos);
}

TEST_F(McpTest, GivesANewClientItsSession) {
  session_.clear();
  const std::string id = post(Message("initialize")).session;
  EXPECT_EQ(id.size(), 32U);
  EXPECT_NE(post(Message("initialize")).session, id);
  EXPECT_EQ(post(Message("ping")).session, "");
  session_ = id;
  EXPECT_EQ(post(Message("initialize")).session, "");
}

TEST_F(McpTest, ListsEveryToolWithASchemaOfItsFields) {
  const std::string list = ask(Message("tools/list"));
  const auto document = JsonDocument::scan(list);
  ASSERT_TRUE(document);
  const auto tools = document->root().find("result").find("tools").elements();
  ASSERT_EQ(tools.size(), 76U);
  EXPECT_EQ(tools[0].find("name").text(), "mrb.run");
  EXPECT_EQ(tools[68].find("name").text(), "job.trace");
  EXPECT_EQ(tools[75].find("name").text(), "term.close");
  for (const JsonValue& tool : tools) {
    const std::string name = tool.find("name").text();
    EXPECT_GT(tool.find("description").text().size(), 20U) << name;
    EXPECT_EQ(tool.find("inputSchema").find("type").text(), "object") << name;
    const Tool& row = *FindTool(name);
    EXPECT_EQ(tool.find("inputSchema").find("properties").members().size(), FieldsOf(row).size());
    // A place of the pattern that no field fills would be empty for ever.
    for (std::size_t at = 0; (at = row.pattern.find('%', at)) != std::string_view::npos;) {
      const auto end = row.pattern.find('%', at + 1);
      std::string place(row.pattern.substr(at + 1, end - at - 1));
      if (place.starts_with('?') || place.starts_with('@')) place.erase(0, 1);
      place = place.substr(0, place.find('='));
      EXPECT_TRUE(tool.find("inputSchema").find("properties").find(place).exists())
          << name << place;
      at = end + 1;
    }
  }
}

TEST_F(McpTest, BuildsTheCommands) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"mrb.run", R"({"command":" fs:cat x "})", " fs:cat x "},
      {"mrb.query", R"j({"expression":"name() == \"*.c|(\""})j", "?( name() == \"*.c|(\" )"},
      {"mrb.query", R"j({"expression":"?( body(\"x\") )","store":"/a b"})j",
       "?( body(\"x\") ) --store=/a b"},
      {"find", R"({"name":"*.cpp","keyword":"pars*"})", "find name:*.cpp keyword:pars*"},
      {"find", R"({"keyword":"k"})", "find name:* keyword:k"},
      {"fs.read", R"({"path":"a b.txt"})", "fs:cat <path>a b.txt</path>"},
      {"fs.list", R"({"path":"src"})", "fsstat:list src"},
      {"fs.write", R"({"path":"p","content":" x\n</content>\n"})",
       "fsmk:file <path>p</path><content> x\n</content>\n</content>"},
      {"fs.move", R"({"src":"a","dst":"b"})", "fs:move a b"},
      {"fs.move", R"({"src":"a b","dst":"c"})", "fs:move <src>a b</src><dst>c</dst>"},
      {"vc.diff", R"({"path":"p","a":1,"b":"2"})", "fsvctl:diff <path>p</path><a>1</a><b>2</b>"},
      {"vc.diff", R"({"path":"p"})", "fsvctl:diff <path>p</path>"},
      {"vc.revert", R"({"path":"p","version":3})",
       "fsvctl:revert <path>p</path><version>3</version>"},
      {"vc.open_version", R"({"path":"p","version":3})",
       "fsvctl:open <path>p</path><version>3</version>"},
      {"enroll", R"({"directory":"/d"})", "Mirebolt EnrollVersionControl /d"},
      {"memory.add", R"({"context":"n","topic":"t","content":"a, {b\nc","keywords":"x,y"})",
       "memory.add mcp, {n}, t, x y, a, {b\nc"},
      {"memory.addmemo", R"({"context":["a","b"],"topic":"t","content":"c","props":null})",
       "memory.addmemo mcp, {a,b}, t, -, -, c"},
      {"memory.search", R"({"query":"a b"})", "memory.search mcp, *, a b"},
      {"memory.search", R"({"query":"q","context":"{a,b}"})", "memory.search mcp, {a,b}, q"},
      {"memory.recent", R"({"context":"n"})", "memory.recent mcp, n"},
      {"memory.recent", R"({"context":"n","n":5})", "memory.recent mcp, n, 5"},
      {"memory.w5find", R"({"context":"n","web":"when","term":"2023"})",
       "memory.when mcp, n, 2023"},
      {"memory.archive", R"({"context":"n","undo":true})", "memory.unarchive mcp, n"},
      {"memory.archive", R"({"context":"n","undo":false})", "memory.archive mcp, n"},
      {"memory.embed", R"({"context":"n"})", "memory.embed mcp, n, status"},
  };
  for (const auto& [tool, arguments, command] : cases) {
    EXPECT_EQ(call(tool, arguments), "mcp|" + std::string(command) + "|/w") << tool;
  }
}

TEST_F(McpTest, RunsNothingThatIsNotMeantAsItStands) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"no.such", "{}", "unknown tool 'no.such' — call tools/list"},
      {"fs.write", R"({"path":"p"})",
       "cannot call fs.write. Missing required argument(s): content This tool takes: path, content "
       "— "
       "nothing run."},
      {"fs.read", R"({"mode":1,"x":2})",
       "cannot call fs.read. Missing required argument(s): path Unknown argument(s): mode, x This "
       "tool takes: path, offset — nothing run."},
      {"memory.delete", R"({"context":"a,b","topic":["t"]})",
       "cannot call memory.delete. Wrong value(s): context must not hold a comma or a brace; topic "
       "takes a string This tool takes: context, topic — nothing run."},
      {"vc.revert", R"({"path":"a</path><path>b","version":-1})",
       "cannot call vc.revert. Wrong value(s): path must not hold \"</\"; version takes a whole "
       "number This tool takes: path, version — nothing run."},
      {"memory.w5find", R"({"context":"n","web":"how","term":"x"})",
       "cannot call memory.w5find. Wrong value(s): web is one of: who, when, where, why This tool "
       "takes: context, web, term, offset — nothing run."},
      {"job.stop", R"({"jobid":"7"})", "'job.stop' is not available in this build"},
      {"mrb.script", "{}",
       "v2 script statements don't ride the MCP lane — run the equivalent as discrete mrb.run "
       "commands."},
      {"term.list", "{}", "terminal not wired"},
      {"chat.say", R"({"text":"x"})", "chat not wired"},
  };
  for (const auto& [tool, arguments, text] : cases) {
    EXPECT_EQ(call(tool, arguments), "!ERROR: " + std::string(text));
  }
  for (const char* full : {R"j(name()==\"a\" | name()==\"b\")j", "name", R"j(!name(\"a\"))j",
                           R"j(name(\"a\") && name(\"b\"))j", "*.cpp", "name()==*", ""}) {
    EXPECT_TRUE(call("mrb.query", R"({"expression":")" + std::string(full) + "\"}")
                    .starts_with("!ERROR: full ?( ) expressions don't ride the MCP lane."));
  }
  trusted_ = false;
  EXPECT_EQ(call("mrb.run", R"({"command":"x"})"), "!ERROR: this connection may not run commands");
  EXPECT_EQ(bridge_.calls, 0);
}

TEST_F(McpTest, AnswersAreJsonWhateverTheyHold) {
  bridge_.reply = std::string("a\xff\"\\\x01\0b", 7);
  EXPECT_EQ(call("mrb.run", R"({"command":"x"})"), std::string("a\xef\xbf\xbd\"\\\x01\0b", 9));
  bridge_.reply = "ERROR: no";
  EXPECT_EQ(call("fs.read", R"({"path":"x"})"), "!ERROR: no");
  bridge_.reply.clear();
  EXPECT_NE(call("mrb.run", R"({"command":"throw"})").find("-32603"), std::string::npos);
}

TEST_F(McpTest, AgentsTalkWithEachOther) {
  const test::TempFolder folder;
  std::atomic<std::uint64_t> now = 3'723'000;
  chat::Hub hub({.files = &platform::SystemFiles(),
                 .folder = folder.path(),
                 .now = [&] { return now.load(); },
                 .type_into_terminal = {}});
  McpService mcp({.bridge = &bridge_, .hub = &hub, .chat_wait = std::chrono::milliseconds(0)});
  const auto as = [&](std::string_view session, std::string_view tool, std::string_view arguments) {
    const std::string body =
        Message("tools/call", R"(,"params":{"name":")" + std::string(tool) + R"(","arguments":)" +
                                  std::string(arguments) + "}");
    const std::string answer = mcp.answer({body, true, CallerFolder::known("/w"), session}).body;
    const auto document = JsonDocument::scan(answer);
    return document->root().find("result").find("content").elements().at(0).find("text").text();
  };
  const std::string name = Message("initialize", R"(,"params":{"clientInfo":{"name":"coder"}})");
  for (const char* session : {"a", "b"})
    (void)mcp.answer({name, true, CallerFolder::known("/w"), session});
  EXPECT_EQ(as("a", "chat.say", R"({"text":"who is there?"})"), "posted");
  EXPECT_EQ(
      as("b", "chat.read", "{}"),
      "OK: 1 message(s) on general (UTC), you are 'coder-2'\n  01:02:03  coder: who is there?");
  EXPECT_EQ(as("b", "chat.read", "{}"),
            "OK: nothing new on general; call again to go on listening");
  EXPECT_EQ(as("b", "chat.say", R"({"text":"me","channel":"@coder"})"), "posted");
  EXPECT_EQ(as("a", "chat.read", R"({"channel":"@coder-2"})"),
            "OK: 1 message(s) on @coder-2 (UTC), you are 'coder'\n  01:02:03  coder-2: me");
  EXPECT_EQ(as("none", "chat.say", R"({"text":"x","channel":"No"})"),
            "ERROR: a channel is 1 to 64 of a-z, 0-9, _ and -, or @ and a callsign");
}

TEST_F(McpTest, LongAnswersComeInPieces) {
  using namespace std::string_literals;
  std::string lines;
  for (int i = 0; i < 1000; ++i) lines += "line " + std::to_string(i) + "\n";
  std::string wide;
  for (int i = 0; i < 2000; ++i) wide += "\u20ac";
  const std::string full(1800, 'x');  // as much as one answer shows
  std::string mixed;
  for (const std::string_view part : {lines, wide, "\n"s, full, "\n"s, full, "x\n"s, wide, full})
    mixed += part;
  for (const std::string& whole : {lines, wide, mixed}) {
    bridge_.reply = whole;
    std::string read;
    for (std::string offset = "0"; !offset.empty();) {
      std::string piece = call("fs.read", R"({"path":"x","offset":)" + offset + "}");
      ASSERT_LE(piece.size(), 2000U);
      constexpr std::string_view kMark = "call again with offset=";
      const auto mark = piece.find(kMark);
      offset = "";
      if (mark != std::string::npos) {
        offset = piece.substr(mark + kMark.size(), piece.size() - mark - kMark.size() - 1);
        const auto note = piece.rfind('[', mark);
        const bool goes_on = piece.compare(note, 19, "[this line goes on;") == 0;
        piece.resize(note - (goes_on ? 1 : 0));
      }
      read += piece;
    }
    EXPECT_EQ(read, whole);
  }
  bridge_.reply = lines;
  EXPECT_NE(call("mrb.run", R"({"command":"x"})").find(": ask for less]"), std::string::npos);
  EXPECT_EQ(call("fs.read", R"({"path":"x","offset":5000})"),
            "[nothing from line 5000 on: the answer has 1000 line(s)]");
  EXPECT_EQ(SizedAnswer("", 0, 2000, true), "");
  EXPECT_EQ(SizedAnswer(full.substr(0, 500), 0, 10, true), full.substr(0, 500));
  std::string endless;
  endless.resize(30'000'000, 'x');
  const std::string first = SizedAnswer(endless + "\nlast", 0, 2000, true);
  EXPECT_TRUE(
      first.ends_with("x\n[this line goes on; 16667 more line(s), 29998205 bytes: call "
                      "again with offset=1]"))
      << first.substr(1700);
  EXPECT_EQ(SizedAnswer(std::string(5000, '\x80'), 0, 2000, true).substr(0, 1800),
            std::string(1800, '\x80'));
}

}  // namespace
}  // namespace mrb::mcp
