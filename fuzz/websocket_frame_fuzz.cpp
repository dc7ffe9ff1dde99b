#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "check.h"
#include "server/http/websocket_frame.h"

// The first byte chooses the pieces in which the rest arrives. The events must not depend on them,
// keep within the limits, and survive being written and read again.

namespace {

using mrb::server::WebSocketReader;
using Event = WebSocketReader::Event;

struct Seen {
  Event event;
  std::string payload;
  bool operator==(const Seen&) const = default;
};

bool EndsConnection(Event event) {
  return event == Event::kClose || event == Event::kProtocolError || event == Event::kTooLarge;
}

std::vector<Seen> Read(std::string_view bytes, std::size_t step) {
  WebSocketReader reader;
  std::vector<Seen> seen;
  while (!bytes.empty()) {
    std::string_view piece = bytes.substr(0, step);
    bytes.remove_prefix(piece.size());
    for (;;) {
      const Event event = reader.next(piece);
      if (event == Event::kNone) break;
      if (EndsConnection(event)) {
        seen.push_back({event, ""});
        return seen;
      }
      seen.push_back({event, std::string(reader.payload())});
    }
    FUZZ_CHECK(piece.empty());
  }
  return seen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto seen = Read(bytes, bytes.size() + 1);
  FUZZ_CHECK(Read(bytes, data[0] + std::size_t{1}) == seen);
  std::string again;
  for (const Seen& one : seen) {
    FUZZ_CHECK(one.payload.size() <= mrb::server::kMaxMessage);
    if (one.event == Event::kPing)
      FUZZ_CHECK(one.payload.size() <= mrb::server::kMaxControlPayload);
    if (one.event != Event::kMessage) continue;
    again.clear();
    AppendFrame(again, mrb::server::WebSocketOpcode::kText, one.payload);
    FUZZ_CHECK(Read(again, again.size()) == std::vector<Seen>{one});
  }
  return 0;
}
