#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/parallel.h"
#include "memory/index/context_index.h"
#include "memory/recall/temporal_query.h"

namespace mrb::memory {

/// Appends "topic#n [types]" of a row.
void AppendMemoHead(std::string& out, const ContextIndex& index, std::uint32_t row);

/// Appends two blanks and the first line of a row's memo.
void AppendMemoLine(std::string& out, const ContextIndex& index, std::uint32_t row);

/// Brings a memo of the list nearer while those before it are being written out: a listing of a
/// hundred thousand memos is all waiting for memory otherwise.
void PrefetchMemo(const ContextIndex& index, std::span<const std::uint32_t> rows, std::size_t i);

/// Threads worth starting to write out `lines` lines.
[[nodiscard]] std::size_t LineThreads(std::size_t lines);

/// Appends one line for each row: `lead`, "topic#n [types]", whatever between(out, i) appends for
/// the i-th row, two blanks and the memo's first line. Long lists are written by several threads.
template <typename Between>
void AppendMemoLines(std::string& out, const ContextIndex& index,
                     std::span<const std::uint32_t> rows, std::string_view lead, Between between) {
  const std::size_t threads = LineThreads(rows.size());
  std::vector<std::string> parts(threads);
  RunParallel(threads, [&](std::size_t thread) {
    constexpr std::size_t kTypicalLine = 160;
    std::string& part = thread == 0 ? out : parts[thread];
    const std::size_t from = rows.size() * thread / threads;
    const std::size_t to = rows.size() * (thread + 1) / threads;
    part.reserve(part.size() + (thread == 0 ? rows.size() : to - from) * kTypicalLine);
    for (std::size_t i = from; i < to; ++i) {
      PrefetchMemo(index, rows, i);
      part += lead;
      AppendMemoHead(part, index, rows[i]);
      between(part, i);
      AppendMemoLine(part, index, rows[i]);
    }
  });
  for (const std::string& part : parts) {
    out += part;
  }
}

/// The section of an answer to a question about time: up to kMaxTemporalRows memos of its dates,
/// those among `hits` (ascending rows) marked as being about its subject too; for a question
/// without a date the dated ones of the hits. Empty when there is nothing to show.
inline constexpr std::size_t kMaxTemporalRows = 20;
[[nodiscard]] std::string TemporalSection(const ContextIndex& index, const TemporalQuery& query,
                                          const std::vector<std::uint32_t>& hits);

}  // namespace mrb::memory
