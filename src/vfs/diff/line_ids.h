#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace mrb::diff {

using LineId = std::uint32_t;

/// Lines as numbers: two lines have the same number when, and only when, their bytes are the same.
struct LineIds {
  std::vector<LineId> side1;
  std::vector<LineId> side2;
  std::size_t distinct = 0;  ///< numbers run from 0 to this, exclusive
};

/// At most 2^31 lines together. Throws std::bad_alloc.
[[nodiscard]] LineIds NumberLines(std::span<const std::string_view> lines1,
                                  std::span<const std::string_view> lines2);

}  // namespace mrb::diff
