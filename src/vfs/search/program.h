#pragma once

#include <cstdint>
#include <vector>

#include "common/error.h"
#include "search/pattern.h"

namespace mrb::search {

/// What stands before or behind a place in a line.
enum class Beside : std::uint8_t { kEnd, kWord, kOther };

[[nodiscard]] Beside BesideOf(unsigned char byte);

/// One state of the automaton (Thompson's construction).
struct Instruction {
  enum class Kind : std::uint8_t { kBytes, kSplit, kAssert, kMatch };

  Kind kind = Kind::kMatch;
  NodeKind assertion = NodeKind::kEmpty;  ///< of kAssert
  std::uint32_t bytes = 0;                ///< of kBytes: which set
  std::uint32_t next = 0;
  std::uint32_t other = 0;  ///< of kSplit
};

struct Program {
  /// A counted repetition is written out, so that its counts multiply; this ends it.
  static constexpr std::size_t kMostInstructions = 20'000;

  std::vector<Instruction> steps;
  std::vector<ByteSet> sets;
  std::uint32_t start = 0;
};

/// The error is a sentence for the user.
[[nodiscard]] Result<Program> Compile(const Pattern& pattern);

/// Whether an assertion holds between two neighbours.
[[nodiscard]] bool Holds(NodeKind assertion, Beside before, Beside after);

}  // namespace mrb::search
