#include "platform/peer_identity.h"

#include <gtest/gtest.h>

#include <ostream>
#include <utility>
#include <vector>

#include "platform/uid_identity.h"

namespace mrb::platform {

// Where gtest finds it: a failure names the kind.
void PrintTo(PeerOwner::Kind kind, std::ostream* out) {
  *out << "kind " << static_cast<int>(kind);
}

namespace {

using Kind = PeerOwner::Kind;

constexpr Milliseconds kPatience{20'000};  // only a broken build waits this long

/// Connections within this process; those of another user are made by the end-to-end tests.
class PeerIdentityTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(StartSockets());
    listener_ = listen();
  }

  static Listener listen() { return Listener::listen(0, true).value(); }
  Socket connect() { return Socket::connect_loopback(listener_.port(), kPatience).value(); }
  Socket accept() { return std::move(listener_.accept().value().socket); }

  PeerIdentity& identity_ = SystemPeerIdentity();
  Listener listener_;
};

TEST_F(PeerIdentityTest, AClientIsKnownUntilItClosesItsEnd) {
  Socket client = connect();
  const Socket other = connect();  // its end stays open, and must not be taken for it
  const Socket accepted = accept();
  EXPECT_EQ(identity_.client_of(accepted).kind, Kind::kOwnUser);
  client.shutdown_send();
  EXPECT_EQ(identity_.client_of(accepted).kind, Kind::kOwnUser);
  client = Socket();
  EXPECT_EQ(identity_.client_of(accepted).kind, Kind::kUnknown);
}

TEST_F(PeerIdentityTest, AServerIsKnownBeforeAndAfterItAccepts) {
  const Socket client = connect();
  const Socket second = connect();
  const ServerIdentity waiting = identity_.server_of(client);
  EXPECT_EQ(waiting.owner.kind, Kind::kOwnUser);
  EXPECT_NE(waiting.listener, 0U);
  EXPECT_EQ(identity_.server_of(second).listener, waiting.listener);
  Socket accepted = accept();
  EXPECT_EQ(identity_.server_of(client).owner.kind, Kind::kOwnUser);
  EXPECT_EQ(identity_.server_of(client).listener, waiting.listener);
  // One that was closed is nobody's, least of all its listener's.
  accepted = Socket();
  EXPECT_EQ(identity_.server_of(client).owner.kind, Kind::kUnknown);
}

TEST_F(PeerIdentityTest, AConnectionNeedsItsListenerUntilItIsAccepted) {
  const Socket client = connect();
  const Socket accepted = accept();
  const Socket waiting = connect();
  listener_ = Listener();
  EXPECT_EQ(identity_.server_of(client).owner.kind, Kind::kOwnUser);
  EXPECT_EQ(identity_.server_of(client).listener, 0U);
  EXPECT_EQ(identity_.server_of(waiting).owner.kind, Kind::kUnknown);
  EXPECT_EQ(identity_.server_of(Socket()).owner.kind, Kind::kUnknown);
  EXPECT_EQ(identity_.client_of(Socket()).kind, Kind::kUnknown);
}

TEST(UidIdentityTest, BelievesRootsNumberOnlyTwice) {
  const auto client = [](std::vector<SocketEntry> shown) {
    std::size_t next = 0;
    UidIdentity identity({.other_end = [](const Socket&) { return SocketPair{}; },
                          .find = [&](const SocketPair&) -> Result<SocketEntry> {
                            if (next < shown.size()) return shown[next++];
                            return Fail(ErrorKind::kNotFound, "");
                          },
                          .user_name = {},
                          .own_uid = 1000});
    return identity.client_of(Socket()).kind;
  };
  const SocketEntry root{.pair = {}, .state = kFinWait2, .uid = 0, .inode = 7};
  const SocketEntry closed{.pair = {}, .state = kFinWait2, .uid = 0, .inode = 0};
  const SocketEntry next{.pair = {}, .state = kEstablished, .uid = 0, .inode = 8};
  const SocketEntry own{.pair = {}, .state = kEstablished, .uid = 1000, .inode = 7};
  EXPECT_EQ(client({root, root}), Kind::kAdministrator);
  EXPECT_EQ(client({root, closed}), Kind::kUnknown);
  EXPECT_EQ(client({root, next}), Kind::kUnknown);
  EXPECT_EQ(client({root}), Kind::kUnknown);
  EXPECT_EQ(client({closed, closed}), Kind::kUnknown);
  EXPECT_EQ(client({own}), Kind::kOwnUser);
}

TEST(SocketListTest, FindsASocketByBothEnds) {
  constexpr std::string_view kList =
      "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
      "inode\n"
      "   0: 0100007F:270F 00000000:0000 0A 00000000:00000000 00:00000000 00000000  1000  0 11 1\n"
      "   1: 0100007F:9C40 0100007F:270F 01 00000000:00000000 00:00000000 00000000  1001  0 12 1\n"
      "   2: 0000000000000000FFFF00000100007F:9C41 0000000000000000FFFF00000100007F:270F 01 "
      "00000000:00000000 00:00000000 00000000  1002  0 13 1\n"
      "   3: 00000000000000000000000000000000:1F90 00000000000000000000000000000000:0000 0A "
      "00000000:00000000 00:00000000 00000000  1003  0 14 1\n"
      "   4: broken\n   5: 0100007F:9C42 0100007F:270F 01 x y z\n";
  constexpr SocketEnd kServer{0x0100007F, 9999};
  const auto inode = [&](const SocketPair& pair) {
    const auto found = FindInSocketList(kList, pair);
    return found ? std::uint64_t{100} * found->uid + found->inode : 0;
  };
  EXPECT_EQ(inode({kServer, {}}), 100011U);
  EXPECT_EQ(inode({{0x0100007F, 40000}, kServer}), 100112U);
  EXPECT_EQ(inode({{0x0100007F, 40001}, kServer}), 100213U);
  EXPECT_EQ(inode({{0x0100007F, 8080}, {}}), 100314U);
  EXPECT_EQ(inode({{0x0200007F, 40000}, kServer}), 0U);
  EXPECT_EQ(inode({{0x0100007F, 40002}, kServer}), 0U);
  EXPECT_EQ(inode({{0x0100007F, 8081}, {}}), 0U);
}

}  // namespace
}  // namespace mrb::platform
