#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "vfs/query/element.h"
#include "vfs/query/expression.h"
#include "vfs/query/value.h"

namespace mrb::query {

/// Evaluates one expression for many elements. For one thread; every thread has its own.
class Evaluator {
 public:
  /// `registers`: what $1, $2, … stand for; one that is not there is empty. Both must outlive this.
  explicit Evaluator(const Expression& expression, std::span<const std::string> registers = {})
      : expression_(expression), registers_(registers) {}

  /// Never fails: dividing by zero gives 0. The value holds until the next call, at most as long as
  /// the element.
  [[nodiscard]] Value evaluate(const Element& element);

  [[nodiscard]] bool matches(const Element& element) { return IsTrue(evaluate(element)); }

 private:
  [[nodiscard]] std::string_view register_text(double number) const;
  [[nodiscard]] std::string_view argument_text(const Value& value);
  void binary(Step step);

  const Expression& expression_;
  std::span<const std::string> registers_;
  std::vector<Value> stack_;  // kept from call to call, like the text of an argument
  std::string argument_;
};

}  // namespace mrb::query
