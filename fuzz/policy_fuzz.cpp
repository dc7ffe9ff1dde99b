#include <cstdint>
#include <string_view>

#include "check.h"
#include "vfs/model/size_text.h"
#include "vfs/policy/enrollment_list.h"

// The flags of a version-control policy, as typed, and the lines of the list that keeps them.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace mrb::vfs;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto change = ParsePolicy(text);
  if (!change) {
    FUZZ_CHECK(!change.error().text.empty());
  } else {
    const Policy policy = change->applied_to({});
    const auto again = ParsePolicy(FormatPolicy(policy));  // the written form is read back the same
    FUZZ_CHECK(again && again->applied_to({}) == policy);
    // One form for one policy.
    FUZZ_CHECK(FormatPolicy(again->applied_to({})) == FormatPolicy(policy));
    static_cast<void>(policy.ext.admits(text, size));
  }
  if (const auto entry = ParseEnrollment(text)) {
    const auto again = ParseEnrollment(FormatEnrollment(entry->directory, {}));
    FUZZ_CHECK(again && again->directory == entry->directory);
  }
  FUZZ_CHECK(PathFromLine(PathToLine(text)) == text);
  if (const auto bytes = ParseSize(text)) FUZZ_CHECK(ParseSize(FormatSize(*bytes)) == bytes);
  return 0;
}
