#pragma once

#include <cstdint>
#include <vector>

#include "vfs/diff/lcs_row.h"
#include "vfs/diff/line_ids.h"

namespace mrb::diff {

enum class LineChange { kSame, kRemoved, kAdded };

/// Neighbouring lines with the same fate: lines of side 1, or of side 2 when they are added.
struct LineRun {
  LineChange change = LineChange::kSame;
  LineRange lines;
};

/// A smallest set of changes that makes side 2 of side 1, top to bottom.
///
/// Among the equally small ones it is the one of this recursion, for readers compare the texts made
/// of it: side 1 is halved, side 2 is split where the longest common subsequences of the two halves
/// are longest together, at the smallest such place; a side 1 of one line keeps its first match.
/// Removals of a block without any match come first.
///
/// Throws std::bad_alloc.
[[nodiscard]] std::vector<LineRun> CompareLines(const LineIds& ids);

}  // namespace mrb::diff
