#include "memory/verbs/memo_text.h"

#include "common/answer.h"
#include "common/civil_time.h"
#include "common/text.h"

namespace mrb::memory {

namespace {
constexpr std::size_t kFirstLineBytes = 120;  // a line of a terminal, with the columns before it
}

std::string FormatWritten(std::uint64_t written) {
  return written == 0 ? "untimed" : FormatMinute(written);
}

void AppendFirstLine(std::string& out, std::string_view content) {
  const std::string_view line = TrimLineEnd(content.substr(0, content.find('\n')));
  const std::string_view cut = CutUtf8(line, kFirstLineBytes);
  out.append(cut).append(cut.size() < line.size() ? "…" : "");
}

std::string FirstLine(std::string_view content) {
  std::string line;
  AppendFirstLine(line, content);
  return line;
}

std::string MemoId(const ContextIndex& index, std::uint32_t row) {
  const MemoRow& memo = index.memos()[row];
  return std::string(index.topics().name(memo.topic)) + "#" +
         std::to_string(std::uint64_t{memo.ordinal} + 1);
}

std::string MemoRangeError(std::uint64_t memos, std::string_view topic, std::string_view context) {
  return ErrorAnswer("'" + std::string(topic) + "' has " + std::to_string(memos) +
                     " memo(s) in context '" + std::string(context) + "' — n is 1-based");
}

std::string NoTopicError(std::string_view topic, std::string_view context) {
  return ErrorAnswer("no memory '" + std::string(topic) + "' in context '" + std::string(context) +
                     "'");
}

}  // namespace mrb::memory
