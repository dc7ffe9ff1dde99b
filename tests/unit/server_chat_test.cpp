#include <gtest/gtest.h>

#include <string>

#include "chat/hub.h"
#include "server/routes/chat_sockets.h"
#include "server/routes/route_table.h"
#include "temp_folder.h"

namespace mrb::server {
namespace {

class FakeSocket : public WebSocketClient {
 public:
  FakeSocket(std::uint64_t id, bool trusted) : id_(id), trusted_(trusted) {}
  [[nodiscard]] std::uint64_t id() const override { return id_; }
  [[nodiscard]] bool trusted() const override { return trusted_; }
  bool send_text(std::string_view message) override {
    got_ += std::string(message) + "\n";
    return true;
  }
  std::string got() { return std::exchange(got_, {}); }

 private:
  std::uint64_t id_;
  bool trusted_;
  std::string got_;
};

class ChatTest : public testing::Test {
 protected:
  ChatTest() { options_.hub = &hub_; }

  std::string ask(const std::string& line, const std::string& body = "", bool trusted = true) {
    const std::string head = line + " HTTP/1.1\r\n\r\n";
    Request request;
    request.head = head;
    request.line = ParseRequestLine(head);
    request.body = body;
    request.trusted = trusted;
    const Response response = AnswerRequest(request, {options_, platform::SystemFiles(), {}});
    return (response.status == kOk ? "" : std::string(response.status) + " ") + response.body;
  }

  test::TempFolder folder_;
  chat::Hub hub_{{.files = &platform::SystemFiles(),
                  .folder = folder_.path(),
                  .now = [] { return std::uint64_t{5}; },
                  .type_into_terminal = [](auto, auto, auto) { return std::string("OK: sent"); }}};
  ChatSockets sockets_{hub_};
  ServerOptions options_;
  FakeSocket ann_{1, true};
  FakeSocket bob_{2, false};
};

TEST_F(ChatTest, SocketsTalk) {
  sockets_.message(ann_, "msg\nhello");
  EXPECT_EQ(ann_.got(), "{\"kind\":\"error\",\"text\":\"join first\"}\n");
  sockets_.message(ann_, "join\nann\n");
  EXPECT_EQ(
      ann_.got(),
      R"({"kind":"joined","callsign":"ann","channel":"general","next":0,"roster":[{"callsign":"ann","channel":"general","live":true}],"history":[]})"
      "\n");
  sockets_.message(bob_, "join\r\nbob\r\ngeneral\r\n");
  EXPECT_EQ(ann_.got(), "{\"kind\":\"join\",\"at\":5,\"channel\":\"general\",\"from\":\"bob\"}\n");
  (void)bob_.got();
  sockets_.message(bob_, "msg\ntwo\nlines");
  const std::string record =
      R"({"kind":"msg","seq":1,"at":5,"channel":"general","from":"bob","text":"two\nlines"})"
      "\n";
  EXPECT_EQ(ann_.got(), record);
  EXPECT_EQ(bob_.got(), record);
  sockets_.message(ann_, "dm\nbob\npsst");
  const std::string direct = R"({"kind":"dm","seq":1,"at":5,"from":"ann","to":"bob","text":"psst"})"
                             "\n";
  EXPECT_EQ(ann_.got(), direct);
  EXPECT_EQ(bob_.got(), direct);
  // A guest from outside talks where everybody hears it.
  for (const char* secret : {"dm\nann\nx", "msg\n::term.send t1 rm"}) {
    sockets_.message(bob_, secret);
    EXPECT_EQ(bob_.got(), "{\"kind\":\"error\",\"text\":\"not allowed from here\"}\n");
  }
  sockets_.message(ann_, "msg\n::term.send t1 ls");
  EXPECT_EQ(ann_.got(), "{\"kind\":\"answer\",\"text\":\"OK: sent\"}\n");
  sockets_.message(ann_, "join\nann\nBad Channel");
  EXPECT_NE(ann_.got().find("\"kind\":\"error\""), std::string::npos);
  sockets_.message(ann_, "what");
  EXPECT_NE(ann_.got().find("unknown frame"), std::string::npos);
  sockets_.leave(bob_);
  EXPECT_EQ(ann_.got(), "{\"kind\":\"leave\",\"at\":5,\"channel\":\"general\",\"from\":\"bob\"}\n");
}

TEST_F(ChatTest, RoutesTalkToo) {
  EXPECT_EQ(ask("POST /chat/say?from=ann", "hi"), R"({"ok":true,"seq":1})");
  const std::string message =
      R"({"kind":"msg","seq":1,"at":5,"channel":"general","from":"ann","text":"hi"})";
  EXPECT_EQ(ask("GET /chat/next?as=bob"),
            R"({"ok":true,"channel":"general","next":1,"missed":0,"messages":[)" + message + "]}");
  EXPECT_EQ(ask("GET /chat/next?since=1&wait=0"),
            R"({"ok":true,"channel":"general","next":1,"missed":0,"messages":[]})");
  EXPECT_EQ(ask("GET /chatlog?channel=general"),
            R"({"ok":true,"channel":"general","messages":[)" + message + "]}");
  EXPECT_EQ(ask("GET /roster"),
            R"({"ok":true,"roster":[{"callsign":"bob","channel":"general","live":false}]})");
  EXPECT_EQ(ask("GET /channels"), R"({"ok":true,"channels":[{"channel":"general","members":1}]})");
  EXPECT_EQ(ask("POST /dm/thread?me=ann&with=bob", "x"), R"({"ok":true,"seq":1})");
  EXPECT_EQ(
      ask("GET /dm/thread?me=bob&with=ann"),
      R"({"ok":true,"channel":"@ann","next":1,"missed":0,"messages":[{"kind":"dm","seq":1,"at":5,"from":"ann","to":"bob","text":"x"}]})");
  EXPECT_EQ(ask("POST /chat/say?from=ann"),
            R"(400 Bad Request {"ok":false,"error":"text required"})");
  EXPECT_EQ(ask("POST /chat/say?from=ann", "::term.send t1 ls"),
            R"({"ok":true,"answer":"OK: sent"})");
  EXPECT_EQ(ask("GET /chatlog?channel=../x").substr(0, 3), "400");
  for (const char* secret : {"GET /dm/thread?me=bob&with=ann", "GET /chat/next?as=bob&channel=@ann",
                             "POST /chat/say?channel=@ann&text=x"}) {
    EXPECT_EQ(ask(secret, "", false).substr(0, 3), "403") << secret;
  }
  options_.hub = nullptr;
  EXPECT_EQ(ask("GET /roster"), "404 Not Found not found");
}

}  // namespace
}  // namespace mrb::server
