#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace mrb::memory {

/// A normalised date: a year, a month of a year, or a day. Stamps compare as their texts do, so
/// that all days of a month lie between it and the next one.
class DateStamp {
 public:
  DateStamp() = default;

  /// The parts are valid; 0 stands for "all of it".
  constexpr DateStamp(unsigned year, unsigned month, unsigned day)
      : packed_(year * kYear + month * kMonth + day) {}

  /// The day `days` after 1970-01-01; the year is kept within 1 to 9999.
  [[nodiscard]] static DateStamp from_days(std::int64_t days);

  /// From what packed() told.
  [[nodiscard]] static DateStamp unpack(std::uint32_t packed) {
    DateStamp stamp;
    stamp.packed_ = packed;
    return stamp;
  }

  [[nodiscard]] unsigned year() const { return packed_ / kYear; }
  [[nodiscard]] unsigned month() const { return packed_ % kYear / kMonth; }
  [[nodiscard]] unsigned day() const { return packed_ % kMonth; }
  [[nodiscard]] bool is_set() const { return packed_ != 0; }
  [[nodiscard]] std::uint32_t packed() const { return packed_; }

  /// The first stamp behind all those that this one is a prefix of.
  [[nodiscard]] DateStamp behind() const {
    return unpack(packed_ + (day() != 0 ? 1 : month() != 0 ? kMonth : kYear));
  }

  /// "yyyy", "yyyy-mm" or "yyyy-mm-dd".
  [[nodiscard]] std::string text() const;

  auto operator<=>(const DateStamp&) const = default;

 private:
  static constexpr std::uint32_t kMonth = 32;
  static constexpr std::uint32_t kYear = 16 * kMonth;

  std::uint32_t packed_ = 0;
};

/// Whether there is such a day; a month of 0, or a day of 0, stands for all of it.
[[nodiscard]] bool IsDate(std::uint64_t year, std::uint64_t month, std::uint64_t day);

}  // namespace mrb::memory
