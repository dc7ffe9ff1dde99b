#include "vfs/search/submatches.h"

namespace mrb::search {
namespace {

constexpr std::size_t kUnset = SIZE_MAX;

}  // namespace

Submatches::Spans Submatches::find(std::string_view line, Span span) {
  Thread first{program_.start, {}};
  first.marks.fill(kUnset);
  std::vector<Thread> threads{first};
  for (std::size_t at = span.begin; at <= span.end; ++at) {
    const Beside before = at == 0 ? Beside::kEnd : BesideAt(line, at - 1);
    const Beside after = BesideAt(line, at);
    closure_.start_round();
    waiting_.clear();
    found_.reset();  // a match that ends here; only one that ends with the span is meant
    for (const Thread& thread : threads) {
      follow(thread, at, before, after);
      if (found_ && at == span.end) break;
    }
    threads.clear();
    if (at == span.end) break;
    for (Thread& thread : waiting_) {
      const Instruction& step = program_.steps[thread.place];
      if (!program_.sets[step.bytes][static_cast<unsigned char>(line[at])]) continue;
      thread.place = step.next;
      threads.push_back(thread);
    }
  }
  Spans spans;
  spans[0] = span;
  if (!found_) return spans;
  for (std::size_t group = 1; group < kGroups; ++group) {
    const std::size_t begin = (*found_)[2 * group];
    const std::size_t end = (*found_)[2 * group + 1];
    if (begin != kUnset && end != kUnset) spans[group] = Span{begin, end};
  }
  return spans;
}

void Submatches::follow(const Thread& thread, std::size_t at, Beside before, Beside after) {
  const auto arrive = [&](const Thread& one, const Instruction& step) {
    if (step.kind == Instruction::Kind::kBytes) {
      waiting_.push_back(one);
    } else if (!found_) {
      found_ = one.marks;
    }
  };
  closure_.follow(thread, before, after, arrive, [at](Thread& one, const Instruction& step) {
    if (step.bytes < one.marks.size()) one.marks[step.bytes] = at;
  });
}

}  // namespace mrb::search
