#include "memory/verbs/memo_lines.h"

#include <algorithm>
#include <charconv>
#include <thread>
#include <tuple>

#include "memory/record/memo_types.h"
#include "memory/verbs/memo_text.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kLinesPerThread = 4096;
constexpr std::size_t kRecordAhead = 8;  // memos whose text is on its way
constexpr std::size_t kRowAhead = 16;    // and whose table row is
constexpr std::size_t kCacheLine = 64;

}  // namespace

std::size_t LineThreads(std::size_t lines) {
  return std::clamp<std::size_t>(lines / kLinesPerThread, 1,
                                 std::max(1U, std::thread::hardware_concurrency()));
}

void PrefetchMemo(const ContextIndex& index, std::span<const std::uint32_t> rows, std::size_t i) {
  if (i + kRowAhead < rows.size()) __builtin_prefetch(&index.memos()[rows[i + kRowAhead]]);
  if (i + kRecordAhead < rows.size()) {
    const char* record = index.record_bytes(rows[i + kRecordAhead]);
    for (std::size_t line = 0; line < 4; ++line) {
      __builtin_prefetch(record + line * kCacheLine);
    }
  }
}

void AppendMemoHead(std::string& out, const ContextIndex& index, std::uint32_t row) {
  const MemoRow& memo = index.memos()[row];
  std::array<char, 20> number;
  const auto end =
      std::to_chars(number.data(), number.data() + number.size(), std::uint64_t{memo.ordinal} + 1);
  // The record's own copy of the topic: it lies beside the text that is shown next.
  out.append(index.record(row).topic).append("#").append(number.data(), end.ptr).append(" [");
  AppendMemoTypes(out, memo.props);
  out.append("]");
}

void AppendMemoLine(std::string& out, const ContextIndex& index, std::uint32_t row) {
  out.append("  ");
  AppendFirstLine(out, index.record(row).content);
}

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
  if (dated.empty()) return "";
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
  if (all > dated.size()) out += "\n    ... (" + std::to_string(all - dated.size()) + " more)";
  return out;
}

}  // namespace mrb::memory
