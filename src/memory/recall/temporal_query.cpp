#include "memory/recall/temporal_query.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::memory {

namespace {

/// "2", "202", "2023-", "2023-0", "2023-09-1": what may become a stamp.
bool IsStampPrefix(std::string_view text) {
  constexpr std::string_view kShape = "dddd-dd-dd";
  if (text.empty() || text.size() > kShape.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kShape[i] == 'd' ? !digit : text[i] != '-') return false;
  }
  return true;
}

const DateStamp kFirst = DateStamp(1, 0, 0);
const DateStamp kBehindAll = DateStamp(10'000, 0, 0);

}  // namespace

std::string TemporalQuery::text() const {
  std::vector<std::string> parts;
  parts.reserve(stamps.size());
  for (const DateStamp stamp : stamps) {
    parts.push_back(stamp.text());
  }
  if (!prefix.empty()) parts.push_back(prefix);
  if (month != 0) parts.push_back("month " + std::to_string(month));
  parts.insert(parts.end(), cues.begin(), cues.end());
  return Join(parts, ", ");
}

TemporalQuery ReadTemporalQuery(std::string_view query, std::uint64_t now) {
  TemporalQuery out;
  FiveWs five_ws;
  five_ws.read(query, "", now);
  for (const FiveWs::Date& date : five_ws.dates()) {
    if (std::ranges::find(out.stamps, date.stamp) == out.stamps.end()) {
      out.stamps.push_back(date.stamp);
    }
  }
  WordScan words;
  words.read(query);
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string word = LowerAscii(words.word(i));
    if (IsTimeCue(word) && std::ranges::find(out.cues, word) == out.cues.end()) {
      out.cues.push_back(word);
    }
  }
  if (out.stamps.empty() && IsStampPrefix(query) && query.find('-') != std::string_view::npos) {
    out.prefix = query;
  }
  if (out.stamps.empty() && words.size() == 1 && words[0].meaning.kind == WordKind::kMonth) {
    out.month = static_cast<unsigned>(words[0].meaning.value);
  }
  return out;
}

std::vector<DatedRow> FindDated(const ContextIndex& index, const TemporalQuery& query) {
  std::vector<TimeWeb::DateRows> dates;
  const TimeWeb& time = index.webs().time();
  for (const DateStamp stamp : query.stamps) {
    const auto found = time.between(stamp, stamp.behind());
    dates.insert(dates.end(), found.begin(), found.end());
  }
  if (!query.prefix.empty() || query.month != 0) {
    for (const TimeWeb::DateRows& date : time.between(kFirst, kBehindAll)) {
      const bool wanted = query.month != 0 ? date.stamp.month() == query.month
                                           : date.stamp.text().starts_with(query.prefix);
      if (wanted) dates.push_back(date);
    }
  }
  std::ranges::sort(dates, {}, &TimeWeb::DateRows::stamp);
  std::vector<DatedRow> rows;
  std::vector<bool> seen(index.memos().size());
  for (const TimeWeb::DateRows& date : dates) {
    for (const std::uint32_t row : date.mentioned) {
      if (!seen[row]) {
        seen[row] = true;
        rows.push_back({date.stamp, row});
      }
    }
  }
  return rows;
}

}  // namespace mrb::memory
