#include "front/client/answer_reader.h"

#include <algorithm>
#include <utility>

namespace mrb::front {
namespace {

constexpr std::string_view kOut = "\"out\":\"";
constexpr std::size_t kDigits = 4;  // of \uXXXX
constexpr std::size_t kMaxEscape = 2 + kDigits;

/// The first quote that no backslash stands before.
std::size_t FindQuote(std::string_view raw) {
  std::size_t at = 0;
  while (at < raw.size() && raw[at] != '"') at += raw[at] == '\\' ? 2 : 1;
  return std::min(at, raw.size());
}

/// Appends what the escape at the start of `raw` stands for; the bytes that it takes there.
std::size_t AppendUnescaped(std::string& text, std::string_view raw) {
  if (raw.size() == 1) {
    text += raw;
    return 1;
  }
  switch (const char c = raw[1]) {
    case 'n':
      text += '\n';
      return 2;
    case 'r':
      text += '\r';
      return 2;
    case 't':
      text += '\t';
      return 2;
    case 'u':
      if (FindQuote(raw.substr(2, kDigits)) < kDigits) return 2;
      text += '?';
      return kMaxEscape;
    default:
      text += c;
      return 2;
  }
}

}  // namespace

void AnswerReader::feed(std::string_view bytes) {
  if (held_.empty()) {
    held_ = read(bytes, false);
  } else {
    held_ += bytes;
    held_.erase(0, held_.size() - read(held_, false).size());
  }
}

void AnswerReader::finish() {
  const std::string rest = std::exchange(held_, {});
  const std::string_view unread = read(rest, true);
  if (place_ == Place::kBody && !unread.empty()) text_(unread);
}

/// Whether the mark was found; then `bytes` begin behind it.
bool AnswerReader::pass(std::string_view mark, std::string_view& bytes) {
  const std::size_t at = bytes.find(mark, searched_);
  if (at == std::string_view::npos) {
    searched_ = bytes.size() - std::min(bytes.size(), mark.size() - 1);
    return false;
  }
  searched_ = 0;
  bytes.remove_prefix(at + mark.size());
  return true;
}

/// What is left of the bytes, which must come again with more behind them.
std::string_view AnswerReader::read(std::string_view bytes, bool is_last) {
  if (place_ == Place::kBody) {
    if (!pass(kOut, bytes)) return bytes;
    place_ = Place::kText;
  }
  if (place_ == Place::kEnd) return {};
  piece_.clear();
  bytes = unescape(bytes, is_last);
  if (!piece_.empty()) text_(piece_);
  return bytes;
}

/// Fills the piece; what is left, as above.
std::string_view AnswerReader::unescape(std::string_view raw, bool is_last) {
  while (!raw.empty()) {
    const std::string_view plain = raw.substr(0, raw.find('\\'));
    const std::size_t quote = plain.find('"');
    piece_ += plain.substr(0, quote);
    if (quote != std::string_view::npos) {
      place_ = Place::kEnd;
      return {};
    }
    raw.remove_prefix(plain.size());
    if (raw.empty() || (raw.size() < kMaxEscape && !is_last)) return raw;
    raw.remove_prefix(AppendUnescaped(piece_, raw));
  }
  return raw;
}

}  // namespace mrb::front
