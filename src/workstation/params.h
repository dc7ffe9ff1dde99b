#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "server/http/http_message.h"

namespace mrb::workstation {

/// Rows that one answer holds at most, and without a wish.
inline constexpr std::uint64_t kMaxRows = 1000;
inline constexpr std::uint64_t kDefaultRows = 100;

/// A part of a list.
struct Page {
  std::uint64_t offset = 0;
  std::uint64_t limit = kDefaultRows;
};

/// The parameters of one request: the query's for a GET, for a POST those of the body, which is a
/// form as browsers send it. Names and texts may so hold any bytes.
class Params {
 public:
  explicit Params(const server::Request& request)
      : form_(request.line.method == "POST" ? request.body : request.line.query) {}

  /// Empty when it is missing.
  [[nodiscard]] std::string text(std::string_view name) const {
    return server::QueryParam(form_, name);
  }
  /// kInvalidArgument when it is missing or empty.
  [[nodiscard]] Result<std::string> needed(std::string_view name) const;

  /// `otherwise` when it is missing, at most `most`; kInvalidArgument for what is no number.
  [[nodiscard]] Result<std::uint64_t> number(std::string_view name, std::uint64_t otherwise,
                                             std::uint64_t most) const;

  [[nodiscard]] bool is_set(std::string_view name) const { return text(name) == "1"; }

  /// "offset" and "limit".
  [[nodiscard]] Result<Page> page() const;

 private:
  std::string_view form_;
};

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
