#include "vfs/search/lazy_dfa.h"

#include <algorithm>

namespace mrb::search {

LazyDfa::LazyDfa(const Program& program) : program_(program), closure_(program) {
  number({});
}

std::uint32_t LazyDfa::number(State state) {
  const auto [at, is_new] =
      numbers_.emplace(std::move(state), static_cast<std::uint32_t>(rows_.size()));
  if (is_new) {
    rows_.emplace_back().fill(kUnknown);
    states_.push_back(&at->first);
  }
  return at->second;
}

/// Everything that a state leads to without a byte, given the byte that follows. Whether that is a
/// match. A match may begin anywhere, so the start is always among it.
bool LazyDfa::close(const State& state, Beside after) {
  closure_.start_round();
  closed_.clear();
  bool matched = false;
  const auto arrive = [&](Thread thread, const Instruction& step) {
    if (step.kind == Instruction::Kind::kMatch) {
      matched = true;
    } else {
      closed_.push_back(thread.place);
    }
  };
  closure_.follow({program_.start}, state.before, after, arrive);
  for (const std::uint32_t place : state.places) {
    if (matched) break;
    closure_.follow({place}, state.before, after, arrive);
  }
  return matched;
}

std::uint32_t LazyDfa::step(std::uint32_t from, unsigned char byte) {
  const bool matched = close(*states_[from], BesideOf(byte));
  if (matched) return rows_[from][byte] = kMatched;
  State next;
  next.before = BesideOf(byte);
  if (byte != '\n') {
    for (const std::uint32_t place : closed_) {
      const Instruction& step = program_.steps[place];
      if (program_.sets[step.bytes][byte]) next.places.push_back(step.next);
    }
    std::ranges::sort(next.places);
    next.places.erase(std::ranges::unique(next.places).begin(), next.places.end());
  }
  if (rows_.size() >= kMaxStates) {
    numbers_.clear();
    states_.clear();
    rows_.clear();
    number({});  // the start of a line is always state 0
    return number(std::move(next));
  }
  const std::uint32_t to = number(std::move(next));
  return rows_[from][byte] = to;
}

std::size_t LazyDfa::find(std::string_view text, std::size_t from) {
  std::uint32_t state = 0;
  for (std::size_t at = from; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    std::uint32_t next = rows_[state][byte];
    if (next >= kMatched) {
      if (next == kUnknown) next = step(state, byte);
      if (next == kMatched) return at;
    }
    state = next;
  }
  const bool in_line = from < text.size() && !text.ends_with('\n');
  return in_line && step(state, '\n') == kMatched ? text.size() : std::string_view::npos;
}

}  // namespace mrb::search
