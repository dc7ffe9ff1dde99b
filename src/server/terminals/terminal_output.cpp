#include "server/terminals/terminal_output.h"

#include <algorithm>

namespace mrb::server {
namespace {

/// The length that a sequence's first byte announces; 0 for a byte that begins none.
std::size_t AnnouncedLength(unsigned char first) {
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  if (first >= 0xF0 && first <= 0xF4) return 4;
  return 0;
}

}  // namespace

void TerminalOutput::append(std::string_view piece) {
  bytes_ += piece;
  if (bytes_.size() <= kMax) return;
  const std::size_t dropped = bytes_.size() - kKept;
  bytes_.erase(0, dropped);
  base_ += dropped;
}

std::string_view TerminalOutput::between(std::uint64_t begin, std::uint64_t end) const {
  begin = std::clamp(begin, base_, total());
  end = std::clamp(end, begin, total());
  return std::string_view(bytes_).substr(static_cast<std::size_t>(begin - base_),
                                         static_cast<std::size_t>(end - begin));
}

std::size_t UnfinishedUtf8(std::string_view text) {
  for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if ((byte & 0xC0U) == 0x80U) continue;
    return AnnouncedLength(byte) > back ? back : 0;
  }
  return 0;
}

}  // namespace mrb::server
