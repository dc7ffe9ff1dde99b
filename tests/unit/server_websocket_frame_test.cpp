#include "server/http/websocket_frame.h"

#include <gtest/gtest.h>

#include <vector>

namespace mrb::server {
namespace {

using Event = WebSocketReader::Event;

/// A client's frame; `flags` is the first byte, the mask any four bytes or none.
std::string Frame(unsigned flags, const std::string& payload, std::string_view mask = "mask") {
  std::string unmasked;
  AppendFrame(unmasked, WebSocketOpcode::kText, payload);
  unmasked[0] = static_cast<char>(flags);
  if (mask.empty()) return unmasked;
  const std::size_t header = unmasked.size() - payload.size();
  std::string frame = unmasked.substr(0, header) + std::string(mask);
  frame[1] = static_cast<char>(static_cast<unsigned char>(frame[1]) | 0x80U);
  for (std::size_t i = 0; i < payload.size(); ++i) {
    frame += static_cast<char>(payload[i] ^ mask[i % 4]);
  }
  return frame;
}

struct Seen {
  Event event;
  std::string payload;
  bool operator==(const Seen&) const = default;
};

/// All events of a stream that arrives in pieces of `step` bytes.
std::vector<Seen> Read(std::string_view stream, std::size_t step = std::string_view::npos) {
  WebSocketReader reader;
  std::vector<Seen> seen;
  while (!stream.empty()) {
    std::string_view piece = stream.substr(0, step);
    stream.remove_prefix(piece.size());
    for (;;) {
      const Event event = reader.next(piece);
      if (event == Event::kNone) break;
      const bool has_payload = event == Event::kMessage || event == Event::kPing;
      seen.push_back({event, has_payload ? std::string(reader.payload()) : ""});
      if (!has_payload) return seen;
    }
  }
  return seen;
}

TEST(WebSocketFrameTest, WritesWhatTheRfcShows) {
  EXPECT_EQ(CloseFrame(kCloseNormal), "\x88\x02\x03\xe8");
  EXPECT_EQ(AcceptValue("dGhlIHNhbXBsZSBub25jZQ=="), "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=");
}

TEST(WebSocketFrameTest, ReadsMessagesAndControlFramesInAnyPieces) {
  const std::string longer(300, 'l');
  const std::string longest(70000, 'L');
  const std::string stream = Frame(0x81, "one") + Frame(0x82, longer, "") + Frame(0x01, "tw") +
                             Frame(0x89, "ping") + Frame(0x00, "") + Frame(0x80, "o") +
                             Frame(0x8A, "pong") + Frame(0x83, "unknown") + Frame(0x8B, "") +
                             Frame(0x81, longest) + Frame(0x81, "") + Frame(0x88, "\x03\xe8");
  const std::vector<Seen> expected{{Event::kMessage, "one"},   {Event::kMessage, longer},
                                   {Event::kPing, "ping"},     {Event::kMessage, "two"},
                                   {Event::kMessage, longest}, {Event::kMessage, ""},
                                   {Event::kClose, ""}};
  for (const std::size_t step : {1U, 2U, 3U, 7U, 4096U, 1U << 20U}) {
    EXPECT_EQ(Read(stream, step), expected) << step;
  }
}

TEST(WebSocketFrameTest, RefusesWhatTheProtocolForbids) {
  const std::string too_long(kMaxControlPayload + 1, 'x');
  const std::string open = Frame(0x01, "part");
  for (const std::string& bad :
       {Frame(0xC1, ""), Frame(0xA1, ""), Frame(0x91, ""),        // reserved bits
        Frame(0x09, ""), Frame(0x89, too_long), Frame(0x08, ""),  // control frames
        Frame(0x80, ""), Frame(0x00, ""),                         // nothing to continue
        open + Frame(0x81, "other"), open + Frame(0x02, "other")}) {
    const auto seen = Read(bad, 1);
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].event, Event::kProtocolError);
  }
}

TEST(WebSocketFrameTest, BoundsFramesAndMessages) {
  const std::string full(kMaxFramePayload, 'f');
  EXPECT_EQ(Read(Frame(0x81, full)), (std::vector<Seen>{{Event::kMessage, full}}));
  const std::vector<Seen> too_large{{Event::kTooLarge, ""}};
  EXPECT_EQ(Read(Frame(0x81, full + "f").substr(0, 14)), too_large);
  EXPECT_EQ(Read(std::string("\x83\x7f\xff\xff\xff\xff\xff\xff\xff\xff", 10)), too_large);

  std::string stream = Frame(0x01, full);
  for (std::uint64_t size = 2 * kMaxFramePayload; size <= kMaxMessage; size += kMaxFramePayload) {
    stream += Frame(0x00, full);
  }
  EXPECT_EQ(Read(stream + Frame(0x80, ""))[0].payload.size(), kMaxMessage);
  EXPECT_EQ(Read(stream + Frame(0x80, "x")), too_large);
}

}  // namespace
}  // namespace mrb::server
