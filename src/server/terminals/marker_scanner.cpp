#include "server/terminals/marker_scanner.h"

#include <charconv>
#include <utility>

namespace mrb::server {
namespace {

constexpr char kEscapeByte = '\x1b';
constexpr char kBell = '\a';

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::vector<std::size_t> FallbackTable(std::string_view pattern) {
  std::vector<std::size_t> table(pattern.size(), 0);
  std::size_t length = 0;
  for (std::size_t i = 1; i < pattern.size(); ++i) {
    while (length > 0 && pattern[i] != pattern[length]) length = table[length - 1];
    if (pattern[i] == pattern[length]) ++length;
    table[i] = length;
  }
  return table;
}

}  // namespace

MarkerScanner::MarkerScanner(std::string marker, std::uint64_t offset)
    : marker_(std::move(marker)),
      fallback_(FallbackTable(marker_)),
      at_(offset),
      line_begin_(offset) {
  matched_.reserve(marker_.size());
}

void MarkerScanner::feed(std::string_view bytes) {
  for (const char c : bytes) {
    if (end_) return;
    take(c);
    ++at_;
  }
}

void MarkerScanner::take(char c) {
  // A status ends with its digits, whatever comes next.
  if (!status_.empty() && !IsDigit(c)) {
    finish_status();
    if (end_) return;
  }
  if (state_ != State::kText && c != '\n') {
    take_in_sequence(c);
  } else if (c == '\n') {
    state_ = State::kText;  // no sequence holds a line feed: what looked like one was not
    end_line();
  } else if (c == kEscapeByte) {
    state_ = State::kEscape;
  } else if (static_cast<unsigned char>(c) > ' ' && c != '\x7f') {
    take_printed(c);
  }
}

void MarkerScanner::take_in_sequence(char c) {
  const auto byte = static_cast<unsigned char>(c);
  switch (state_) {
    case State::kEscape:
      string_length_ = 0;
      if (c == '[') {
        state_ = State::kControl;
      } else if (c == ']' || c == 'P' || c == 'X' || c == '^' || c == '_') {
        state_ = State::kString;
      } else if (byte >= 0x20 && byte <= 0x2F) {
        state_ = State::kOneMore;
      } else {
        state_ = State::kText;
      }
      break;
    case State::kControl:
      if (byte >= 0x40 && byte <= 0x7E) state_ = State::kText;
      if (c == kEscapeByte) state_ = State::kEscape;
      break;
    case State::kString:
      if (c == kBell || ++string_length_ > kMaxString) state_ = State::kText;
      if (c == kEscapeByte) state_ = State::kStringEscape;
      break;
    case State::kStringEscape:
      state_ = c == '\\' ? State::kText : State::kString;
      break;
    default:
      state_ = State::kText;
  }
}

void MarkerScanner::take_printed(char c) {
  if (marker_seen_) after_marker(c);
  if (status_.empty()) match(c);
}

/// The first printed character behind the marker: a status, or the rest of an echoed line.
void MarkerScanner::after_marker(char c) {
  if (IsDigit(c) || (c == '-' && status_.empty())) {
    if (status_.size() < kMaxDigits) status_ += c;
    return;
  }
  was_echo();
}

void MarkerScanner::was_echo() {
  echo_begin_ = matched_.front().line;
  marker_seen_ = false;
  matched_.clear();
  status_.clear();
}

void MarkerScanner::match(char c) {
  if (marker_seen_) return;
  std::size_t length = matched_.size();
  while (length > 0 && marker_[length] != c) length = fallback_[length - 1];
  // What is left of the match is its last characters.
  matched_.erase(matched_.begin(), matched_.end() - static_cast<std::ptrdiff_t>(length));
  if (marker_[length] != c) return;
  matched_.push_back({at_, line_begin_});
  marker_seen_ = matched_.size() == marker_.size();
}

void MarkerScanner::end_line() {
  line_begin_ = at_ + 1;
  if (!echo_begin_) return;
  echo_ = Echo{*echo_begin_, line_begin_};
  echo_begin_.reset();
}

void MarkerScanner::finish_status() {
  std::int64_t status = 0;
  const auto parsed = std::from_chars(status_.data(), status_.data() + status_.size(), status);
  if (parsed.ec == std::errc()) {
    end_ = End{matched_.front().at, status};
  } else {
    was_echo();  // a lone minus is no status
  }
}

}  // namespace mrb::server
