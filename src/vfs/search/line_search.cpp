#include "vfs/search/line_search.h"

#include <algorithm>

#include "vfs/search/required_classes.h"
#include "vfs/search/required_literal.h"

namespace mrb::search {
namespace {

/// The line around a place; its "\n" belongs to it.
std::string_view LineAt(std::string_view text, std::size_t at) {
  const std::size_t before = at == 0 ? std::string_view::npos : text.rfind('\n', at - 1);
  const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
  const std::size_t end = std::min(text.find('\n', at), text.size());
  return text.substr(begin, end - begin);
}

}  // namespace

Result<Matcher> Matcher::make(std::string_view pattern, PatternOptions options) {
  const auto parsed = ParsePattern(pattern, options);
  if (!parsed) return std::unexpected(parsed.error());
  auto program = Compile(*parsed);
  if (!program) return std::unexpected(std::move(program.error()));
  Matcher matcher;
  matcher.program_ = *std::move(program);
  const RequiredLiteral literal = FindRequiredLiteral(*parsed);
  // A single byte is found too often to be worth a second look at its line.
  if (literal.text.size() > (literal.is_whole ? 0U : 1U)) {
    matcher.literal_.emplace(literal.text, parsed->ignore_case);
    matcher.literal_is_enough_ = literal.is_whole;
  } else if (const auto classes = FindRequiredClasses(*parsed); !classes.empty()) {
    matcher.classes_.emplace(classes);
  }
  return matcher;
}

/// A place inside the next matching line; npos when there is none. `from` begins a line.
std::size_t LineSearch::next(std::string_view text, std::size_t from) {
  if (!matcher_.literal_ && !matcher_.classes_) return dfa_.find(text, from);
  while (from < text.size()) {
    const std::size_t at = matcher_.literal_ ? matcher_.literal_->find(text, from)
                                             : matcher_.classes_->find(text, from);
    if (at == std::string_view::npos || matcher_.literal_is_enough_) return at;
    const std::string_view line = LineAt(text, at);
    if (dfa_.find(line, 0) != std::string_view::npos) return at;
    from = static_cast<std::size_t>(line.data() - text.data()) + line.size() + 1;
  }
  return std::string_view::npos;
}

void LineSearch::search(std::string_view text, const std::function<bool(const LineMatch&)>& found) {
  LineMatch match{1, {}};
  std::size_t counted = 0;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t at = next(text, from);
    if (at == std::string_view::npos) return;
    match.line = LineAt(text, at);
    const auto begin = static_cast<std::size_t>(match.line.data() - text.data());
    match.number +=
        static_cast<std::uint64_t>(std::ranges::count(text.substr(counted, begin - counted), '\n'));
    counted = begin;
    if (!found(match)) return;
    from = begin + match.line.size() + 1;
  }
}

/// Of a pattern that is a literal and nothing else.
std::optional<Span> LineSearch::literal_span(std::string_view line, std::size_t from) const {
  const auto& literal = matcher_.literal_;
  if (!literal) return std::nullopt;
  const std::size_t at = literal->find(line, from);
  if (at == std::string_view::npos) return std::nullopt;
  return Span{at, at + literal->needle().size()};
}

std::optional<Span> LineSearch::span_from(std::string_view line, std::size_t from) {
  return matcher_.literal_is_enough_ ? literal_span(line, from) : finder_.find(line, from);
}

bool LineSearch::spans(std::string_view line, const std::function<void(Span)>& found) {
  // What a few looks at every byte take, and what nobody notices.
  constexpr std::uint64_t kLooks = 4;
  constexpr std::uint64_t kUnnoticed = 10'000'000;
  const std::uint64_t most =
      finder_.work() + kUnnoticed + kLooks * line.size() * matcher_.program_.steps.size();
  std::size_t end = 0;
  for (std::size_t from = 0; from <= line.size();) {
    const auto span = span_from(line, from);
    if (!span) break;
    const bool is_empty = span->begin == span->end;
    if (!is_empty || from == 0 || span->begin > end) found(*span);
    end = span->end;
    from = is_empty ? end + 1 : end;
    if (finder_.work() > most) return false;
  }
  return true;
}

Span LineSearch::span(std::string_view line) const {
  const auto found =
      matcher_.literal_is_enough_ ? literal_span(line, 0) : FindSpan(matcher_.program_, line);
  return found.value_or(Span{});
}

}  // namespace mrb::search
