#include "memory/record/memo_types.h"

#include <algorithm>
#include <array>
#include <bit>

#include "common/text.h"

namespace mrb::memory {

namespace {
constexpr std::array<std::string_view, 16> kNames = {
    "procedure", "history",    "preference", "note",  "example", "foundation", "protocol", "usage",
    "decision",  "constraint", "reference",  "state", "lesson",  "warning",    "design",   "todo"};

constexpr std::uint32_t kNameBits = 0xFFFF;
}  // namespace

const std::string& MemoTypeNames() {
  static const std::string kAllTypes = FormatMemoTypes(kNameBits);
  return kAllTypes;
}

Result<std::uint32_t> ParseMemoTypes(std::string_view field) {
  if (Trim(field).empty()) return 0;
  std::uint32_t bits = 0;
  for (const std::string_view piece : Split(field, '|')) {
    const std::string_view name = Trim(piece);
    const auto found = std::ranges::find(kNames, name);
    if (found == kNames.end()) return Fail(ErrorKind::kInvalidArgument, std::string(name));
    bits |= 1U << (found - kNames.begin());
  }
  return bits;
}

std::string UnknownTypeText(std::string_view name) {
  return "unknown memo property '" + std::string(name) + "' — valid: " + MemoTypeNames();
}

void AppendMemoTypes(std::string& out, std::uint32_t props) {
  std::uint32_t bits = props & kNameBits;
  if (bits == 0) {
    out.append("untyped");
    return;
  }
  while (bits != 0) {
    out.append(kNames[static_cast<std::size_t>(std::countr_zero(bits))]);
    bits &= bits - 1;
    out.append(bits == 0 ? "" : "|");
  }
}

std::string FormatMemoTypes(std::uint32_t props) {
  std::string names;
  AppendMemoTypes(names, props);
  return names;
}

}  // namespace mrb::memory
