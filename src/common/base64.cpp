#include "common/base64.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace mrb {

std::string EncodeBase64(std::span<const std::uint8_t> bytes) {
  static constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const auto group = bytes.subspan(at, std::min<std::size_t>(3, bytes.size() - at));
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) bits = bits << 8U | (i < group.size() ? group[i] : 0U);
    for (std::size_t i = 0; i < 4; ++i) {
      out += i <= group.size() ? kAlphabet[bits >> (18U - 6U * i) & 63U] : '=';
    }
  }
  return out;
}

}  // namespace mrb
