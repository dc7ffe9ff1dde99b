#pragma once

#include <cstdint>
#include <vector>

#include "vfs/search/program.h"

namespace mrb::search {

/// Follows threads through a program where no byte is needed, each place once a round: a place that
/// two of them reach belongs to the earlier one. A thread is a `place` and what belongs to the way
/// that led there. Refers to the program; for one thread of execution.
template <typename Thread>
class Closure {
 public:
  explicit Closure(const Program& program) : program_(program), seen_(program.steps.size()) {}

  void start_round() { ++round_; }

  /// Steps taken in all rounds.
  [[nodiscard]] std::uint64_t work() const { return work_; }

  /// Calls `arrive(thread, step)` wherever the thread comes to a step that takes a byte or ends a
  /// match, the ways that a greedy reader tries first ahead of the others, and `mark(thread, step)`
  /// at each mark on the way.
  template <typename Arrive, typename Mark>
  void follow(const Thread& first, Beside before, Beside after, const Arrive& arrive,
              const Mark& mark) {
    open_.push_back(first);
    while (!open_.empty()) {
      Thread thread = open_.back();
      open_.pop_back();
      ++work_;
      if (seen_[thread.place] == round_) continue;
      seen_[thread.place] = round_;
      const Instruction& step = program_.steps[thread.place];
      switch (step.kind) {
        case Instruction::Kind::kMatch:
        case Instruction::Kind::kBytes:
          arrive(thread, step);
          continue;
        case Instruction::Kind::kSplit:
          open_.push_back(thread);
          open_.back().place = step.other;
          break;
        case Instruction::Kind::kMark:
          mark(thread, step);
          break;
        case Instruction::Kind::kAssert:
          if (!Holds(step.assertion, before, after)) continue;
          break;
      }
      thread.place = step.next;
      open_.push_back(thread);
    }
  }

  template <typename Arrive>
  void follow(const Thread& first, Beside before, Beside after, const Arrive& arrive) {
    follow(first, before, after, arrive, [](Thread&, const Instruction&) {});
  }

 private:
  const Program& program_;
  std::vector<std::uint64_t> seen_;  // by place: the round that reached it last
  std::uint64_t round_ = 0;
  std::uint64_t work_ = 0;
  std::vector<Thread> open_;  // empty between calls
};

}  // namespace mrb::search
