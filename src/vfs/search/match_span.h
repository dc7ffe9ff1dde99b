#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "search/program.h"

namespace mrb::search {

struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;

  friend bool operator==(const Span&, const Span&) = default;
};

/// The leftmost match in a line, and the longest of those. In time of the line times the program.
[[nodiscard]] std::optional<Span> FindSpan(const Program& program, std::string_view line);

}  // namespace mrb::search
