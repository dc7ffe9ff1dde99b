#include "server/terminals/terminals.h"

#include <gtest/gtest.h>

#include <array>
#include <future>
#include <set>

#include "common/json_scan.h"
#include "platform/paths.h"
#include "server/routes/route_table.h"
#include "temp_folder.h"

namespace mrb::server {
namespace {

/// The routes over real sessions. What speaks to a shell needs a POSIX one.
class TerminalsTest : public testing::Test {
 protected:
  TerminalsTest() {
    TerminalOptions options;
    options.files = &platform::SystemFiles();
    options.saved_hosts = folder_.path("config") + "/hosts";
    options.log = [this](std::string_view line) { log_ += line; };
    options.post = [this](const TerminalPost& post) {
      const std::scoped_lock lock(mutex_);
      posts_.append(post.bot).append("<").append(post.text);
    };
    options.most = 12;
    terminals_ = std::make_unique<Terminals>(std::move(options));
    server_options_.terminals = terminals_.get();
  }

  void SetUp() override {
    if (platform::SystemPathStyle() == platform::PathStyle::kWindows) {
      GTEST_SKIP() << "speaks to a POSIX shell";
    }
  }

  Response answer(const std::string& target, const std::string& body = "") {
    const std::string head = "POST /term/" + target + " HTTP/1.1\r\n\r\n";
    Request request;
    request.head = head;
    request.line = ParseRequestLine(head);
    if (request.line.path == "/term/read") request.line.method = "GET";
    request.body = body;
    request.trusted = true;
    return AnswerRequest(request, {server_options_, platform::SystemFiles(), {}});
  }
  std::string ask(const std::string& target, const std::string& body = "") {
    return answer(target, body).body;
  }

  static std::string field(const std::string& body, std::string_view name) {
    const auto document = JsonDocument::scan(body);
    if (!document) return "NO JSON: " + body;
    const JsonValue value = document->root().find(name);
    return value.is(JsonValue::Kind::kString) ? value.text() : std::string(value.raw());
  }

  std::string open(const std::string& command, const std::string& query = "") {
    return field(ask("open?" + query, command), "id");
  }

  /// Everything the session has shown once it shows `text`.
  std::string shown(const std::string& id, const std::string& text) {
    std::string all;
    for (std::string since = "0";;) {
      const std::string body =
          ask(std::string("read?wait=10000&id=").append(id).append("&since=").append(since));
      all += field(body, "data");
      since = field(body, "len");
      if (all.find(text) != std::string::npos) return all;
      if (field(body, "alive") != "true") return "NEVER SHOWN: " + all;
    }
  }

  test::TempFolder folder_;
  std::mutex mutex_;
  std::string log_;
  std::string posts_;
  std::unique_ptr<Terminals> terminals_;
  ServerOptions server_options_;
};

constexpr const char* kNone = R"({"ok":false,"error":"no such session"})";
constexpr const char* kNoneAlive = R"({"ok":false,"error":"no such session or ended"})";
constexpr const char* kDone = R"({"ok":true})";

TEST_F(TerminalsTest, RunsASessionFromOpenToClose) {
  const std::string id = open("cat", "cols=5&rows=5000");
  EXPECT_TRUE(id.starts_with("t1-")) << id;
  EXPECT_EQ(ask("send?id=" + id + "&data=a+b"), kDone);
  EXPECT_EQ(shown(id, "a b\r\na b\r\n"), "a b\r\na b\r\n");
  EXPECT_EQ(ask("send?id=" + id + "&raw=1", "\xC3\xA4\xFF\x04\x04"), kDone);
  const std::string all = shown(id, "ended, exit 0");
  EXPECT_EQ(all,
            "a b\r\na b\r\n\xC3\xA4\xEF\xBF\xBD\xC3\xA4\xEF\xBF\xBD\n[session ended, exit 0]\n");
  EXPECT_EQ(field(ask("read?id=" + id + "&since=999999"), "data"), "");
  EXPECT_EQ(ask("send?id=" + id + "&data=x"), kNoneAlive);
  EXPECT_EQ(ask("resize?id=" + id), kNoneAlive);
  EXPECT_EQ(ask("exec?id=" + id + "&data=x"), kNone);
  EXPECT_EQ(ask("list"), R"({"ok":true,"sessions":[{"id":")" + id +
                             R"(","name":"","cmd":"cat","alive":false}]})");
  EXPECT_EQ(ask("close?id=" + id), kDone);
  for (const char* route : {"close", "read", "exec", "name"}) {
    EXPECT_EQ(ask(std::string(route) + "?id=" + id), kNone) << route;
  }
  EXPECT_EQ(ask("send?id=" + id), kNoneAlive);
  EXPECT_EQ(ask("list"), R"({"ok":true,"sessions":[]})");
  EXPECT_EQ(ask("open", "no-such-program secret"), R"({"ok":false,"error":"spawn failed"})");
  EXPECT_TRUE(log_.contains("[term] a terminal could not be opened: ")) << log_;
  EXPECT_FALSE(log_.contains("no-such-program") || log_.contains("secret")) << log_;
}

TEST_F(TerminalsTest, ExecutesInAShell) {
  const std::string id = open("sh");
  const auto exec = [&](const std::string& command, const std::string& more = "") {
    return ask("exec?id=" + id + more, command);
  };
  EXPECT_EQ(exec("stty size"), R"({"ok":true,"output":"30 120\r\n","exitCode":0})");
  EXPECT_EQ(ask("resize?cols=77&rows=6&id=" + id), kDone);
  EXPECT_EQ(exec("stty size; (exit 7)"), R"({"ok":true,"output":"6 77\r\n","exitCode":7})");
  EXPECT_EQ(exec("printf abc", "&raw=1"), "abc");
  EXPECT_EQ(exec("echo on; sleep 60", "&timeout=300"),
            R"({"ok":false,"timedOut":true,"output":"on\r\n"})");
  EXPECT_EQ(ask("send?raw=1&id=" + id, "\x03"), kDone);
  EXPECT_EQ(field(exec("true"), "exitCode"), "0");
  // Served one after the other, each with its own answer; large output keeps its tail.
  std::array<std::future<std::string>, 8> answers;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    answers[i] = std::async(std::launch::async, [&exec, number = std::to_string(i)] {
      return exec(std::string("echo ").append(number).append("; (exit ").append(number) + ")");
    });
  }
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const std::string answer = answers[i].get();
    EXPECT_EQ(field(answer, "output"), std::to_string(i) + "\r\n");
    EXPECT_EQ(field(answer, "exitCode"), std::to_string(i));
  }
  const std::string tail = exec("yes | head -c 3000000; echo last", "&raw=1");
  EXPECT_TRUE(tail.ends_with("y\r\nlast\r\n"));
  EXPECT_LE(tail.size(), TerminalOutput::kMax);
  EXPECT_GE(tail.size(), TerminalOutput::kKept - 100);
  EXPECT_EQ(field(exec("exit 5"), "exitCode"), "5");
}

TEST_F(TerminalsTest, GivesNamesToOneLiveSessionEach) {
  const std::string first = open("cat");
  const std::string second = open("cat");
  const std::string taken = R"({"ok":false,"error":"name already in use"})";
  const std::string invalid =
      R"x({"ok":false,"error":"invalid name (1-32 chars, a-z0-9_- only)"})x";
  EXPECT_EQ(ask("name?name=Build-1&id=" + first), kDone);
  EXPECT_NE(ask("list").find(R"("name":"build-1")"), std::string::npos);
  EXPECT_EQ(ask("name?name=build-1&id=" + first), kDone);
  EXPECT_EQ(ask("name?name=BUILD-1&id=" + second), taken);
  EXPECT_EQ(answer("name?name=a+b&id=" + second).status, "400 Bad Request");
  EXPECT_EQ(ask("name?name=a+b&id=" + second), invalid);
  EXPECT_EQ(ask("name?name=" + std::string(33, 'a') + "&id=" + second), invalid);
  EXPECT_EQ(ask("send?raw=1&id=" + first, "\x04"), kDone);
  shown(first, "session ended");
  EXPECT_EQ(ask("name?name=build-1&id=" + second), kDone);
  EXPECT_EQ(ask("name?name=&id=" + second), kDone);
  EXPECT_EQ(ask("list").find("build-1\",\"cmd\":\"cat\",\"alive\":true"), std::string::npos);
}

TEST_F(TerminalsTest, KeepsAHostBook) {
  const std::string id = open("cat");
  EXPECT_EQ(ask("host/save?name=Web", "ssh \"w\"\n"), kDone);
  EXPECT_EQ(ask("host/save?name=me&from=" + id), kDone);
  EXPECT_EQ(ask("host/save?name=web&cmd=ssh+x"), kDone);
  EXPECT_EQ(ask("host/list"),
            R"({"ok":true,"hosts":[{"name":"web","cmd":"ssh x"},{"name":"me","cmd":"cat"}]})");
  EXPECT_EQ(ask("host/save?name=a+b&cmd=x"), R"({"ok":false,"error":"invalid host name"})");
  EXPECT_EQ(ask("host/save?name=a&from=t9-zzzzzz"), kNone);
  EXPECT_EQ(ask("host/save?name=a", " \n"), R"({"ok":false,"error":"cmdline required"})");
  EXPECT_EQ(ask("host/save?name=a", "b\nc"), R"({"ok":false,"error":"cmdline must be one line"})");
  EXPECT_EQ(ask("host/remove?name=WEB"), kDone);
  EXPECT_EQ(ask("host/remove?name=web"), R"({"ok":false,"error":"host not found"})");
  EXPECT_EQ(ask("open?host=web"), R"({"ok":false,"error":"no such host"})");
  EXPECT_EQ(terminals_->find(field(ask("open?host=ME"), "id"))->command_line(), "cat");
  std::filesystem::remove(folder_.path("config") + "/hosts");
  std::filesystem::create_directories(folder_.path("config") + "/hosts/x");
  EXPECT_EQ(ask("host/save?name=a&cmd=b"), R"({"ok":false,"error":"could not write host book"})");
}

TEST_F(TerminalsTest, SharesATerminalWithABot) {
  const std::string id = open("cat");
  EXPECT_EQ(ask("share?bot=b1"), R"({"ok":false,"error":"terminal id and bot required"})");
  EXPECT_EQ(ask("share?bot=b1&id=t9-x"), R"({"ok":false,"error":"no such terminal"})");
  EXPECT_EQ(terminals_->send_from_bot("", id, "x"), "ERROR: terminal is not shared with this bot");
  EXPECT_EQ(ask("share?bot=b1&id=" + id), R"({"ok":true,"id":")" + id + R"(","bot":"b1"})");
  EXPECT_EQ(terminals_->send_from_bot("b2", id, "x"),
            "ERROR: terminal is not shared with this bot");
  EXPECT_EQ(terminals_->send_from_bot("b1", "t9-x", "x"), "ERROR: no such terminal");
  EXPECT_EQ(terminals_->send_from_bot("b1", id, "\r\n"), "ERROR: empty terminal input");
  EXPECT_EQ(terminals_->send_from_bot("b1", id, "hello"), "OK: sent to " + id);
  EXPECT_EQ(ask("send?raw=1&id=" + id, "\x04"), kDone);
  shown(id, "session ended");
  EXPECT_EQ(terminals_->send_from_bot("b1", id, "x"), "ERROR: terminal session ended");
  EXPECT_EQ(ask("focus?query=x"), kDone);
  terminals_.reset();  // after which no post can come
  EXPECT_TRUE(posts_.starts_with(
      "b1<TERMINAL ATTACHED. You may read this terminal's private output and drive it.\nTo send "
      "one line without publishing it to chat, reply exactly:\n::term.send " +
      id + " "));
  EXPECT_NE(posts_.find("hello"), std::string::npos);
  EXPECT_TRUE(posts_.ends_with("b1<\n[session ended, exit 0]\n"));
}

TEST_F(TerminalsTest, MakesRoomOnlyAmongTheEnded) {
  std::set<std::string> ids;
  for (int i = 0; i < 12; ++i) ids.insert(open("cat"));
  EXPECT_EQ(ids.size(), 12U);
  EXPECT_EQ(ask("open", "cat"), R"({"ok":false,"error":"spawn failed"})");
  const std::string leaving = *ids.begin();
  EXPECT_EQ(ask("send?raw=1&id=" + leaving, "\x04"), kDone);
  shown(leaving, "session ended");
  EXPECT_TRUE(open("cat").starts_with("t13-"));
  EXPECT_EQ(ask("read?id=" + leaving), kNone);
  // A read and an exec that wait return when all is ended.
  const std::string waiting = *ids.rbegin();
  auto read = std::async(std::launch::async, [&] { return shown(waiting, "never"); });
  auto exec = std::async(std::launch::async, [&] { return ask("exec?data=x&id=" + waiting); });
  terminals_->end_all();
  EXPECT_TRUE(read.get().starts_with("NEVER SHOWN"));
  exec.get();
  EXPECT_EQ(ask("open", "cat"), R"({"ok":false,"error":"spawn failed"})");
}

}  // namespace
}  // namespace mrb::server
