#include "search/match_span.h"

#include <vector>

namespace mrb::search {
namespace {

/// A place in the program and where in the line the match began that leads there.
struct Thread {
  std::uint32_t place = 0;
  std::size_t begin = 0;
};

/// All threads at once, byte by byte, those that began first ahead of the others: a place that two
/// of them reach belongs to the earlier one.
class SpanSearch {
 public:
  explicit SpanSearch(const Program& program)
      : program_(program), seen_(program.steps.size(), kNever) {}

  std::optional<Span> run(std::string_view line) {
    for (std::size_t at = 0; at <= line.size(); ++at) {
      const Beside before = at == 0 ? Beside::kEnd : beside(line[at - 1]);
      const Beside after = at == line.size() ? Beside::kEnd : beside(line[at]);
      waiting_.clear();
      for (const Thread& thread : threads_) follow(thread, at, before, after);
      if (!best_) follow({program_.start, at}, at, before, after);
      if (at == line.size() || (best_ && waiting_.empty())) break;
      advance(static_cast<unsigned char>(line[at]));
    }
    return best_;
  }

 private:
  static constexpr std::size_t kNever = SIZE_MAX;

  static Beside beside(char c) { return BesideOf(static_cast<unsigned char>(c)); }

  void follow(const Thread& thread, std::size_t at, Beside before, Beside after) {
    if (best_ && thread.begin > best_->begin) return;
    open_.push_back(thread.place);
    while (!open_.empty()) {
      const std::uint32_t place = open_.back();
      open_.pop_back();
      if (seen_[place] == at) continue;
      seen_[place] = at;
      const Instruction& step = program_.steps[place];
      switch (step.kind) {
        case Instruction::Kind::kMatch:
          best_ = Span{thread.begin, at};
          break;
        case Instruction::Kind::kBytes:
          waiting_.push_back({place, thread.begin});
          break;
        case Instruction::Kind::kSplit:
          open_.push_back(step.other);
          open_.push_back(step.next);
          break;
        case Instruction::Kind::kAssert:
          if (Holds(step.assertion, before, after)) open_.push_back(step.next);
          break;
      }
    }
  }

  void advance(unsigned char byte) {
    threads_.clear();
    for (const Thread& thread : waiting_) {
      const Instruction& step = program_.steps[thread.place];
      if (program_.sets[step.bytes][byte]) threads_.push_back({step.next, thread.begin});
    }
  }

  const Program& program_;
  std::vector<std::size_t> seen_;  // by place: where in the line it was reached last
  std::vector<std::uint32_t> open_;
  std::vector<Thread> threads_;
  std::vector<Thread> waiting_;  // for the next byte
  std::optional<Span> best_;
};

}  // namespace

std::optional<Span> FindSpan(const Program& program, std::string_view line) {
  return SpanSearch(program).run(line);
}

}  // namespace mrb::search
