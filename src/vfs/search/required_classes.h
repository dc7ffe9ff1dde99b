#pragma once

#include <vector>

#include "vfs/search/pattern.h"

namespace mrb::search {

/// Sets of bytes, at most ClassSearch::kMaxSets, that stand for consecutive bytes of every match,
/// and that are found together rarely enough in program text and prose to be worth looking for.
/// Empty when there are none.
[[nodiscard]] std::vector<ByteSet> FindRequiredClasses(const Pattern& pattern);

}  // namespace mrb::search
