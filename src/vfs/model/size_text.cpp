#include "vfs/model/size_text.h"

#include <array>
#include <limits>

#include "common/text.h"

namespace mrb::vfs {
namespace {

struct Unit {
  std::string_view short_name;
  std::string_view name;
  unsigned shift;
};

constexpr std::array<Unit, 4> kUnits{
    {{"k", "kb", 10}, {"m", "mb", 20}, {"g", "gb", 30}, {"t", "tb", 40}}};

std::optional<unsigned> ShiftOf(std::string_view unit) {
  if (unit.empty() || unit == "b") return 0;
  for (const Unit& known : kUnits) {
    if (unit == known.short_name || unit == known.name) return known.shift;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> ParseSize(std::string_view text) {
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const auto number = ParseDecimal(text.substr(0, digits));
  const auto shift = ShiftOf(LowerAscii(text.substr(digits)));
  if (!number || !shift) return std::nullopt;
  if (*number > std::numeric_limits<std::uint64_t>::max() >> *shift) return std::nullopt;
  return *number << *shift;
}

std::string FormatSize(std::uint64_t bytes) {
  const Unit* best = nullptr;
  for (const Unit& unit : kUnits) {
    if (bytes != 0 && bytes % (std::uint64_t{1} << unit.shift) == 0) best = &unit;
  }
  if (best == nullptr) return std::to_string(bytes);
  return std::to_string(bytes >> best->shift).append(best->name);
}

std::string RoundedSize(std::uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  constexpr std::array<std::string_view, 4> kNames{" KB", " MB", " GB", " TB"};
  std::size_t unit = 0;
  std::uint64_t rest = 0;
  for (; unit < kNames.size() && bytes >= 1024; ++unit) {
    rest = bytes % 1024;
    bytes /= 1024;
  }
  const std::uint64_t tenths = rest * 10 / 1024;
  return std::to_string(bytes).append(".").append(std::to_string(tenths)).append(kNames[unit - 1]);
}

}  // namespace mrb::vfs
