#include "server/http/plain_name.h"

#include <algorithm>
#include <array>

#include "common/text.h"

namespace mrb::server {
namespace {

constexpr std::size_t kMaxName = 255;  // what file systems hold in one name

bool IsDeviceName(std::string_view name) {
  static constexpr std::array<std::string_view, 6> kDevices{"con", "prn",    "aux",
                                                            "nul", "conin$", "conout$"};
  // "con .txt" is the console as well.
  std::string_view base = Trim(name.substr(0, name.find('.')));
  if (std::ranges::any_of(kDevices, [&](auto device) { return EqualsIgnoreCase(base, device); })) {
    return true;
  }
  const std::string_view kind = base.substr(0, 3);
  if (!EqualsIgnoreCase(kind, "com") && !EqualsIgnoreCase(kind, "lpt")) return false;
  const std::string_view number = base.substr(3);
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\u00b9" ||
         number == "\u00b2" || number == "\u00b3";
}

bool IsForbidden(char c) {
  return IsControl(c) || c == '/' || c == '\\' || c == ':';
}

}  // namespace

bool IsPlainName(std::string_view name) {
  if (name.empty() || name.size() > kMaxName) return false;
  if (name.back() == '.' || name.back() == ' ') return false;  // "." and ".." among them
  return std::ranges::none_of(name, IsForbidden) && IsUtf8(name) && !IsDeviceName(name);
}

}  // namespace mrb::server
