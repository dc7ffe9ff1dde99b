#include "vfs/model/version_record.h"

#include <algorithm>
#include <optional>

#include "common/text.h"

namespace mrb {
namespace {

std::uint32_t Field(std::string_view text, std::size_t at, std::size_t digits) {
  return static_cast<std::uint32_t>(ParseDecimal(text.substr(at, digits)).value_or(0));
}

}  // namespace

AuthorName::AuthorName(std::string_view name) {
  // A NUL ends the name wherever it is read again.
  const std::string_view kept = CutUtf8(name.substr(0, name.find('\0')), kBytes - 1);
  std::ranges::copy(kept, bytes_.begin());
}

std::string_view AuthorName::text() const {
  return padded().substr(0, padded().find('\0'));
}

std::string StampText(const VersionStamp& stamp) {
  std::string text;
  AppendPadded(text, stamp.year, 4);
  AppendPadded(text += '-', stamp.month, 2);
  AppendPadded(text += '-', stamp.day, 2);
  AppendPadded(text += ' ', stamp.hour, 2);
  AppendPadded(text += ':', stamp.minute, 2);
  AppendPadded(text += ':', stamp.second, 2);
  return text;
}

VersionStamp ParseStamp(std::string_view text) {
  constexpr std::string_view kShape = "0000-00-00 00:00:00";
  if (text.size() != kShape.size()) return {};
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kShape[i] == '0' ? !digit : text[i] != kShape[i]) return {};
  }
  return {.year = Field(text, 0, 4),
          .month = Field(text, 5, 2),
          .day = Field(text, 8, 2),
          .hour = Field(text, 11, 2),
          .minute = Field(text, 14, 2),
          .second = Field(text, 17, 2)};
}

}  // namespace mrb
