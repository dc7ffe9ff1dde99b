#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "vfs/diff/line_script.h"

namespace mrb::diff {

/// Whether that many bytes more may be taken now. None: as many as the allocator gives.
using MemoryCheck = std::function<bool(std::uint64_t)>;

/// Neighbouring lines with the same fate, where they lie.
struct TextRun {
  LineChange change = LineChange::kSame;
  std::uint64_t line1 = 0;  ///< lines of side 1 before it, from 0
  std::uint64_t line2 = 0;  ///< lines of side 2 before it, from 0
  std::uint64_t count = 0;  ///< lines in it
  std::string_view text;    ///< them, with what ends them: of side 2 when added, else of side 1
};

/// A smallest set of changes that makes text 2 of text 1, top to bottom; neighbouring runs may have
/// the same fate. Lines are equal when their bytes are, whether or not the last one ends in "\n".
/// Throws std::bad_alloc, also when `may_take` refuses.
[[nodiscard]] std::vector<TextRun> CompareTexts(std::string_view text1, std::string_view text2,
                                                const MemoryCheck& may_take = {});

}  // namespace mrb::diff
