#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "common/literal_search.h"

namespace mrb::query {

/// A glob that may begin and end anywhere in a text, made ready to search many texts. Immutable.
class TextSearch {
 public:
  explicit TextSearch(std::string_view glob);

  [[nodiscard]] bool found_in(std::string_view text) const;

 private:
  /// What stands between two "*".
  struct Piece {
    std::string glob;
    LiteralSearch literal;       // its longest run without "?"
    std::size_t literal_at = 0;  // where that run begins
  };

  [[nodiscard]] static std::size_t find(const Piece& piece, std::string_view text,
                                        std::size_t from);

  std::vector<Piece> pieces_;
};

}  // namespace mrb::query
