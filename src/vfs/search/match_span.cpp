#include "search/match_span.h"

namespace mrb::search {
/// All threads at once, byte by byte, those that began first ahead of the others: a place that two
/// of them reach belongs to the earlier one.
std::optional<Span> SpanFinder::find(std::string_view line, std::size_t from) {
  best_.reset();
  threads_.clear();
  for (std::size_t at = from; at <= line.size(); ++at) {
    const Beside before = at == 0 ? Beside::kEnd : BesideAt(line, at - 1);
    const Beside after = BesideAt(line, at);
    ++round_;
    waiting_.clear();
    for (const Thread& thread : threads_) follow(thread, at, before, after);
    if (!best_) follow({program_.start, at}, at, before, after);
    if (at == line.size() || (best_ && waiting_.empty())) break;
    advance(static_cast<unsigned char>(line[at]));
  }
  return best_;
}

void SpanFinder::follow(const Thread& thread, std::size_t at, Beside before, Beside after) {
  if (best_ && thread.begin > best_->begin) return;
  open_.push_back(thread.place);
  while (!open_.empty()) {
    const std::uint32_t place = open_.back();
    open_.pop_back();
    ++work_;
    if (seen_[place] == round_) continue;
    seen_[place] = round_;
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
      case Instruction::Kind::kMark:
        open_.push_back(step.next);
        break;
      case Instruction::Kind::kAssert:
        if (Holds(step.assertion, before, after)) open_.push_back(step.next);
        break;
    }
  }
}

void SpanFinder::advance(unsigned char byte) {
  threads_.clear();
  for (const Thread& thread : waiting_) {
    const Instruction& step = program_.steps[thread.place];
    if (program_.sets[step.bytes][byte]) threads_.push_back({step.next, thread.begin});
  }
}

std::optional<Span> FindSpan(const Program& program, std::string_view line) {
  return SpanFinder(program).find(line);
}

}  // namespace mrb::search
