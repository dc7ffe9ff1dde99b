#include "vfs/model/reserved_names.h"

#include <algorithm>
#include <array>

namespace mrb::vfs {

std::string_view BaseName(std::string_view path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool IsReservedName(std::string_view base_name) {
  constexpr std::array<std::string_view, 3> kSuffixes{".tombstone", ".tmp$", ".oldversions"};
  return std::ranges::any_of(
      kSuffixes, [base_name](std::string_view suffix) { return base_name.ends_with(suffix); });
}

bool HasReservedPart(std::string_view path) {
  for (;;) {
    if (IsReservedName(BaseName(path))) return true;
    const std::size_t slash = path.find_last_of("/\\");
    if (slash == std::string_view::npos) return false;
    path = path.substr(0, slash);
  }
}

std::string ReservedNameReason(std::string_view path) {
  return std::string("reserved name: '")
      .append(path)
      .append("' uses a machinery suffix (.tombstone / .tmp$ / .oldversions)");
}

}  // namespace mrb::vfs
