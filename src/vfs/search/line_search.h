#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "common/error.h"
#include "common/literal_search.h"
#include "vfs/search/class_search.h"
#include "vfs/search/lazy_dfa.h"
#include "vfs/search/match_span.h"
#include "vfs/search/pattern.h"
#include "vfs/search/program.h"

namespace mrb::search {

/// A pattern made ready to search many texts. Immutable; for any number of threads.
class Matcher {
 public:
  /// The error is a sentence for the user.
  [[nodiscard]] static Result<Matcher> make(std::string_view pattern, PatternOptions options = {});

  [[nodiscard]] const Program& program() const { return program_; }

 private:
  friend class LineSearch;
  Matcher() = default;

  Program program_;
  std::optional<LiteralSearch> literal_;  // every matching line holds it
  bool literal_is_enough_ = false;
  std::optional<ClassSearch> classes_;  // so does every matching line bytes of these
};

/// A line that holds a match.
struct LineMatch {
  std::uint64_t number = 0;  ///< from 1
  std::string_view line;     ///< without its "\n"
};

/// Finds the lines of texts that match, one thread's worth of it: the matcher is shared, this is
/// not. Lines end at "\n"; a last line without one counts, an empty text has none.
class LineSearch {
 public:
  /// `matcher` must outlive this.
  explicit LineSearch(const Matcher& matcher)
      : matcher_(matcher), dfa_(matcher.program_), finder_(matcher.program_) {}

  /// Calls `found` for every matching line, in order, until it returns false.
  void search(std::string_view text, const std::function<bool(const LineMatch&)>& found);

  /// Where the first match lies in a matching line: the leftmost, and the longest of those.
  [[nodiscard]] Span span(std::string_view line) const;

  /// Calls `found` for the matches of a line from left to right, none of which overlap: each is the
  /// leftmost and longest behind the one before; an empty one does not touch the one before. False:
  /// the pattern looks ahead so far that finding them all would take the square of the line's
  /// length; some were left out.
  [[nodiscard]] bool spans(std::string_view line, const std::function<void(Span)>& found);

 private:
  [[nodiscard]] std::size_t next(std::string_view text, std::size_t from);

  [[nodiscard]] std::optional<Span> literal_span(std::string_view line, std::size_t from) const;
  [[nodiscard]] std::optional<Span> span_from(std::string_view line, std::size_t from);

  const Matcher& matcher_;
  LazyDfa dfa_;
  SpanFinder finder_;
};

}  // namespace mrb::search
