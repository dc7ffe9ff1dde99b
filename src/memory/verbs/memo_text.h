#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "memory/context/context_store.h"

namespace mrb::memory {

/// How answers show memos.

/// "YYYY-MM-DD HH:MM" in UTC, or "untimed" for 0.
[[nodiscard]] std::string FormatWritten(std::uint64_t written);

/// The first line of a memo, cut with "…" when long.
[[nodiscard]] std::string FirstLine(std::string_view content);
void AppendFirstLine(std::string& out, std::string_view content);

/// "topic#n" of a row.
[[nodiscard]] std::string MemoId(const ContextIndex& index, std::uint32_t row);

/// The answer for a position that a topic does not have: "'t' has 3 memo(s) in context 'c' — n is
/// 1-based".
[[nodiscard]] std::string MemoRangeError(std::uint64_t memos, std::string_view topic,
                                         std::string_view context);

/// "no memory 't' in context 'c'".
[[nodiscard]] std::string NoTopicError(std::string_view topic, std::string_view context);

}  // namespace mrb::memory
