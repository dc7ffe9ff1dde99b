#include "vfs/grep/replacement.h"

#include <algorithm>

namespace mrb::vfs {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

Result<Replacement> Replacement::parse(std::string_view text, std::size_t groups) {
  Replacement replacement;
  Piece piece;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    const char next = at + 1 < text.size() ? text[at + 1] : '\0';
    if ((c == '$' || c == '\\') && IsDigit(next)) {
      piece.group = static_cast<std::size_t>(next - '0');
      if (piece.group > groups) {
        return Fail(ErrorKind::kInvalidArgument,
                    std::string("the pattern has no group ") + c + next);
      }
      replacement.pieces_.push_back(std::move(piece));
      piece = {};
      ++at;
      continue;
    }
    constexpr std::string_view kEscapes = "nt\\$";
    constexpr std::string_view kMeanings = "\n\t\\$";
    const std::size_t escape = kEscapes.find(next);
    if ((c == '\\' && next != '\0' && escape != std::string_view::npos)) {
      piece.text += kMeanings[escape];
      ++at;
    } else if (c == '$' && next == '$') {
      piece.text += c;
      ++at;
    } else {
      piece.text += c;
    }
  }
  replacement.pieces_.push_back(std::move(piece));
  return replacement;
}

Replacement Replacement::literal(std::string text) {
  Replacement replacement;
  replacement.pieces_.push_back({std::move(text), kNoGroup});
  return replacement;
}

bool Replacement::uses_groups() const {
  return std::ranges::any_of(
      pieces_, [](const Piece& piece) { return piece.group != kNoGroup && piece.group > 0; });
}

void Replacement::append(std::string& out, std::string_view line,
                         const search::Submatches::Spans& groups) const {
  for (const Piece& piece : pieces_) {
    out += piece.text;
    if (piece.group == kNoGroup) continue;
    if (const std::optional<search::Span>& span = groups.at(piece.group)) {
      out += line.substr(span->begin, span->end - span->begin);
    }
  }
}

}  // namespace mrb::vfs
