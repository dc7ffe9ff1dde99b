#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::query {

enum class TokenKind : std::uint8_t {
  kOr,
  kAnd,
  kEqual,
  kNotEqual,
  kLess,
  kGreater,
  kPlus,
  kMinus,
  kSlash,
  kPercent,
  kNot,
  kOpen,
  kClose,
  kString,     ///< its text lies between the quotes
  kReference,  ///< its number is that of a register
  kNumber,
  kName,
  kEnd,
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string_view text;  ///< of a string or a name: a view into the query
  double number = 0;      ///< of a number or a reference
};

/// The tokens of a query, kEnd last. The error is a sentence for the user.
[[nodiscard]] Result<std::vector<Token>> Lex(std::string_view query);

}  // namespace mrb::query
