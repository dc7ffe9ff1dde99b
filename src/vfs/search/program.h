#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "vfs/search/pattern.h"

namespace mrb::search {

/// What stands before or behind a place in a line.
enum class Beside : std::uint8_t { kEnd, kWord, kOther };

[[nodiscard]] Beside BesideOf(unsigned char byte);

/// What stands at a place of a line.
[[nodiscard]] inline Beside BesideAt(std::string_view line, std::size_t at) {
  return at < line.size() ? BesideOf(static_cast<unsigned char>(line[at])) : Beside::kEnd;
}

/// One state of the automaton (Thompson's construction).
struct Instruction {
  enum class Kind : std::uint8_t { kBytes, kSplit, kAssert, kMark, kMatch };

  Kind kind = Kind::kMatch;
  NodeKind assertion = NodeKind::kEmpty;  ///< of kAssert
  std::uint32_t bytes = 0;                ///< of kBytes: which set; of kMark: which mark
  std::uint32_t next = 0;
  std::uint32_t other = 0;  ///< of kSplit
};

struct Program {
  /// A counted repetition is written out, so that its counts multiply; this ends it.
  static constexpr std::size_t kMaxInstructions = 20'000;

  std::vector<Instruction> steps;
  std::vector<ByteSet> sets;
  std::uint32_t start = 0;
};

/// Whether a program notes where groups begin (mark 2n) and end (mark 2n + 1).
enum class Groups : std::uint8_t { kForgotten, kMarked };

/// Of two ways to go on, a split's `next` is the one that a greedy reader tries first. The error is
/// a sentence for the user.
[[nodiscard]] Result<Program> Compile(const Pattern& pattern, Groups groups = Groups::kForgotten);

/// Whether an assertion holds between two neighbours.
[[nodiscard]] bool Holds(NodeKind assertion, Beside before, Beside after);

}  // namespace mrb::search
