#include "vfs/query/expression.h"

#include <algorithm>
#include <span>
#include <utility>

namespace mrb::query {
namespace {

struct BinaryOperator {
  int level;  // a higher one binds tighter
  TokenKind token;
  Step step;
};

constexpr BinaryOperator kBinary[] = {
    {1, TokenKind::kOr, Step::kSkipIfTrue}, {2, TokenKind::kAnd, Step::kSkipIfFalse},
    {3, TokenKind::kEqual, Step::kEqual},   {3, TokenKind::kNotEqual, Step::kNotEqual},
    {4, TokenKind::kLess, Step::kLess},     {4, TokenKind::kGreater, Step::kGreater},
    {5, TokenKind::kPlus, Step::kAdd},      {5, TokenKind::kMinus, Step::kSubtract},
    {6, TokenKind::kSlash, Step::kDivide},  {6, TokenKind::kPercent, Step::kRemainder},
};
constexpr int kUnaryLevel = 7;
constexpr int kBracketLevel = 0;  // only a closing bracket ends one

const BinaryOperator* FindBinary(TokenKind token) {
  for (const BinaryOperator& known : kBinary) {
    if (known.token == token) return &known;
  }
  return nullptr;
}

std::unexpected<Error> Wrong(std::string text) {
  return Fail(ErrorKind::kInvalidArgument, std::move(text));
}

std::unexpected<Error> NoValue() {
  return Wrong("expected a value: field(), \"string\", number, or $n");
}

}  // namespace

/// Dijkstra's shunting yard: what waits for its right side lies on a stack of its own, so the depth
/// of a query costs heap, not call frames.
class Parser {
 public:
  Parser(std::span<const Token> tokens, Expression& out) : tokens_(tokens), out_(out) {}

  Status run() {
    while (true) {
      if (auto value = operand(); !value) return value;
      while (token().kind == TokenKind::kClose && !waiting_.empty() && close()) ++at_;
      const BinaryOperator* const binary = FindBinary(token().kind);
      if (binary == nullptr) break;
      ++at_;
      finish(binary->level);
      wait_for_right(*binary);
      if (waiting_.size() > Expression::kDeepest) return too_deep();
    }
    return end();
  }

 private:
  enum class Shape : std::uint8_t { kUnary, kBinary, kBracket, kCall };

  struct Waiting {
    Shape shape = Shape::kUnary;
    int level = 0;
    Step step = Step::kNot;
    std::size_t jump = 0;   // of "|" and "&&": the step whose target is not known yet
    std::string_view name;  // of a call
  };

  [[nodiscard]] const Token& token() const { return tokens_[at_]; }

  static std::unexpected<Error> too_deep() {
    return Wrong("expression nested too deeply (more than " + std::to_string(Expression::kDeepest) +
                 " levels)");
  }

  /// Everything up to a whole value: signs, opening brackets and calls wait, the value is emitted.
  Status operand() {
    while (true) {
      if (waiting_.size() > Expression::kDeepest) return too_deep();
      const Token& read = token();
      switch (read.kind) {
        case TokenKind::kNot:
          waiting_.push_back({Shape::kUnary, kUnaryLevel, Step::kNot, 0, {}});
          break;
        case TokenKind::kMinus:
          waiting_.push_back({Shape::kUnary, kUnaryLevel, Step::kNegate, 0, {}});
          break;
        case TokenKind::kOpen:
          waiting_.push_back({Shape::kBracket, kBracketLevel, Step::kNot, 0, {}});
          break;
        case TokenKind::kName:
          if (tokens_[at_ + 1].kind != TokenKind::kOpen) return uncalled(read.text);
          if (tokens_[at_ + 2].kind == TokenKind::kClose) {
            emit({Step::kReadField, FindField(read.text), 0, 0, {}});
            at_ += 3;
            return {};
          }
          waiting_.push_back({Shape::kCall, kBracketLevel, Step::kNot, 0, read.text});
          ++at_;
          break;
        default:
          return leaf(read);
      }
      ++at_;
    }
  }

  Status leaf(const Token& read) {
    if (read.kind == TokenKind::kString) {
      emit({Step::kPushText, Field::kUnknown, 0, 0, read.text});
    } else if (read.kind == TokenKind::kNumber) {
      emit({Step::kPushNumber, Field::kUnknown, 0, read.number, {}});
    } else if (read.kind == TokenKind::kReference) {
      emit({Step::kPushRegister, Field::kUnknown, 0, read.number, {}});
    } else {
      return NoValue();
    }
    ++at_;
    return {};
  }

  static std::unexpected<Error> uncalled(std::string_view name) {
    const std::string text(name);
    return Wrong("field '" + text + "' must be called — " + text + "() or " + text + "(<expr>)");
  }

  void emit(const Instruction& step) { out_.steps_.push_back(step); }

  void wait_for_right(const BinaryOperator& binary) {
    waiting_.push_back({Shape::kBinary, binary.level, binary.step, out_.steps_.size(), {}});
    if (binary.step == Step::kSkipIfTrue || binary.step == Step::kSkipIfFalse) {
      emit({binary.step, Field::kUnknown, 0, 0, {}});
    }
  }

  /// Emits what waits and binds at least as tightly as `level`.
  void finish(int level) {
    while (!waiting_.empty() && waiting_.back().level >= level) {
      const Waiting done = waiting_.back();
      waiting_.pop_back();
      if (done.step == Step::kSkipIfTrue || done.step == Step::kSkipIfFalse) {
        emit({Step::kTruth, Field::kUnknown, 0, 0, {}});
        out_.steps_[done.jump].operand = out_.steps_.size();
      } else {
        emit({done.step, Field::kUnknown, 0, 0, {}});
      }
    }
  }

  /// Ends the innermost bracket or call, at its ")". False when none is open.
  bool close() {
    finish(kBracketLevel + 1);
    if (waiting_.empty()) return false;
    const Waiting opened = waiting_.back();
    waiting_.pop_back();
    if (opened.shape == Shape::kCall) call(FindField(opened.name));
    return true;
  }

  void call(Field field) {
    // A last step that pushes a text is the whole argument: every operator emits a step after it.
    Instruction& argument = out_.steps_.back();
    if (field == Field::kText && argument.step == Step::kPushText) {
      out_.searches_.emplace_back(argument.text);
      argument = {Step::kSearchText, field, out_.searches_.size() - 1, 0, {}};
    } else {
      emit({Step::kMatchField, field, 0, 0, {}});
    }
  }

  Status end() {
    finish(kBracketLevel + 1);
    if (waiting_.empty()) {
      if (token().kind == TokenKind::kEnd) return {};
      return NoValue();
    }
    const Waiting& open = waiting_.back();
    if (open.shape == Shape::kBracket) return Wrong("missing ')'");
    return Wrong("missing ')' after " + std::string(open.name) + "(");
  }

  std::span<const Token> tokens_;
  Expression& out_;
  std::size_t at_ = 0;
  std::vector<Waiting> waiting_;
};

Result<Expression> Expression::parse(std::string_view query) {
  Expression expression;
  expression.query_ = std::make_unique<const std::string>(query);
  const auto tokens = Lex(*expression.query_);
  if (!tokens) return std::unexpected(tokens.error());
  if (auto parsed = Parser(*tokens, expression).run(); !parsed) {
    return std::unexpected(std::move(parsed.error()));
  }
  return expression;
}

bool Expression::is_quick() const {
  constexpr std::size_t kShort = 256;  // bounds the steps, and the globs in them
  return query_->size() <= kShort && std::ranges::none_of(steps_, [](const Instruction& step) {
           return step.step == Step::kPushRegister || ReadsText(step.field);
         });
}

}  // namespace mrb::query
