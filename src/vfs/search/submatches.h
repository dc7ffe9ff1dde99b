#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "vfs/search/closure.h"
#include "vfs/search/match_span.h"

namespace mrb::search {

/// Where the groups of a match lie. Among the ways in which the pattern can take just that span it
/// is the one of a greedy reader: earlier alternatives and further repetitions first (Pike's
/// construction; time of the span times the program). For one thread; refers to the program.
class Submatches {
 public:
  static constexpr std::size_t kGroups = 10;

  /// By number; 0 is the whole match. A group that took no part has none.
  using Spans = std::array<std::optional<Span>, kGroups>;

  /// `program` has its groups marked.
  explicit Submatches(const Program& program) : program_(program), closure_(program) {}

  /// `span` is a match of the program in `line`.
  [[nodiscard]] Spans find(std::string_view line, Span span);

 private:
  using Marks = std::array<std::size_t, 2 * kGroups>;
  struct Thread {
    std::uint32_t place = 0;
    Marks marks;
  };

  void follow(const Thread& thread, std::size_t at, Beside before, Beside after);

  const Program& program_;
  Closure<Thread> closure_;
  std::vector<Thread> waiting_;  // for the next byte, the preferred ones first
  std::optional<Marks> found_;
};

}  // namespace mrb::search
