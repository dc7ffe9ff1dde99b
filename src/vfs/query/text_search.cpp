#include "vfs/query/text_search.h"

#include "common/text.h"
#include "vfs/query/glob.h"

namespace mrb::query {

TextSearch::TextSearch(std::string_view glob) {
  for (const std::string_view piece : Split(glob, '*')) {
    if (piece.empty()) continue;
    std::string_view longest;
    for (const std::string_view run : Split(piece, '?')) {
      if (run.size() > longest.size()) longest = run;
    }
    const std::size_t at = longest.empty() ? 0 : piece.find(longest);
    pieces_.push_back({std::string(piece), LiteralSearch(longest, true), at});
  }
}

/// The first place at `from` or later that fits; npos when there is none.
std::size_t TextSearch::find(const Piece& piece, std::string_view text, std::size_t from) {
  while (true) {
    const std::size_t literal = piece.literal.find(text, from + piece.literal_at);
    if (literal == std::string_view::npos) return std::string_view::npos;
    const std::size_t start = literal - piece.literal_at;
    if (text.size() - start < piece.glob.size()) return std::string_view::npos;
    if (Matches(piece.glob, text.substr(start, piece.glob.size()))) return start;
    from = start + 1;
  }
}

/// The first place of each piece leaves the most room for the next.
bool TextSearch::found_in(std::string_view text) const {
  std::size_t from = 0;
  for (const Piece& piece : pieces_) {
    const std::size_t at = find(piece, text, from);
    if (at == std::string_view::npos) return false;
    from = at + piece.glob.size();
  }
  return true;
}

}  // namespace mrb::query
