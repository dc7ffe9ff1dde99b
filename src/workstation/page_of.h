#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "workstation/params.h"

namespace mrb::workstation {

/// The rows of one page of `rows` as they would stand in the order of `less`, without putting the
/// others in order: the work is linear in all of them, whichever page it is.
template <typename Row, typename Less>
[[nodiscard]] std::span<Row> PageOf(std::vector<Row>& rows, const Page& page, Less less) {
  const auto begin = static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(page.offset, rows.size()));
  const auto count = static_cast<std::ptrdiff_t>(
      std::min<std::uint64_t>(page.limit, rows.size() - static_cast<std::uint64_t>(begin)));
  const auto first = rows.begin() + begin;
  if (first != rows.end()) std::nth_element(rows.begin(), first, rows.end(), less);
  std::partial_sort(first, first + count, rows.end(), less);
  return {rows.data() + begin, static_cast<std::size_t>(count)};
}

}  // namespace mrb::workstation
