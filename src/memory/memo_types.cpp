#include "memory/memo_types.h"

#include <algorithm>
#include <array>

#include "common/text.h"

namespace mrb::memory {

namespace {
constexpr std::array<std::string_view, 16> kNames = {
    "procedure", "history",    "preference", "note",  "example", "foundation", "protocol", "usage",
    "decision",  "constraint", "reference",  "state", "lesson",  "warning",    "design",   "todo"};

std::string join_names(std::uint32_t bits) {
  std::string out;
  for (std::size_t bit = 0; bit < kNames.size(); ++bit) {
    if ((bits >> bit & 1U) != 0) {
      out.append(out.empty() ? "" : "|").append(kNames[bit]);
    }
  }
  return out;
}
}  // namespace

const std::string& MemoTypeNames() {
  static const std::string names = join_names(0xFFFF);
  return names;
}

Result<std::uint32_t> ParseMemoTypes(std::string_view field) {
  if (Trim(field).empty()) {
    return 0;
  }
  std::uint32_t bits = 0;
  for (const std::string_view piece : Split(field, '|')) {
    const std::string_view name = Trim(piece);
    const auto found = std::ranges::find(kNames, name);
    if (found == kNames.end()) {
      return Fail(ErrorKind::kInvalidArgument, std::string(name));
    }
    bits |= 1U << (found - kNames.begin());
  }
  return bits;
}

std::string UnknownTypeText(std::string_view name) {
  return "unknown memo property '" + std::string(name) + "' — valid: " + MemoTypeNames();
}

std::string FormatMemoTypes(std::uint32_t props) {
  std::string names = join_names(props);
  return names.empty() ? "untyped" : names;
}

}  // namespace mrb::memory
