#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <random>
#include <thread>

#include "chat/hub.h"
#include "temp_folder.h"

namespace mrb::chat {
namespace {

using std::chrono::seconds;

class HubTest : public testing::Test {
 protected:
  HubOptions options() {
    return {.files = &platform::SystemFiles(),
            .folder = folder_.path("chatlogs"),
            .now = [this] { return clock_.load(); },
            .type_into_terminal =
                [](std::string_view bot, std::string_view id, std::string_view line) {
                  return std::string(bot) + ">" + std::string(id) + ">" + std::string(line);
                }};
  }

  static std::string texts(const Result<Piece>& piece) {
    if (!piece) return "FAILED: " + piece.error().text;
    std::string all;
    for (const Record& record : piece->records) all += record.from + ":" + record.text + " ";
    return all + "next=" + std::to_string(piece->next);
  }

  test::TempFolder folder_;
  std::atomic<std::uint64_t> clock_ = 1000;
  Hub hub_{options()};
};

TEST_F(HubTest, ChannelsAreKeptInOrderAndInTheirLogs) {
  EXPECT_EQ(hub_.say("ann", "general", "one\n")->seq, 1U);
  EXPECT_EQ(hub_.say("bob", "general", "two\nlines")->seq, 2U);
  EXPECT_EQ(hub_.say("bob", "ops-1", "else")->seq, 1U);
  const ReadRequest general{.me = "ann", .channel = "general"};
  EXPECT_EQ(texts(hub_.recent(general, 1)), "bob:two\nlines next=2");
  EXPECT_EQ(texts(hub_.read({.me = "ann", .channel = "general", .since = 1})),
            "bob:two\nlines next=2");
  EXPECT_EQ(texts(hub_.read({.me = "ann", .channel = "general", .skip_own = true})),
            "bob:two\nlines next=2");
  EXPECT_EQ(texts(hub_.read({.channel = "general", .since = 99})), "ann:one bob:two\nlines next=2");

  Hub again(options());  // after a restart
  EXPECT_EQ(texts(again.recent(general, 9)), "ann:one bob:two\nlines next=2");
  EXPECT_EQ(again.say("ann", "general", "three")->seq, 3U);
  EXPECT_EQ(again.log("general", 2)->at(1).text, "three");
  ASSERT_EQ(again.channels().size(), 2U);
  EXPECT_EQ(again.channels()[1].name, "ops-1");
}

TEST_F(HubTest, RefusesBadNamesAndTexts) {
  for (const char* channel : {"", "_dm", "../x", "General", "a b", "@", "@a\nb"}) {
    EXPECT_FALSE(hub_.say("ann", channel, "x")) << channel;
    EXPECT_FALSE(hub_.read({.me = "ann", .channel = channel})) << channel;
  }
  for (const char* from : {"", " a", "@a", "a\n", "\xff"}) {
    EXPECT_FALSE(hub_.say(from, "general", "x")) << from;
  }
  EXPECT_FALSE(hub_.say("ann", "general", "\n"));
  EXPECT_FALSE(hub_.say("ann", "general", std::string(kMaxText + 1, 'x')));
  EXPECT_TRUE(hub_.log("general", 9)->empty());
}

TEST_F(HubTest, DirectMessagesReachTheTwoAlone) {
  EXPECT_EQ(hub_.say("ann", "@bob", "psst")->seq, 1U);
  hub_.post_terminal("bob", "t1-x", "$ ls");
  EXPECT_EQ(hub_.say("bob", "@ann", "yes")->seq, 3U);
  EXPECT_EQ(texts(hub_.read({.me = "bob", .channel = "@ann"})), "ann:psst bob:yes next=3");
  EXPECT_EQ(texts(hub_.read({.me = "ann", .channel = "@bob"})), "ann:psst bob:yes next=3");
  EXPECT_EQ(texts(hub_.read({.me = "bob", .channel = "@terminal"})), "terminal:$ ls next=2");
  EXPECT_EQ(texts(hub_.read({.me = "eve", .channel = "@bob"})), "next=3");
  EXPECT_EQ(hub_.say("bob", "general", "::term.send t1-x make  all ")->answer,
            "bob>t1-x>make  all");
  EXPECT_TRUE(hub_.log("general", 9)->empty());
  EXPECT_EQ(Hub(options()).say("ann", "@bob", "later")->seq, 3U);  // terminals are not logged
}

TEST_F(HubTest, ReadersWaitAndStopEndsTheWait) {
  std::thread speaker([this] {
    while (hub_.roster("general").empty()) std::this_thread::yield();
    (void)hub_.say("ann", "general", "own");
    (void)hub_.say("bob", "general", "hello");
  });
  EXPECT_EQ(
      texts(hub_.read({.me = "ann", .channel = "general", .wait = seconds(20), .skip_own = true})),
      "bob:hello next=2");
  speaker.join();
  std::thread stopper([this] { hub_.stop(); });
  EXPECT_EQ(texts(hub_.read({.channel = "general", .since = 2, .wait = seconds(20)})), "next=2");
  stopper.join();
  clock_ += 1'000'000;
  EXPECT_TRUE(hub_.roster("general").empty());
  EXPECT_EQ(hub_.claim_callsign("a"), "a");
  EXPECT_EQ(hub_.claim_callsign("a"), "a-2");
}

TEST_F(HubTest, EveryListenerGetsEveryMessageInOrder) {
  constexpr int kSpeakers = 4;
  constexpr int kMessages = 100;
  std::string heard;  // by one listener: its outbox sends one message at a time
  const auto outbox = std::make_shared<Outbox>([&](std::string_view json) {
    const auto record = ParseRecord(json);
    heard += record ? std::to_string(record->seq) + " " : "BAD ";
    return true;
  });
  ASSERT_TRUE(hub_.join(1, "ear", "general", outbox));
  std::vector<std::thread> speakers;
  speakers.reserve(kSpeakers);
  for (int i = 0; i < kSpeakers; ++i) {
    speakers.emplace_back([this, i] {
      for (int n = 0; n < kMessages; ++n) (void)hub_.say("s" + std::to_string(i), "general", "x");
    });
  }
  for (std::thread& speaker : speakers) speaker.join();
  outbox->flush();
  hub_.leave(1);
  outbox->close();
  std::string wanted;
  for (int n = 1; n <= kSpeakers * kMessages; ++n) wanted += std::to_string(n) + " ";
  EXPECT_EQ(heard, wanted);
}

TEST(ChatLogTest, CountsLinesAndReadsTheLastRecords) {
  const test::TempFolder folder;
  ChatLog log(platform::SystemFiles(), folder.path());
  EXPECT_EQ(log.read("_dm", 9).lines, 0U);
  std::ofstream(folder.path("_dm.log"), std::ios::binary)
      << "one\r\n\r\n\n"
      << std::string(700'000, 'x') << "\n\rtext\n\r\r\n"
      << R"({"kind":"dm","at":"soon","from":"a","text":"\ud800"})"
      << "\nlast";
  const ChatLog::Content content = log.read("_dm", 9);
  EXPECT_EQ(content.lines, 6U);
  ASSERT_EQ(content.records.size(), 1U);
  EXPECT_EQ(content.records[0].text, "\xef\xbf\xbd");
}

TEST(RoomTest, HoldsTheLastAndPagesWithoutAGap) {
  std::mt19937 random(7);  // NOLINT: the same every time
  Room room;
  std::uint64_t seq = 0;
  std::vector<std::uint64_t> read;
  std::uint64_t since = 0;
  std::uint64_t missed = 0;
  for (int step = 0; step < 3000; ++step) {
    const std::size_t length = 1 + random() % 5000;
    room.add({.seq = ++seq, .channel = "c", .from = "f", .text = std::string(length, 'x')});
    if (random() % 200 != 0) continue;
    for (;;) {
      const Piece piece = room.since(since, 20'000, {});
      missed += piece.missed;
      for (const Record& record : piece.records) read.push_back(record.seq);
      since = piece.next;
      if (piece.records.empty()) break;
    }
    ASSERT_EQ(since, seq);
    ASSERT_EQ(read.size() + missed, seq);
  }
  EXPECT_TRUE(std::ranges::is_sorted(read));
  EXPECT_GT(missed, 0U);
}

}  // namespace
}  // namespace mrb::chat
