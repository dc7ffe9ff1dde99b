#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "memory/overlay/overlay.h"

// An overlay file: whatever is read from one comes out again as it was read.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace mrb::memory;
  const auto overlay = DecodeOverlay({reinterpret_cast<const char*>(data), size});
  if (!overlay) return 0;
  const std::string bytes = EncodeOverlay(*overlay);
  const auto again = DecodeOverlay(bytes);
  FUZZ_CHECK(again && EncodeOverlay(*again) == bytes);
  FUZZ_CHECK(again->keys().size() == overlay->keys().size());
  for (const Overlay::Label& label : overlay->labels()) {
    for (const std::uint64_t offset : label.memos) {
      bool found = false;
      for (const Overlay::Key& key : overlay->keys()) found = found || key.offset == offset;
      FUZZ_CHECK(found);
    }
  }
  return 0;
}
