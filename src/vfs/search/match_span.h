#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "vfs/search/closure.h"
#include "vfs/search/program.h"

namespace mrb::search {

struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;

  friend bool operator==(const Span&, const Span&) = default;
};

/// Finds out where in a line a match lies. For one thread; refers to the program.
class SpanFinder {
 public:
  explicit SpanFinder(const Program& program) : program_(program), closure_(program) {}

  /// The leftmost match that begins at `from` or later, and the longest of those. In time of the
  /// line times the program.
  [[nodiscard]] std::optional<Span> find(std::string_view line, std::size_t from = 0);

  /// Steps taken in all calls so far.
  [[nodiscard]] std::uint64_t work() const { return closure_.work(); }

 private:
  /// A place in the program and where in the line the match began that leads there.
  struct Thread {
    std::uint32_t place = 0;
    std::size_t begin = 0;
  };

  void follow(const Thread& thread, std::size_t at, Beside before, Beside after);
  void advance(unsigned char byte);

  const Program& program_;
  Closure<Thread> closure_;
  std::vector<Thread> threads_;
  std::vector<Thread> waiting_;  // for the next byte
  std::optional<Span> best_;
};

/// Finds the span in one line, for a caller that has no second line to ask about.
[[nodiscard]] std::optional<Span> FindSpan(const Program& program, std::string_view line);

}  // namespace mrb::search
