#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "vfs/search/pattern.h"

namespace mrb::search {

/// Finds places where consecutive bytes belong to given sets, 16 places a step. Immutable; any
/// number of threads may search.
class ClassSearch {
 public:
  static constexpr std::size_t kMaxSets = 3;

  /// One set to kMaxSets of them.
  explicit ClassSearch(const std::vector<ByteSet>& sets);

  /// The first place at `from` or later where byte i is in set i; npos when there is none.
  [[nodiscard]] std::size_t find(std::string_view text, std::size_t from) const;

 private:
  friend struct ClassScans;

  /// Membership by the halves of a byte: `low` has bit h set when a byte of the set has that low
  /// half and the high half h or h + 8; which of the two it is, is checked afterwards.
  struct Halves {
    std::array<std::uint8_t, 16> low{};
  };

  using Scan = std::size_t (*)(const ClassSearch&, const char* text, std::size_t from,
                               std::size_t end);

  [[nodiscard]] bool fits(const char* at) const;

  std::size_t count_ = 0;
  std::array<ByteSet, kMaxSets> sets_;
  std::array<Halves, kMaxSets> halves_;
  Scan scan_ = nullptr;
};

}  // namespace mrb::search
