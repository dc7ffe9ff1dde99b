#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

#include "vfs/search/closure.h"
#include "vfs/search/program.h"

namespace mrb::search {

/// Runs a program over text one table look-up per byte. A table row is made when it is first
/// needed; when there are too many, all are forgotten. So the time is linear in the text whatever
/// the pattern, at worst times the size of the pattern.
///
/// A state is the set of places in the program that the bytes so far may have led to, and what kind
/// of byte came last. Assertions look at the byte that follows, so whether a match ended is known
/// one byte later. For one thread; refers to the program.
class LazyDfa {
 public:
  explicit LazyDfa(const Program& program);

  /// The first place of `text`, from `from` on, where a line is known to hold a match: inside that
  /// line, at its "\n" or at the end of the text. npos when no line does. `from` begins a line.
  [[nodiscard]] std::size_t find(std::string_view text, std::size_t from);

 private:
  static constexpr std::uint32_t kUnknown = UINT32_MAX;
  static constexpr std::uint32_t kMatched = UINT32_MAX - 1;
  static constexpr std::size_t kMaxStates = 2048;  // 1 KB each

  struct State {
    std::vector<std::uint32_t> places;  // in rising order
    Beside before = Beside::kEnd;

    friend auto operator<=>(const State&, const State&) = default;
  };
  using Row = std::array<std::uint32_t, 256>;
  struct Thread {
    std::uint32_t place = 0;
  };

  std::uint32_t number(State state);
  std::uint32_t step(std::uint32_t from, unsigned char byte);
  bool close(const State& state, Beside after);

  const Program& program_;
  std::map<State, std::uint32_t> numbers_;
  std::vector<const State*> states_;
  std::vector<Row> rows_;
  Closure<Thread> closure_;
  std::vector<std::uint32_t> closed_;  // the places of the last close()
};

}  // namespace mrb::search
