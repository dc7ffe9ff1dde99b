#include <gtest/gtest.h>

#include <fstream>

#include "server/http/interpreter_bridge.h"
#include "server/http/listen_retry.h"
#include "server/routes/console_tail.h"
#include "server/routes/route_table.h"
#include "temp_folder.h"

namespace mrb::server {
namespace {

/// Answers with what it was told.
class EchoBridge final : public InterpreterBridge {
 public:
  void execute(std::string_view bot, std::string_view command, std::string& answer) override {
    if (command == "throw") throw std::bad_alloc();
    const CallSettings& settings = CurrentCallSettings();
    answer.append(bot).append("|").append(command).append("|").append(settings.folder.path);
    answer += settings.terminal ? "|tty" : "|";
  }
};

class RoutesTest : public testing::Test {
 protected:
  RoutesTest() {
    options_.install_home = folder_.path();
    options_.bridge = &bridge_;
  }

  /// `who`: "local", "page" (a stranger's, in a browser here) or "outside" (with a narrow session).
  Response ask(const std::string& line, const std::string& body = "",
               const std::string& headers = "", const std::string& who = "local") {
    const std::string head = line + " HTTP/1.1\r\n" + headers + "\r\n";
    Request request;
    request.head = head;
    request.line = ParseRequestLine(head);
    request.body = body;
    request.loopback = who != "outside";
    request.trusted = who == "local";
    return AnswerRequest(request, {options_, platform::SystemFiles(), {}});
  }

  std::string inbox(const std::string& off) {
    return ask("GET /console/tail?bot=b1&off=" + off).body;
  }

  test::TempFolder folder_;
  EchoBridge bridge_;
  ServerOptions options_;
};

TEST_F(RoutesTest, AnswersHealthAndShutdown) {
  EXPECT_EQ(ask("GET /health").body, R"({"ok":true,"app":"Mirebolt","version":"2.0.0"})");
  EXPECT_EQ(ask("HEAD /health").status, "404 Not Found");
  const Response bare = ask("POST /shutdown", "", "X-Mrb-Control: Shutdown\r\n");
  EXPECT_EQ(bare.status, "403 Forbidden");
  EXPECT_EQ(bare.body, R"({"ok":false,"error":"missing X-Mrb-Control: shutdown"})");
  EXPECT_FALSE(bare.close_resident);
  const Response done = ask("POST /shutdown", "", "X-MRB-Control: shutdown\r\n");
  EXPECT_EQ(done.body, R"({"ok":true,"app":"Mirebolt","version":"2.0.0","shutting_down":true})");
  EXPECT_TRUE(done.close_resident);
}

TEST_F(RoutesTest, ExecutesConsoleCommands) {
  EXPECT_EQ(ask("POST /console/exec?bot=c%22i", ">memory.list mybot\r\n\n").body,
            R"({"ok":true,"bot":"c\"i","out":"c\"i|memory.list mybot||"})");
  EXPECT_EQ(
      ask("POST /console/exec?bot=cli&cmd=a+b", "", "X-Mrb-Cwd: /w d\r\nX-Mrb-Tty: 1\r\n").body,
      R"({"ok":true,"bot":"cli","out":"cli|a b|/w d|tty"})");
  EXPECT_EQ(ask("POST /console/exec?bot=cli", ">>x", "X-Mrb-Tty: 11\r\n").body,
            R"({"ok":true,"bot":"cli","out":"cli|>x||"})");
  EXPECT_TRUE(CurrentCallSettings().folder == CallerFolder());
  for (const char* empty : {"", "\r\n", ">", ">\n"}) {
    EXPECT_EQ(ask("POST /console/exec?bot=cli", empty).body,
              R"({"ok":false,"error":"bot and command required"})");
  }
  EXPECT_EQ(ask("POST /console/exec", "x").status, "400 Bad Request");
  EXPECT_EQ(ask("POST /console/exec?bot=b", std::string(1048576, 'x') + "\n").status, "200 OK");
  const Response large = ask("POST /console/exec?bot=b", std::string(1048577, 'x'));
  EXPECT_EQ(large.status, "413 Payload Too Large");
  EXPECT_EQ(large.body, R"x({"ok":false,"error":"command too large (limit 1 MiB)"})x");
  EXPECT_EQ(ask("POST /console/exec?bot=b", "throw").status, "500 Internal Server Error");
  options_.bridge = nullptr;
  EXPECT_EQ(ask("POST /console/exec?bot=b", "x").body,
            R"({"ok":false,"error":"interpreter bridge not wired"})");
}

TEST_F(RoutesTest, InterpretsPlainText) {
  EXPECT_EQ(ask("GET /interp?cmd=a%0A", "", "X-Mrb-Cwd: /w\r\n").body, "mcp|a\n||");
  EXPECT_EQ(ask("POST /interp?bot=b", "from body").body, "b|from body||");
  EXPECT_EQ(ask("GET /interp").status, "400 Bad Request");
  EXPECT_EQ(ask("GET /interp").body, "cmd required (query ?cmd= or POST body)");
  EXPECT_EQ(ask("PUT /interp?cmd=a").body, "not found");
}

TEST_F(RoutesTest, FollowsAnInbox) {
  EXPECT_EQ(inbox("7"), R"({"ok":true,"off":0,"data":""})");
  std::filesystem::create_directories(folder_.path("bots") + "/b1");
  std::ofstream(folder_.path("bots") + "/b1/inbox.log", std::ios::binary) << "one\ntwo\n";
  EXPECT_EQ(inbox(""), R"({"ok":true,"off":8,"data":"one\ntwo\n"})");
  EXPECT_EQ(inbox("4"), R"({"ok":true,"off":8,"data":"two\n"})");
  EXPECT_EQ(inbox("8"), R"({"ok":true,"off":8,"data":""})");
  EXPECT_EQ(inbox("9"), R"({"ok":true,"off":8,"data":"one\ntwo\n"})");
  EXPECT_EQ(inbox("-1"), R"({"ok":true,"off":8,"data":"one\ntwo\n"})");
  for (const char* outside : {"..%2Fbots%2Fb1", ".", "b1%2F", "%5Cb1"}) {
    EXPECT_EQ(ask(std::string("GET /console/tail?bot=") + outside).body,
              R"({"ok":true,"off":0,"data":""})");
  }
  EXPECT_EQ(ask("GET /console/tail").body, R"({"ok":false,"error":"bot required"})");
}

TEST_F(RoutesTest, CutsALongTailAtALine) {
  const std::string path = folder_.path("inbox.log");
  const auto tail = [&](const std::string& text, std::uint64_t offset) {
    std::ofstream(path, std::ios::binary) << text;
    return ReadFileTail(platform::SystemFiles(), path, offset).text;
  };
  const std::string full = "ab\n" + std::string(kMaxTail - 3, 'x');
  EXPECT_EQ(tail(full, 0), full);
  EXPECT_EQ(tail("y" + full, 0), full.substr(3));
  EXPECT_EQ(tail("y" + full, 1), full);
  EXPECT_EQ(tail("y\n" + std::string(kMaxTail, 'x'), 0).size(), kMaxTail);
}

TEST_F(RoutesTest, KeepsStrangersOut) {
  struct Case {
    const char* line;
    const char* message;
  };
  for (const Case& c : {
           Case{"POST /shutdown", "loopback only"},
           Case{"POST /console/exec?bot=b&cmd=c", "/console/exec is loopback-only"},
           Case{"GET /console/tail?bot=b", "/console/tail is loopback-only"},
           Case{"GET /vc/dirs", "/vc/dirs is loopback-only"},
           Case{"POST /vc/add", "/vc/add is loopback-only"},
           Case{"GET /term/list", "loopback only"},
           Case{"POST /jobs", "job control is loopback-only"},
       }) {
    for (const char* who : {"page", "outside"}) {
      const Response refused = ask(c.line, "", "X-Mrb-Control: shutdown\r\n", who);
      EXPECT_EQ(refused.status, "403 Forbidden") << c.line;
      EXPECT_EQ(refused.type, "application/json") << c.line;
      EXPECT_EQ(refused.body, std::string(R"({"ok":false,"error":")") + c.message + "\"}");
      EXPECT_FALSE(refused.close_resident);
    }
  }
  const Response text = ask("GET /interp?cmd=a", "", "", "page");
  EXPECT_EQ(text.type, "text/plain");
  EXPECT_EQ(text.body, "interp is loopback-only");
  EXPECT_EQ(ask("GET /health", "", "", "page").status, "200 OK");
  EXPECT_EQ(ask("POST /jobs").body, "not found");
}

TEST_F(RoutesTest, PassesJsonRpcOn) {
  for (const char* path : {"/", "/rpc", "/mcp"}) {
    EXPECT_EQ(ask(std::string("POST ") + path, "{}").body,
              R"({"ok":false,"error":"MCP is not available in this build"})");
    EXPECT_EQ(ask(std::string("POST ") + path, "{}", "", "page").status, "403 Forbidden");
  }
  options_.json_rpc = [](const JsonRpcCall& call) {
    return JsonRpcAnswer{
        .status = "202 Accepted",
        .body = std::string(call.body) + (call.trusted ? "+" : "-") + call.folder.path};
  };
  EXPECT_EQ(ask("POST /rpc", "b", "X-Mrb-Cwd: /w\r\n").body, "b+/w");
  EXPECT_EQ(ask("POST /rpc", "b", "", "outside").body, "b-");
  EXPECT_EQ(ask("POST /rpc", "b").status, "202 Accepted");
}

TEST_F(RoutesTest, GivesTheFixedAnswers) {
  const std::string banner =
      "Mirebolt MCP server — POST JSON-RPC 2.0 to /mcp. Call tools/list to begin.";
  EXPECT_EQ(ask("GET /mcp").body, banner);
  EXPECT_EQ(ask("GET /mcp", "", "Accept: text/event-stream, application/json\r\n").body, banner);
  EXPECT_EQ(ask("GET /mcp", "", "Accept: Text/Event-Stream;q=1\r\n").status,
            "405 Method Not Allowed");
  EXPECT_EQ(ask("GET /mirenode/x").status, "503 Service Unavailable");
  EXPECT_EQ(ask("GET /mirenode/").body,
            R"({"ok":false,"error":"mirenode is disabled in this build"})");
  EXPECT_EQ(ask("GET /nowhere").body, "not found");
  EXPECT_EQ(ask("GET /nowhere").type, "text/plain");
}

TEST(ListeningTest, RetriesABusyPortForTwoMinutes) {
  int tries = 0;
  std::string log;
  const auto open = [&](int free_at, int stop_at) {
    tries = 0;
    log.clear();
    int pauses = 0;
    return OpenListener(9999, {[&]() -> Result<platform::Listener> {
                                 if (++tries == free_at) return platform::Listener();
                                 return std::unexpected(Error{ErrorKind::kBusy, "taken", 98});
                               },
                               [&](std::chrono::milliseconds pause) {
                                 EXPECT_EQ(pause.count(), 500);
                                 return ++pauses != stop_at;
                               },
                               [&](std::string_view line) { log += line; }});
  };
  const std::string busy =
      "chat: bind() on port 9999 failed (err 98) — port in use (TIME_WAIT from a previous "
      "instance, "
      "or another spawn). retrying for up to 120s...\n";
  EXPECT_TRUE(open(1, 0));
  EXPECT_EQ(log, "");
  EXPECT_TRUE(open(6, 0));
  EXPECT_EQ(log, busy + "chat: bind() succeeded after 2s\n");
  EXPECT_FALSE(open(0, 0));
  EXPECT_EQ(tries, 241);
  EXPECT_EQ(log, busy +
                     "chat: bind() still failing after 120s — another Mirebolt spawn is probably "
                     "serving. giving up.\n");
  EXPECT_FALSE(open(0, 3));
  EXPECT_EQ(log, busy);
}

}  // namespace
}  // namespace mrb::server
