#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "check.h"
#include "vfs/query/evaluator.h"

// A query is refused with a sentence, or has a value for every element: the same one each time, and
// never more than the stack of its steps allows.

namespace {

class Memo : public mrb::query::Element {
 public:
  std::string_view name() const override { return "notes#1"; }
  std::string_view path() const override { return "a/b.c"; }
  std::string_view text() const override { return "the quick brown fox"; }
  mrb::query::List topics() const override { return words_; }
  mrb::query::List keywords() const override { return words_; }
  mrb::query::List flags() const override { return {}; }
  bool is_deleted() const override { return false; }

 private:
  std::vector<std::string_view> words_{"notes", "quick"};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 2048) return 0;  // longer ones only take longer
  const std::string_view query(reinterpret_cast<const char*>(data), size);
  const auto expression = mrb::query::Expression::parse(query);
  if (!expression) {
    FUZZ_CHECK(!expression.error().text.empty());
    return 0;
  }
  static const Memo kMemo;
  static const std::vector<std::string> kRegisters{"notes*", "3"};
  mrb::query::Evaluator evaluator(*expression, kRegisters);
  const bool matches = evaluator.matches(kMemo);
  FUZZ_CHECK(matches == evaluator.matches(kMemo));
  const auto negated = mrb::query::Expression::parse("!(" + std::string(query) + ")");
  if (negated) FUZZ_CHECK(mrb::query::Evaluator(*negated, kRegisters).matches(kMemo) != matches);
  return 0;
}
