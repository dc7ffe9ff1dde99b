#include "vfs/query/token.h"

#include <algorithm>
#include <string>

#include "vfs/query/value.h"

namespace mrb::query {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsNamePart(char c) {
  return IsNameStart(c) || IsDigit(c);
}

struct Operator {
  std::string_view text;
  TokenKind kind;
};

/// A longer one stands before its own beginning.
constexpr Operator kOperators[] = {
    {"&&", TokenKind::kAnd},    {"==", TokenKind::kEqual}, {"!=", TokenKind::kNotEqual},
    {"|", TokenKind::kOr},      {"<", TokenKind::kLess},   {">", TokenKind::kGreater},
    {"+", TokenKind::kPlus},    {"-", TokenKind::kMinus},  {"/", TokenKind::kSlash},
    {"%", TokenKind::kPercent}, {"!", TokenKind::kNot},    {"(", TokenKind::kOpen},
    {")", TokenKind::kClose},
};

class Lexer {
 public:
  explicit Lexer(std::string_view query) : rest_(query) {}

  Result<std::vector<Token>> run() {
    while (skip_blanks()) {
      if (auto read = next(); !read) return std::unexpected(std::move(read.error()));
    }
    tokens_.push_back({});
    return std::move(tokens_);
  }

 private:
  /// Whether anything follows.
  bool skip_blanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    return !rest_.empty();
  }

  Status next() {
    for (const Operator& known : kOperators) {
      if (!rest_.starts_with(known.text)) continue;
      tokens_.push_back({known.kind, {}, 0});
      rest_.remove_prefix(known.text.size());
      return {};
    }
    const char first = rest_.front();
    if (first == '"') return string();
    if (first == '$' && rest_.size() > 1 && IsDigit(rest_[1])) {
      rest_.remove_prefix(1);
      tokens_.push_back({TokenKind::kReference, {}, LeadingNumber(take(IsDigit))});
    } else if (IsDigit(first)) {
      number();
    } else if (IsNameStart(first)) {
      tokens_.push_back({TokenKind::kName, take(IsNamePart), 0});
    } else {
      return Fail(ErrorKind::kInvalidArgument, std::string("unexpected character '") + first +
                                                   "' (globs '*' '?' go inside \"quotes\")");
    }
    return {};
  }

  Status string() {
    const std::size_t end = rest_.find_first_of("\"\n", 1);
    if (end == std::string_view::npos || rest_[end] == '\n') {
      return Fail(ErrorKind::kInvalidArgument, "unterminated string literal");
    }
    tokens_.push_back({TokenKind::kString, rest_.substr(1, end - 1), 0});
    rest_.remove_prefix(end + 1);
    return {};
  }

  void number() {
    const std::string_view start = rest_;
    std::size_t size = take(IsDigit).size();
    if (rest_.size() > 1 && rest_[0] == '.' && IsDigit(rest_[1])) {
      rest_.remove_prefix(1);
      size += 1 + take(IsDigit).size();
    }
    tokens_.push_back({TokenKind::kNumber, {}, LeadingNumber(start.substr(0, size))});
  }

  std::string_view take(bool (*belongs)(char)) {
    std::size_t size = 0;
    while (size < rest_.size() && belongs(rest_[size])) ++size;
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
  }

  std::string_view rest_;
  std::vector<Token> tokens_;
};

}  // namespace

Result<std::vector<Token>> Lex(std::string_view query) {
  return Lexer(query).run();
}

}  // namespace mrb::query
