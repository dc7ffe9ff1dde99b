#include "vfs/query/evaluator.h"

#include <charconv>

#include "vfs/query/field.h"

namespace mrb::query {

std::string_view Evaluator::register_text(double number) const {
  if (!(number >= 1) || number > static_cast<double>(registers_.size())) return {};
  return registers_[static_cast<std::size_t>(number) - 1];
}

/// A number in its shortest form, a bool as 1 or 0, a list with blanks between its elements.
std::string_view Evaluator::argument_text(const Value& value) {
  if (const auto* text = std::get_if<std::string_view>(&value)) return *text;
  argument_.clear();
  if (const auto* list = std::get_if<List>(&value)) {
    for (const std::string_view item : *list) {
      if (!argument_.empty()) argument_ += ' ';
      argument_ += item;
    }
    return argument_;
  }
  char digits[32];
  char* const end = std::to_chars(std::begin(digits), std::end(digits), ToNumber(value)).ptr;
  return argument_.assign(std::begin(digits), end);
}

void Evaluator::binary(Step step) {
  const Value right = stack_.back();
  stack_.pop_back();
  Value& left = stack_.back();
  switch (step) {
    case Step::kEqual:
      left = AreEqual(left, right);
      break;
    case Step::kNotEqual:
      left = !AreEqual(left, right);
      break;
    case Step::kLess:
      left = ToNumber(left) < ToNumber(right);
      break;
    case Step::kGreater:
      left = ToNumber(left) > ToNumber(right);
      break;
    case Step::kAdd:
      left = ToNumber(left) + ToNumber(right);
      break;
    case Step::kSubtract:
      left = ToNumber(left) - ToNumber(right);
      break;
    case Step::kDivide:
      left = ToNumber(right) == 0 ? 0.0 : ToNumber(left) / ToNumber(right);
      break;
    default:
      left = Remainder(ToNumber(left), ToNumber(right));
  }
}

Value Evaluator::evaluate(const Element& element) {
  stack_.clear();
  const std::vector<Instruction>& steps = expression_.steps();
  for (std::size_t at = 0; at < steps.size(); ++at) {
    const Instruction& step = steps[at];
    switch (step.step) {
      case Step::kPushText:
        stack_.emplace_back(step.text);
        break;
      case Step::kPushNumber:
        stack_.emplace_back(step.number);
        break;
      case Step::kPushRegister:
        stack_.emplace_back(register_text(step.number));
        break;
      case Step::kReadField:
        stack_.push_back(ReadField(step.field, element));
        break;
      case Step::kMatchField:
        stack_.back() = FieldMatches(step.field, element, argument_text(stack_.back()));
        break;
      case Step::kSearchText:
        stack_.emplace_back(expression_.search(step.operand).found_in(element.text()));
        break;
      case Step::kSkipIfTrue:
      case Step::kSkipIfFalse: {
        const bool truth = IsTrue(stack_.back());
        if (truth == (step.step == Step::kSkipIfTrue)) {
          stack_.back() = truth;
          at = step.operand - 1;
        } else {
          stack_.pop_back();
        }
        break;
      }
      case Step::kTruth:
        stack_.back() = IsTrue(stack_.back());
        break;
      case Step::kNot:
        stack_.back() = !IsTrue(stack_.back());
        break;
      case Step::kNegate:
        stack_.back() = -ToNumber(stack_.back());
        break;
      default:
        binary(step.step);
    }
  }
  return stack_.back();
}

}  // namespace mrb::query
