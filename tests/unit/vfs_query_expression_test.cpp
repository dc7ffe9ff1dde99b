#include "vfs/query/expression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "vfs/query/evaluator.h"
#include "vfs/query/glob.h"

namespace mrb::query {
namespace {

class FakeElement : public Element {
 public:
  std::string_view name() const override { return "src/x.cpp"; }
  std::string_view path() const override { return "C:/app/src/x.cpp"; }
  std::string_view text() const override { return "int main() {\n  return Deprecated(3);\n}\n"; }
  List topics() const override { return {}; }
  List keywords() const override { return keywords_; }
  List flags() const override { return flags_; }
  bool is_deleted() const override { return true; }

 private:
  std::vector<std::string_view> keywords_{"abc", "Build", "7"};
  std::vector<std::string_view> flags_{"deleted"};
};

const std::vector<std::string> kRegisters{"src/*", "12"};

Value Evaluate(std::string_view query, const Expression& expression) {
  static const FakeElement element;
  const Value value = Evaluator(expression, kRegisters).evaluate(element);
  EXPECT_TRUE(value.index() < 4) << query;
  return value;
}

double Number(std::string_view query) {
  const auto expression = Expression::parse(query);
  if (!expression) {
    ADD_FAILURE() << query << ": " << expression.error().text;
    return NAN;
  }
  return ToNumber(Evaluate(query, *expression));
}

TEST(Query, GivesTheValuesOfItsRules) {
  struct Case {
    const char* query;
    double value;
  };
  for (const auto& [query, value] : std::vector<Case>{
           {R"(name()=="*.CPP")", 1},
           {"7/0", 0},
           {"7%0", 0},
           {"-7 % 3", -1},
           {"4294967296 % 2147483647", 0},
           {"7/2", 3.5},
           {R"("abc"=="a*")", 1},
           {R"("a*"=="abc")", 1},
           {"topics()+0", 0},
           {"keywords()+0", 3},
           {"!topics()", 1},
           {"1 < 2 < 3", 1},
           {"3 < 2 < 1", 1},
           {"2+3-4+1", 2},
           {"1 | 0 && 0", 1},
           {"!0==0", 0},
           {"--2", 2},
           {R"(keywords()=="BU*")", 1},
           {R"("?bc"==keywords())", 1},
           {R"(keywords("b?ild")+0)", 1},
           {R"(" -2.5e1x"+0)", -25},
           {R"("12"==12)", 1},
           {R"("nan"==0/1)", 0},
           {"keywords()==3", 1},
           {"deleted()==keywords()", 1},
           {"name($1)", 1},
           {"$2+$3", 12},
           {"keywords(3+4)", 1},
           {R"(glob("c:*"))", 1},
           {R"(globkeyword("ab"))", 0},
           {R"(body("DEPRECATED"))", 1},
           {R"(content("main*ret??n *3"))", 1},
           {R"(body("3*main"))", 0},
           {R"(body("*"))", 1},
           {R"(body("a" | "b"))", 0},
           {R"(flags("deleted") && body() && !nosuch("*"))", 1},
       }) {
    EXPECT_EQ(Number(query), value) << query;
  }
}

TEST(Query, SaysWhatIsWrong) {
  const std::string no_value = "expected a value: field(), \"string\", number, or $n";
  const auto unexpected = [](char c) {
    return std::string("unexpected character '") + c + "' (globs '*' '?' go inside \"quotes\")";
  };
  struct Case {
    std::string query, error;
  };
  for (const Case& c : std::vector<Case>{
           {"name()==*.cpp", unexpected('*')},
           {"1 & 2", unexpected('&')},
           {"1 = 2", unexpected('=')},
           {"1 <= 2", unexpected('=')},
           {"$x", unexpected('$')},
           {"1. + 2", unexpected('.')},
           {"\"abc", "unterminated string literal"},
           {"\"a\nb\"", "unterminated string literal"},
           {"", no_value},
           {"1 +", no_value},
           {"1 2", no_value},
           {"1)", no_value},
           {"(1", "missing ')'"},
           {"(1 2)", "missing ')'"},
           {"name((1", "missing ')'"},
           {"name(\"a\"", "missing ')' after name("},
           {"name", "field 'name' must be called — name() or name(<expr>)"},
           {std::string(100'000, '(') + "1" + std::string(100'000, ')'),
            "expression nested too deeply (more than 1000 levels)"},
       }) {
    const auto parsed = Expression::parse(c.query);
    ASSERT_FALSE(parsed) << c.query;
    EXPECT_EQ(parsed.error().text, c.error);
  }
  std::string chain = "1";
  for (int i = 0; i < 100'000; ++i) chain += "+1";
  EXPECT_EQ(Number(chain), 100'001);
}

/// A random query: its text, with only the brackets it needs, and its value by the plain rules.
class RandomQuery {
 public:
  explicit RandomQuery(unsigned seed) : random_(seed) {}

  struct Made {
    std::string text;
    int level;  // 1 for "|" up to 8 for a value
    double value;
  };

  Made make(int depth) {
    if (depth == 0 || below(4) == 0) return leaf();
    if (below(5) == 0) return unary(depth);
    static const char* const kText[] = {"|", "&&", "==", "!=", "<", ">", "+", "-", "/", "%"};
    static const int kLevel[] = {1, 2, 3, 3, 4, 4, 5, 5, 6, 6};
    const int which = below(10);
    const Made left = make(depth - 1);
    const Made right = make(depth - 1);
    return {
        bracketed(left, kLevel[which]) + " " + kText[which] + bracketed(right, kLevel[which] + 1),
        kLevel[which], apply(which, left.value, right.value)};
  }

 private:
  int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

  Made leaf() {
    const int number = below(4);
    if (below(2) == 0) return {std::to_string(number), 8, static_cast<double>(number)};
    return {"keywords()+0", 5, 3};
  }

  Made unary(int depth) {
    const Made inner = make(depth - 1);
    const bool negates = below(2) == 0;
    return {(negates ? "-" : "!") + bracketed(inner, 7), 7,
            negates ? -inner.value : static_cast<double>(inner.value == 0)};
  }

  static std::string bracketed(const Made& made, int level) {
    return made.level < level ? "(" + made.text + ")" : made.text;
  }

  static double apply(int which, double a, double b) {
    switch (which) {
      case 0:
        return a != 0 || b != 0;
      case 1:
        return a != 0 && b != 0;
      case 2:
        return a == b;
      case 3:
        return a != b;
      case 4:
        return a < b;
      case 5:
        return a > b;
      case 6:
        return a + b;
      case 7:
        return a - b;
      case 8:
        return b == 0 ? 0 : a / b;
      default:
        return std::trunc(b) == 0 ? 0 : std::fmod(std::trunc(a), std::trunc(b));
    }
  }

  std::mt19937 random_;
};

TEST(Query, EqualsThePlainRules) {
  RandomQuery queries(7);
  for (int round = 0; round < 5000; ++round) {
    const auto made = queries.make(5);
    // "==" between two truths compares them as such; here every value counts as a number.
    if (std::abs(made.value) > 1e9) continue;
    ASSERT_EQ(Number(made.text), made.value) << made.text;
  }
}

bool PlainMatch(std::string_view glob, std::string_view text) {
  if (glob.empty()) return text.empty();
  if (glob[0] == '*') {
    return PlainMatch(glob.substr(1), text) || (!text.empty() && PlainMatch(glob, text.substr(1)));
  }
  return !text.empty() && (glob[0] == '?' || (glob[0] | 0x20) == (text[0] | 0x20)) &&
         PlainMatch(glob.substr(1), text.substr(1));
}

TEST(Glob, EqualsThePlainMatch) {
  std::mt19937 random(11);
  const auto text_of = [&](std::string_view letters, std::size_t longest) {
    std::string text(random() % longest, ' ');
    for (char& c : text) c = letters[random() % letters.size()];
    return text;
  };
  for (int round = 0; round < 30'000; ++round) {
    const std::string glob = text_of("aAbB*?", 7);
    const std::string text = text_of("aAbB", 10);
    ASSERT_EQ(Matches(glob, text), PlainMatch(glob, text)) << glob << " on " << text;
    ASSERT_EQ(TextSearch(glob).found_in(text), PlainMatch("*" + glob + "*", text))
        << glob << " in " << text;
  }
}

}  // namespace
}  // namespace mrb::query
