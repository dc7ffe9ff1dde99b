#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "vfs/search/submatches.h"

namespace mrb::vfs {

/// What takes a match's place: a text in which $1 to $9, or \1 to \9, stand for the groups of the
/// match, $0 for all of it; \n, \t, \\, \$ and $$ for what they usually do. Immutable.
class Replacement {
 public:
  /// `groups`: how many the pattern has. The error is a sentence for the user.
  [[nodiscard]] static Result<Replacement> parse(std::string_view text, std::size_t groups);

  /// Every byte stands for itself.
  [[nodiscard]] static Replacement literal(std::string text);

  [[nodiscard]] bool uses_groups() const;

  /// Appends it for a match in `line`.
  void append(std::string& out, std::string_view line,
              const search::Submatches::Spans& groups) const;

 private:
  static constexpr std::size_t kNoGroup = search::Submatches::kGroups;

  struct Piece {
    std::string text;
    std::size_t group = kNoGroup;  // what follows the text
  };

  std::vector<Piece> pieces_;
};

}  // namespace mrb::vfs
