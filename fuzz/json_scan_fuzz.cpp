#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "check.h"
#include "common/json_scan.h"
#include "common/json_writer.h"
#include "common/text.h"

// What the scanner accepts must hold together: every value is itself an accepted text with the same
// parts, and every string can be written and read again.

namespace {

using mrb::JsonDocument;
using mrb::JsonValue;
using Kind = JsonValue::Kind;

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = mrb::Utf8SequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

void CheckString(const JsonValue& value) {
  const std::string text = value.text();
  FUZZ_CHECK(IsUtf8(text));
  const std::string written = mrb::JsonString(text);
  const auto again = JsonDocument::scan(written);
  FUZZ_CHECK(again && again->root().text() == text);
}

/// Values checked on their own; more would make long inputs slow without telling more.
constexpr std::size_t kChecked = 64;

void CheckTree(const JsonValue& root) {
  std::vector<JsonValue> open{root};
  for (std::size_t done = 0; !open.empty() && done < kChecked; ++done) {
    const JsonValue value = open.back();
    open.pop_back();
    const auto alone = JsonDocument::scan(value.raw());
    FUZZ_CHECK(alone && alone->root().kind() == value.kind());
    FUZZ_CHECK(alone->root().raw() == value.raw());
    FUZZ_CHECK(alone->root().elements().size() == value.elements().size());
    if (value.is(Kind::kString)) CheckString(value);
    for (const auto& [key, member] : value.members()) {
      FUZZ_CHECK(key.is(Kind::kString) && value.find(key.text()).exists());
      open.push_back(member);
    }
    for (const JsonValue& element : value.elements()) open.push_back(element);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 4096) return 0;  // nothing in the grammar needs more, and find() is linear in members
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto document = JsonDocument::scan(text);
  if (!document) {
    FUZZ_CHECK(!document.error().text.empty());
    return 0;
  }
  CheckTree(document->root());
  return 0;
}
