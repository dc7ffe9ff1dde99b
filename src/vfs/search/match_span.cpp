#include "vfs/search/match_span.h"

namespace mrb::search {
/// All threads at once, byte by byte, those that began first ahead of the others: a place that two
/// of them reach belongs to the earlier one.
std::optional<Span> SpanFinder::find(std::string_view line, std::size_t from) {
  best_.reset();
  threads_.clear();
  for (std::size_t at = from; at <= line.size(); ++at) {
    const Beside before = at == 0 ? Beside::kEnd : BesideAt(line, at - 1);
    const Beside after = BesideAt(line, at);
    closure_.start_round();
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
  closure_.follow(thread, before, after, [&](const Thread& one, const Instruction& step) {
    if (step.kind == Instruction::Kind::kMatch) {
      best_ = Span{one.begin, at};
    } else {
      waiting_.push_back(one);
    }
  });
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
