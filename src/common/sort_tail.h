#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <ranges>
#include <utility>
#include <vector>

namespace mrb {

/// Sorts `all` by `key`, whose first `known` elements are sorted already: costs a sort of the rest,
/// a binary search for each of them and one pass of moves. Not stable.
template <typename Element, typename Key>
void SortTail(std::vector<Element>& all, std::size_t known, Key key) {
  const auto tail = all.begin() + static_cast<std::ptrdiff_t>(known);
  std::ranges::sort(tail, all.end(), {}, key);
  std::vector<Element> added(std::make_move_iterator(tail), std::make_move_iterator(all.end()));
  // From the back, each element and what comes behind it find their place at once.
  auto sorted = tail;
  auto free = all.end();
  for (Element& element : std::views::reverse(added)) {
    const auto place =
        std::ranges::upper_bound(all.begin(), sorted, std::invoke(key, element), {}, key);
    free = std::move_backward(place, sorted, free);
    sorted = place;
    *--free = std::move(element);
  }
}

}  // namespace mrb
