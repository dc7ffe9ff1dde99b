#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vfs/diff/text_script.h"

namespace mrb::diff {

/// One side of a file diff.
struct FileSide {
  std::string_view label;  ///< the path or name shown to the reader
  std::uint32_t version = 0;
  std::string_view bytes;
};

/// What a file diff with something that is not a file answers.
inline constexpr std::string_view kNotAFile =
    "=== FILE DIFF ===\nERROR: other side is not a File.\n";

/// Every line of both sides in order, marked as same, removed or added, in a frame. Lines are equal
/// when their bytes are. A side with a zero byte is binary: the answer gives the sizes alone.
/// Memory that runs out, or is refused, gives a sentence instead of part of a diff. Any thread.
[[nodiscard]] std::string FileDiff(const FileSide& side1, const FileSide& side2,
                                   const MemoryCheck& may_take = {});

}  // namespace mrb::diff
