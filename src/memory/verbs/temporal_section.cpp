#include "memory/verbs/temporal_section.h"

#include <algorithm>
#include <tuple>

#include "memory/verbs/memo_lines.h"

namespace mrb::memory {

std::string TemporalSection(const ContextIndex& index, const TemporalQuery& query,
                            const std::vector<std::uint32_t>& hits) {
  std::vector<DatedRow> dated;
  if (query.has_date()) {
    dated = FindDated(index, query);
  } else if (query.is_time_related()) {
    const TimeWeb& time = index.webs().time();
    for (const std::uint32_t row : hits) {
      if (const DateStamp anchor = time.anchor(row); anchor.is_set()) {
        dated.push_back({anchor, row});
      }
    }
  }
  if (dated.empty()) {
    return "";
  }
  const auto about = [&](const DatedRow& row) { return std::ranges::binary_search(hits, row.row); };
  std::ranges::sort(
      dated, {}, [&](const DatedRow& row) { return std::tuple(!about(row), row.stamp, row.row); });
  const std::size_t all = dated.size();
  dated.resize(std::min(dated.size(), kMaxTemporalRows));
  std::string out = "\n  temporal (query is time-related: " + query.text() + "):";
  for (const DatedRow& row : dated) {
    out += "\n    ";
    AppendMemoHead(out, index, row.row);
    out.append("  ").append(row.stamp.text());
    AppendMemoLine(out, index, row.row);
    out += about(row) ? "  date+subject" : "  date";
  }
  if (all > dated.size()) {
    out += "\n    ... (" + std::to_string(all - dated.size()) + " more)";
  }
  return out;
}

}  // namespace mrb::memory
