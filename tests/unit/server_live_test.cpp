#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "common/parallel.h"
#include "platform/peer_identity.h"
#include "platform/sockets.h"
#include "server/http/chat_layer.h"
#include "server/http/connection_threads.h"
#include "server/http/interpreter_bridge.h"
#include "server/http/lingering_closer.h"
#include "server/http/websocket_frame.h"
#include "server/routes/route_table.h"
#include "server/routes/server.h"
#include "temp_folder.h"

namespace mrb::server {
namespace {

constexpr std::chrono::seconds kPatience{20};  // how long a test waits before it calls it a failure

/// A peer on this machine.
class Client {
 public:
  explicit Client(std::uint16_t port) {
    auto connected = platform::Socket::connect_loopback(port, kPatience);
    if (connected) socket_ = std::move(*connected);
  }

  Client& send(std::string_view bytes) {
    (void)socket_.send_all(bytes);
    return *this;
  }

  /// At least `bytes`, or until the other side ends; "TIMEOUT" when neither comes.
  std::string receive(std::size_t bytes = std::string::npos) {
    std::string all;
    char piece[4096];
    while (all.size() < bytes) {
      const auto got = socket_.receive(piece, sizeof piece);
      if (!got && got.error().kind == ErrorKind::kTimedOut) return "TIMEOUT";
      if (!got || *got == 0) break;
      all.append(piece, *got);
    }
    return all;
  }

  std::string status() {
    const std::string answer = receive();
    return answer.substr(0, answer.find('\r'));
  }

  std::string body() {
    const std::string answer = receive();
    const auto end = answer.find("\r\n\r\n");
    return end == std::string::npos ? "NO ANSWER: " + answer : answer.substr(end + 4);
  }

  void end_sending() { socket_.shutdown_send(); }
  void close() { socket_ = {}; }

 private:
  platform::Socket socket_;
};

/// Lets a test wait for something that another thread does.
class Signal {
 public:
  void add() {
    const std::scoped_lock lock(mutex_);
    ++count_;
    changed_.notify_all();
  }
  bool reached_already(int count) {
    const std::scoped_lock lock(mutex_);
    return count_ >= count;
  }
  bool reached(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return count_ >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
};

/// Answers with the command's length; "wait" waits for the test.
class LengthBridge final : public InterpreterBridge {
 public:
  void execute(std::string_view /*bot*/, std::string_view command, std::string& answer) override {
    if (command == "wait") {
      started.add();
      go.reached(1);
    }
    answer = std::to_string(command.size());
    ++executed;
  }
  std::atomic<int> executed = 0;
  Signal started;
  Signal go;
};

/// Says what the test wants of every peer.
class FakeIdentity final : public platform::PeerIdentity {
 public:
  platform::PeerOwner client_of(const platform::Socket& /*accepted*/) override {
    return {kind.load(), {}, reason};
  }
  platform::ServerIdentity server_of(const platform::Socket& /*connected*/) override { return {}; }
  std::atomic<platform::PeerOwner::Kind> kind = platform::PeerOwner::Kind::kOwnUser;
  std::string reason;
};

/// Sends every message back and tells of departures.
class EchoChat final : public ChatLayer {
 public:
  void message(WebSocketClient& client, std::string_view text) override {
    client.send_text("#" + std::to_string(client.id()) + (client.trusted() ? "+" : "-") +
                     std::string(text));
  }
  void leave(WebSocketClient& /*client*/) override { left.add(); }
  Signal left;
};

class LiveServerTest : public testing::Test {
 protected:
  LiveServerTest() {
    ServerOptions options;
    options.port = 0;
    options.executable_folder = options.install_home = folder_.path();
    options.bridge = &bridge_;
    options.chat = &chat_;
    options.identity = &identity_;
    options.log = [this](std::string_view line) {
      if (line.starts_with("orchestration server listening on ")) up_.add();
      if (line.starts_with("chat: cannot tell whose program a connection is (no table)")) {
        ++complaints_;
      }
    };
    options.request_close = [this] { close_requested_.add(); };
    server_ = std::make_unique<Server>(std::move(options));
    thread_ = std::thread([this] { EXPECT_EQ(server_->serve(), 0); });
    EXPECT_TRUE(up_.reached(1));
  }
  ~LiveServerTest() override {
    server_->stop();
    thread_.join();
  }

  Client client() { return Client(server_->port()); }

  std::string exchange(std::string_view request) { return client().send(request).receive(); }

  std::string exec(const std::string& command, const std::string& headers = "") {
    return client()
        .send("POST /console/exec?bot=cli HTTP/1.1\r\n" + headers +
              "Content-Length: " + std::to_string(command.size()) + "\r\n\r\n" + command)
        .body();
  }

  /// An upgraded connection.
  Client chatter(const std::string& headers = "") {
    Client chatter = client();
    chatter.send("GET /any HTTP/1.1\r\nUpgrade: WebSocket\r\n" + headers +
                 "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
    return chatter;
  }

  static constexpr std::string_view kHandshake =
      "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n";

  test::TempFolder folder_;
  LengthBridge bridge_;
  EchoChat chat_;
  FakeIdentity identity_;
  std::atomic<int> complaints_ = 0;
  Signal up_;
  Signal close_requested_;
  std::unique_ptr<Server> server_;
  std::thread thread_;
};

constexpr std::string_view kProbe =
    "GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
constexpr std::string_view kHealthy = R"({"ok":true,"app":"Mirebolt","version":"2.0.0"})";

TEST_F(LiveServerTest, AssemblesAHeadThatComesByteByByte) {
  Client slow = client();
  for (const char c : kProbe) slow.send({&c, 1});
  EXPECT_EQ(slow.body(), kHealthy);
}

TEST_F(LiveServerTest, DropsWhatIsNoRequest) {
  EXPECT_EQ(exchange("GET /health HTTP/1.1\r\nX: " + std::string(65537, 'x')), "");
  Client silent = client();
  silent.send("GET /health HTTP/1.1\r\n").end_sending();
  EXPECT_EQ(silent.receive(), "");
  EXPECT_EQ(exchange("POST /interp HTTP/1.1\r\nContent-Length: 33554433\r\n\r\n"), "");
  EXPECT_NE(exchange("\x16\x03\x01\r\n\r\n").find("404 Not Found"), std::string::npos);
}

TEST_F(LiveServerTest, ReadsBodiesOfAnySizeAllowed) {
  EXPECT_EQ(exec(std::string(1048576, 'x')), R"({"ok":true,"bot":"cli","out":"1048576"})");
  std::string largest;
  largest.resize(33554432, 'x');
  const std::string head = "POST /interp HTTP/1.1\r\nContent-Length: ";
  EXPECT_EQ(client().send(head + "33554432\r\n\r\n").send(largest).body(), "33554432");
  EXPECT_EQ(client().send(head + "3\r\n\r\nabcdef").body(), "3");
}

TEST_F(LiveServerTest, DoesNothingForARequestThatIsNotWhole) {
  for (const Route& route : Routes()) {
    for (const char* method : {"GET", "POST", "PUT", "DELETE"}) {
      const std::string line = std::string(method) + " " + std::string(route.path) +
                               "?cmd=x&bot=b HTTP/1.1\r\nX-Mrb-Control: shutdown\r\n";
      Client cut = client();
      cut.send(line + "Content-Length: 30\r\n\r\nabcdef").end_sending();
      EXPECT_EQ(cut.status(), "HTTP/1.1 400 Bad Request") << line;
      EXPECT_EQ(
          client().send(line + "Transfer-Encoding: chunked\r\n\r\n1\r\na\r\n0\r\n\r\n").status(),
          "HTTP/1.1 411 Length Required")
          << line;
    }
  }
  EXPECT_EQ(bridge_.executed, 0);
  EXPECT_FALSE(close_requested_.reached_already(1));
  Client waiting = client();
  waiting.send("POST /interp HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n");
  constexpr std::string_view kGoOn = "HTTP/1.1 100 Continue\r\n\r\n";
  EXPECT_EQ(waiting.receive(kGoOn.size()), kGoOn);
  EXPECT_EQ(waiting.send("ab").body(), "2");
}

TEST_F(LiveServerTest, ServesTheUsersOwnProgramsOnly) {
  using Kind = platform::PeerOwner::Kind;
  constexpr std::string_view kLoopbackOnly = R"({"ok":false,"error":"loopback only"})";
  const auto ask = [this](const std::string& line) {
    return client().send(line + " HTTP/1.1\r\nContent-Length: 1\r\n\r\nx").body();
  };
  for (const Kind kind : {Kind::kUnknown, Kind::kOtherUser, Kind::kLessPrivileged}) {
    identity_.kind = kind;
    const bool elevated = kind == Kind::kLessPrivileged;
    EXPECT_EQ(exec("x").contains("elevated programs only"), elevated);
    EXPECT_EQ(ask("POST /interp").contains("elevated programs only"), elevated);
    EXPECT_EQ(chatter().body().contains("elevated programs only"), elevated);
    for (const char* line : {"POST /", "POST /rpc", "POST /mcp", "GET /ui/api/status",
                             "POST /shutdown", "GET /roster", "GET /vc/list", "POST /chat/say"}) {
      EXPECT_EQ(ask(line) == kLoopbackOnly, !elevated) << line;
    }
    EXPECT_EQ(ask("GET /health"), kHealthy);
    EXPECT_TRUE(ask("GET /").contains("<title>"));
  }
  EXPECT_EQ(bridge_.executed, 0);
  EXPECT_EQ(complaints_, 0);
  identity_.kind = Kind::kUnknown;
  identity_.reason = "no table";
  for (int i = 0; i < 3; ++i) exec("x");
  EXPECT_EQ(complaints_, 1);
  identity_.kind = Kind::kAdministrator;
  EXPECT_EQ(exec("x"), R"({"ok":true,"bot":"cli","out":"1"})");
}

TEST_F(LiveServerTest, ChangesNothingForAPageThatABrowserLoads) {
  const std::string own = "Sec-Fetch-Site: same-origin\r\n";
  const std::string load =
      "?cmd=x&bot=b HTTP/1.1\r\n" + own + "Sec-Fetch-Mode: navigate\r\nContent-Length: 0\r\n\r\n";
  for (const Route& route : Routes()) {
    const std::string_view word = (route.methods & kPost) != 0 ? "POST" : "GET";
    if (FindRoute({.method = word, .path = route.path, .query = {}}) != &route) continue;
    const bool reads = route.effect == Effect::kReads || route.access == Access::kAny;
    std::string request(word);
    request.append(" ").append(route.path).append(load);
    const std::string status = client().send(request).status();
    EXPECT_EQ(status == "HTTP/1.1 403 Forbidden", !reads) << request;
  }
  EXPECT_EQ(bridge_.executed, 0);
  EXPECT_EQ(exec("x", own + "Sec-Fetch-Mode: cors\r\n"), R"({"ok":true,"bot":"cli","out":"1"})");
}

TEST_F(LiveServerTest, RefusesWebPagesOfStrangers) {
  for (const char* header : {"Origin: http://evil.example\r\n", "Host: evil.example\r\n",
                             "Sec-Fetch-Site: cross-site\r\n", "Sec-Fetch-Site: none\r\n"}) {
    EXPECT_EQ(exec("x", header), R"({"ok":false,"error":"/console/exec is loopback-only"})");
    EXPECT_EQ(chatter(header).body(), R"({"ok":false,"error":"loopback only"})");
  }
  const std::string own = "Origin: http://localhost:" + std::to_string(server_->port()) + "\r\n";
  EXPECT_EQ(exec("x", own), R"({"ok":true,"bot":"cli","out":"1"})");
  EXPECT_NE(exchange("POST /__mrb_remote_auth HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc")
                .find("401 Unauthorized"),
            std::string::npos);
}

TEST_F(LiveServerTest, AnswersShutdownBeforeItCloses) {
  Client asking = client();
  asking.send("POST /shutdown HTTP/1.1\r\nX-Mrb-Control: shutdown\r\nContent-Length: 0\r\n\r\n");
  EXPECT_NE(asking.body().find(R"("shutting_down":true})"), std::string::npos);
  asking.close();
  EXPECT_TRUE(close_requested_.reached(1));
}

TEST_F(LiveServerTest, CarriesWebSocketMessages) {
  Client first = chatter();
  first.send(std::string("\x81\x03one\x89\x04ping\x01\x02tw", 15)).send("\x80\x01o");
  const std::string expected =
      std::string(kHandshake) + "\x81\x06#0+one" + "\x8a\x04ping" + "\x81\x06#0+two";
  EXPECT_EQ(first.receive(expected.size()), expected);
  Client second = chatter("Cookie: x=y\r\n");
  second.send(std::string("\x88\x80mask", 6));
  EXPECT_EQ(second.receive(), std::string(kHandshake) + "\x88\x02\x03\xe8");
  EXPECT_TRUE(chat_.left.reached(1));
  first.send("\x91\x01x");
  EXPECT_EQ(first.receive(), "\x88\x02\x03\xea");
  EXPECT_TRUE(chat_.left.reached(2));
  EXPECT_EQ(exchange("GET / HTTP/1.1\r\nUpgrade: websocket\r\n\r\n"), "");
}

TEST_F(LiveServerTest, ServesManyAtOnce) {
  std::vector<std::thread> clients;
  clients.reserve(24);
  std::atomic<int> good = 0;
  for (int i = 0; i < 24; ++i) {
    clients.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        if (client().send(kProbe).body() == kHealthy) ++good;
      }
    });
  }
  for (std::thread& thread : clients) thread.join();
  EXPECT_EQ(good, 24 * 20);
}

TEST_F(LiveServerTest, StopsWhileConnectionsAreOpen) {
  Client half = client();
  half.send("GET /health");
  Client chat = chatter();
  EXPECT_EQ(chat.receive(kHandshake.size()), kHandshake);
  Client busy = client();
  busy.send("POST /interp HTTP/1.1\r\nContent-Length: 4\r\n\r\nwait");
  ASSERT_TRUE(bridge_.started.reached(1));
  server_->stop();
  EXPECT_EQ(half.receive(), "");
  EXPECT_EQ(chat.receive(), "");
  EXPECT_EQ(busy.receive(), "");
  bridge_.go.add();
}

TEST(ServerTest, StoppedBeforeItBeginsDoesNotServe) {
  test::TempFolder folder;
  ServerOptions options;
  options.port = 0;
  options.executable_folder = options.install_home = folder.path();
  Server server(options);
  server.stop();
  EXPECT_EQ(server.serve(), 0);
}

TEST(LeavingSocketsTest, LetsThePeerTalkOnUntilItCloses) {
  ASSERT_TRUE(platform::StartSockets());
  auto listener = platform::Listener::listen(0, true);
  ASSERT_TRUE(listener.has_value());
  LingeringCloser leaving;
  // Enough that some are looked at by a later add(), the rest by the sweep.
  constexpr int kPeers = 40;
  std::vector<Client> clients;
  for (int i = 0; i < kPeers; ++i) {
    Client& client = clients.emplace_back(listener->port());
    auto accepted = listener->accept();
    ASSERT_TRUE(accepted.has_value());
    ASSERT_TRUE(accepted->socket.send_all("answer"));
    accepted->socket.shutdown_send();
    leaving.add(std::move(accepted->socket));
    client.send(std::string(2000, 'x'));
  }
  for (Client& client : clients) EXPECT_EQ(client.receive(), "answer");
}

/// A pool whose connections end when the test says so.
class ConnectionThreadsTest : public testing::Test {
 protected:
  void start(ConnectionThreads::Limits limits, bool can_start = true) {
    ASSERT_TRUE(platform::StartSockets());
    auto listener = platform::Listener::listen(0, true);
    ASSERT_TRUE(listener.has_value());
    listener_ = std::move(*listener);
    threads_ = std::make_unique<ConnectionThreads>(
        listener_, limits,
        ConnectionThreads::Hooks{[this](const platform::Socket&, std::uint32_t, bool crowded) {
                                   return outside_ || (crowded && strangers_);
                                 },
                                 [this](platform::Socket& socket, bool, ConnectionBuffers&) {
                                   const int now = ++open_;
                                   for (int peak = peak_;
                                        now > peak && !peak_.compare_exchange_weak(peak, now);) {
                                   }
                                   served_.add();
                                   char byte = 0;
                                   while (socket.receive(&byte, 1).value_or(0) > 0)
                                     (void)socket.send_all({&byte, 1});
                                   --open_;
                                   return false;
                                 },
                                 [this, can_start](std::function<void()> body) {
                                   ++started_;
                                   return can_start && StartDetachedThread(std::move(body));
                                 },
                                 [this](bool last) { last_missing_ = last; }});
    runner_ = std::thread([this] { threads_->run(); });
  }
  ~ConnectionThreadsTest() override {
    threads_->stop();
    runner_.join();
  }

  platform::Listener listener_;
  std::unique_ptr<ConnectionThreads> threads_;
  std::thread runner_;
  Signal served_;
  std::atomic<int> open_ = 0, peak_ = 0, started_ = 0;
  std::atomic<bool> last_missing_ = false;
  std::atomic<bool> outside_ = false;
  std::atomic<bool> strangers_ = false;  // whom a look in a crowd counts as outside
};

TEST_F(ConnectionThreadsTest, LeavesTheRestWaitingAtTheBound) {
  start({.connections = 4, .idle = 2});
  std::vector<Client> clients;
  clients.reserve(10);
  for (int i = 0; i < 10; ++i) clients.emplace_back(listener_.port());
  EXPECT_TRUE(served_.reached(4));
  EXPECT_EQ(open_, 4);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(clients[static_cast<std::size_t>(i)].send("x").receive(1), "x") << i;
    clients[static_cast<std::size_t>(i)].close();
  }
  EXPECT_EQ(peak_, 4);
}

TEST_F(ConnectionThreadsTest, KeepsPlacesFromThoseOutside) {
  outside_ = true;
  start({.connections = 8, .outside = 3, .idle = 2});
  std::vector<Client> dripping;
  dripping.reserve(20);
  for (int i = 0; i < 20; ++i) dripping.emplace_back(listener_.port()).send("x");
  EXPECT_TRUE(served_.reached(3));
  for (std::size_t i = 3; i < 20; ++i) EXPECT_EQ(dripping[i].receive(1), "") << i;
  EXPECT_EQ(peak_, 3);
  outside_ = false;
  EXPECT_EQ(Client(listener_.port()).send("y").receive(1), "y");
  dripping.clear();
  while (open_ > 0) std::this_thread::yield();  // their places are free
  outside_ = true;
  EXPECT_EQ(Client(listener_.port()).send("z").receive(1), "z");
}

TEST_F(ConnectionThreadsTest, LooksAtWhoComesOncePlacesAreScarce) {
  strangers_ = true;
  start({.connections = 8, .outside = 2, .idle = 2});
  std::vector<Client> dripping;
  dripping.reserve(10);
  for (int i = 0; i < 10; ++i) dripping.emplace_back(listener_.port()).send("x");
  EXPECT_TRUE(served_.reached(6));  // half of the places, and two of those outside
  for (std::size_t i = 6; i < 10; ++i) EXPECT_EQ(dripping[i].receive(1), "") << i;
  strangers_ = false;
  EXPECT_EQ(Client(listener_.port()).send("y").receive(1), "y");
}

TEST_F(ConnectionThreadsTest, ServesOnWithTheOneThreadItHas) {
  start({}, false);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Client(listener_.port()).send("x").receive(1), "x");
  EXPECT_EQ(started_, 3);
  EXPECT_TRUE(last_missing_);
}

}  // namespace
}  // namespace mrb::server
