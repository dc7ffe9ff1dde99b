#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "vfs/query/field.h"
#include "vfs/query/text_search.h"
#include "vfs/query/token.h"

namespace mrb::query {

/// One step on a stack of values.
enum class Step : std::uint8_t {
  kPushText,
  kPushNumber,
  kPushRegister,
  kReadField,
  kMatchField,   ///< the argument becomes whether the field matches it
  kSearchText,   ///< pushes whether a search known beforehand finds something in the text
  kSkipIfTrue,   ///< a true value becomes true, and the step jumps; else it goes
  kSkipIfFalse,  ///< a false value becomes false, and the step jumps; else it goes
  kTruth,        ///< a value becomes whether it is true
  kNot,
  kNegate,
  kEqual,
  kNotEqual,
  kLess,
  kGreater,
  kAdd,
  kSubtract,
  kDivide,
  kRemainder,
};

struct Instruction {
  Step step = Step::kPushNumber;
  Field field = Field::kUnknown;
  std::size_t operand = 0;  ///< a jump's target, a register's number, a place among the searches
  double number = 0;
  std::string_view text;
};

/// A query of one element, checked and turned into steps: evaluating it needs no tree, no recursion
/// and no memory. Immutable; any number of threads may evaluate one.
///
///   expression: "a" | b() && !c("d*") == 1 < 2 + 3 / -4, ever tighter from left to right
class Expression {
 public:
  /// Levels of brackets, calls and signs that may be open at once: far beyond what people write,
  /// and a limit to what a stranger's query can pile up.
  static constexpr std::size_t kDeepest = 1000;

  /// What stands inside "?(" and ")". The error is the sentence for the user, without "ERROR: ".
  [[nodiscard]] static Result<Expression> parse(std::string_view query);

  [[nodiscard]] const std::vector<Instruction>& steps() const { return steps_; }
  /// Whether it is done with an element in no time: it is short, and leaves the text alone.
  [[nodiscard]] bool is_quick() const;

  [[nodiscard]] const TextSearch& search(std::size_t place) const { return searches_[place]; }

 private:
  friend class Parser;
  Expression() = default;

  std::unique_ptr<const std::string> query_;  // what the steps' views refer to; does not move
  std::vector<Instruction> steps_;
  std::vector<TextSearch> searches_;
};

}  // namespace mrb::query
