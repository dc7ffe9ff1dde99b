#include "front/client/console_io.h"

#include "common/text.h"
#include "platform/console.h"

namespace mrb::front {

std::optional<std::string> StdinLines::next() {
  if (put_back_) return std::exchange(put_back_, std::nullopt);
  while (auto line = platform::ReadStdinLine()) {
    std::string_view text = TrimLineEnd(*line);
    if (!std::exchange(begun_, true) && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (!text.empty()) return std::string(text);
  }
  return std::nullopt;
}

void AnswerPrinter::print(std::string_view piece) {
  const std::size_t lines = piece.rfind('\n') + 1;  // 0 without one
  if (lines > 0 && !rest_.empty()) {
    platform::WriteStdout(rest_.append(piece.substr(0, lines)));
    rest_.clear();
  } else if (lines > 0) {
    platform::WriteStdout(piece.substr(0, lines));
  }
  rest_ += piece.substr(lines);
}

void AnswerPrinter::finish() {
  if (!rest_.empty()) platform::WriteStdout(rest_ += '\n');
}

void PrintAnswer(std::string_view answer) {
  AnswerPrinter printer;
  printer.print(answer);
  printer.finish();
}

}  // namespace mrb::front
