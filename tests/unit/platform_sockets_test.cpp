#include "platform/sockets.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace mrb::platform {
namespace {

constexpr Milliseconds kPatience{20'000};  // only a broken build waits this long

class SocketsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(StartSockets());
    ASSERT_TRUE(StartSockets());
    auto listener = Listener::listen(0, true);
    ASSERT_TRUE(listener) << listener.error().text;
    listener_ = std::move(*listener);
  }

  Socket connect() { return Socket::connect_loopback(listener_.port(), kPatience).value(); }

  /// Two ends of one connection.
  std::pair<Socket, Socket> pair() {
    Socket client = connect();
    Socket server = std::move(listener_.accept().value().socket);
    EXPECT_TRUE(server.set_receive_timeout(kPatience));
    return {std::move(client), std::move(server)};
  }

  Listener listener_;
};

std::string ReceiveAll(Socket& socket) {
  std::string text;
  std::array<char, 1000> piece{};
  for (;;) {
    const auto got = socket.receive(piece.data(), piece.size());
    if (!got) return "failed: " + got.error().text;
    if (*got == 0) return text;
    text.append(piece.data(), *got);
  }
}

TEST_F(SocketsTest, CarriesBytesBothWaysUntilEachSideEnds) {
  auto [client, server] = pair();
  std::string large(3'000'000, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 7);
  EXPECT_TRUE(client.set_no_delay());
  std::thread sender([&] {
    EXPECT_TRUE(client.send_all(large));
    client.shutdown_send();
  });
  EXPECT_EQ(ReceiveAll(server), large);
  sender.join();
  EXPECT_TRUE(server.send_all("answer"));
  server = Socket();
  EXPECT_EQ(ReceiveAll(client), "answer");
}

TEST_F(SocketsTest, TellsThePeersAddress) {
  const Socket client = connect();
  const auto accepted = listener_.accept();
  ASSERT_TRUE(accepted);
  EXPECT_EQ(accepted->peer_ipv4, 0x7F000001U);
  EXPECT_TRUE(accepted->socket.is_open());
}

TEST_F(SocketsTest, AcceptedSocketsHaveTheTimeOutsOfTheirListener) {
  ASSERT_TRUE(listener_.expect_requests(Milliseconds(30), kPatience));
  Socket client = connect();
  ASSERT_TRUE(client.send_all("x"));
  Socket server = std::move(listener_.accept().value().socket);
  char byte = 0;
  EXPECT_EQ(server.receive(&byte, 1).value(), 1U);
  EXPECT_EQ(server.receive(&byte, 1).error().kind, ErrorKind::kTimedOut);
}

TEST_F(SocketsTest, ReceiveTimesOutAndCanBeSetFreeAgain) {
  auto [client, server] = pair();
  ASSERT_TRUE(server.set_receive_timeout(Milliseconds(30)));
  char byte = 0;
  const auto nothing = server.receive(&byte, 1);
  ASSERT_FALSE(nothing);
  EXPECT_EQ(nothing.error().kind, ErrorKind::kTimedOut);
  ASSERT_TRUE(server.set_receive_timeout(Milliseconds(0)));
  ASSERT_TRUE(client.send_all("x"));
  EXPECT_EQ(server.receive(&byte, 1).value(), 1U);
  EXPECT_EQ(byte, 'x');
}

TEST_F(SocketsTest, SendTimesOutWhenThePeerDoesNotRead) {
  auto [client, server] = pair();
  ASSERT_TRUE(client.set_send_timeout(Milliseconds(50)));
  const std::string piece(1U << 20U, 'x');
  Status sent;
  for (int i = 0; i < 1000 && sent; ++i) sent = client.send_all(piece);
  ASSERT_FALSE(sent);
  EXPECT_EQ(sent.error().kind, ErrorKind::kTimedOut);
}

TEST_F(SocketsTest, SendingToAPeerThatIsGoneIsAnErrorAndNoSignal) {
  auto [client, server] = pair();
  server = Socket();
  Status sent;
  for (int i = 0; i < 100'000 && sent; ++i) sent = client.send_all("x");
  ASSERT_FALSE(sent);
  EXPECT_EQ(sent.error().kind, ErrorKind::kClosed);
}

TEST_F(SocketsTest, ShutdownWakesAThreadThatReceives) {
  auto [client, server] = pair();
  std::atomic<bool> returned{false};
  std::thread receiver([&] {
    char byte = 0;
    const auto got = server.receive(&byte, 1);
    EXPECT_TRUE(!got || *got == 0);
    EXPECT_TRUE(got || got.error().kind == ErrorKind::kClosed);
    returned = true;
  });
  while (!returned) {  // it may not have begun to receive when the first call is made
    server.shutdown_both();
    std::this_thread::yield();
  }
  receiver.join();
}

TEST_F(SocketsTest, APortHasOneListenerAndAFreePortRefuses) {
  const auto second = Listener::listen(listener_.port(), true);
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error().kind, ErrorKind::kBusy);
  const std::uint16_t port = listener_.port();
  listener_ = Listener();
  const auto refused = Socket::connect_loopback(port, kPatience);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().kind, ErrorKind::kNotFound);
  EXPECT_TRUE(Listener::listen(port, true));  // at once, whatever lingers of the first
}

TEST_F(SocketsTest, ANameThatMayLeadElsewhereIsTakenToo) {
  EXPECT_TRUE(listener_.holds_localhost());
  auto moved = std::move(listener_);
  EXPECT_TRUE(moved.holds_localhost());
}

TEST_F(SocketsTest, ManyThreadsAcceptEachConnectionOnceAndAllStop) {
  constexpr int kThreads = 8;
  constexpr int kConnections = 400;
  std::mutex mutex;
  std::multiset<std::string> served;  // guarded by mutex
  std::atomic<int> stopped{0};
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (;;) {
        auto accepted = listener_.accept();
        if (!accepted) {
          EXPECT_EQ(accepted.error().kind, ErrorKind::kClosed);
          ++stopped;
          return;
        }
        const std::string got = ReceiveAll(accepted->socket);
        const std::lock_guard lock(mutex);
        served.insert(got);
      }
    });
  }
  for (int i = 0; i < kConnections; ++i) {
    Socket client = connect();
    ASSERT_TRUE(client.send_all(std::to_string(i)));
    client.shutdown_send();
    EXPECT_EQ(ReceiveAll(client), "");  // until the server closes: it has been served
  }
  listener_.stop();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(stopped, kThreads);
  EXPECT_EQ(served.size(), static_cast<std::size_t>(kConnections));
  EXPECT_EQ(std::set(served.begin(), served.end()).size(), served.size());
  EXPECT_EQ(listener_.accept().error().kind, ErrorKind::kClosed);
}

TEST_F(SocketsTest, StopRacesWithThreadsThatBeginToWait) {
  for (int round = 0; round < 50; ++round) {
    Listener listener = Listener::listen(0, true).value();
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        while (listener.accept()) {
        }
      });
    }
    listener.stop();
    for (std::thread& thread : threads) thread.join();
  }
}

}  // namespace
}  // namespace mrb::platform
