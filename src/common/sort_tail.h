#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace mrb {

/// Sorts `all` by `key`, whose first `known` elements are sorted already: costs a sort of the rest
/// and one pass over everything.
template <typename Element, typename Key>
void SortTail(std::vector<Element>& all, std::size_t known, Key key) {
  const auto tail = all.begin() + static_cast<std::ptrdiff_t>(known);
  std::ranges::sort(tail, all.end(), {}, key);
  std::vector<Element> merged(all.size());
  std::ranges::merge(all.begin(), tail, tail, all.end(), merged.begin(), {}, key, key);
  all = std::move(merged);
}

}  // namespace mrb
