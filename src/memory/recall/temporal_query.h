#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "memory/index/context_index.h"

namespace mrb::memory {

/// What a question says about time: the dates in it, read as those of a memo are, and the words
/// that mark it as one about time.
struct TemporalQuery {
  std::vector<DateStamp> stamps;
  std::string prefix;  ///< the start of a stamp, "2023-0", where there is no whole one
  unsigned month = 0;  ///< a month of any year, where nothing else is there
  std::vector<std::string> cues;

  [[nodiscard]] bool has_date() const { return !stamps.empty() || !prefix.empty() || month != 0; }
  [[nodiscard]] bool is_time_related() const { return has_date() || !cues.empty(); }

  /// The dates or cues as a text, for an answer.
  [[nodiscard]] std::string text() const;
};

/// `now`: the moment that "last week" is seen from.
[[nodiscard]] TemporalQuery ReadTemporalQuery(std::string_view query, std::uint64_t now);

/// A memo that mentions a date.
struct DatedRow {
  DateStamp stamp;
  std::uint32_t row = 0;
};

/// The memos that mention a date of the query, in time order, each once, with the first such date.
[[nodiscard]] std::vector<DatedRow> FindDated(const ContextIndex& index,
                                              const TemporalQuery& query);

}  // namespace mrb::memory
