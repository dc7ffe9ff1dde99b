#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vfs/grep/replacement.h"
#include "vfs/search/line_search.h"
#include "vfs/search/submatches.h"

namespace mrb::vfs {

/// A pattern and what takes its matches' place. Immutable; for any number of threads.
struct EditRule {
  search::Matcher matcher;
  search::Program groups;  ///< the pattern's program with its groups marked
  Replacement replacement;
};

[[nodiscard]] Result<EditRule> MakeEditRule(std::string_view pattern,
                                            const search::PatternOptions& options,
                                            const std::string& replacement);

/// What an edit makes of a text.
struct EditedText {
  std::string text;
  std::string lines;        ///< "  12- old\n  12+ new\n" of every line that changes
  std::uint64_t count = 0;  ///< replacements; 0: the text stays as it is
};

/// Edits texts by a rule, one thread's worth of it.
class TextEdit {
 public:
  /// `rule` must outlive this.
  explicit TextEdit(const EditRule& rule)
      : rule_(rule), search_(rule.matcher), submatches_(rule.groups) {}

  /// Nothing when a line cannot be edited in reasonable time; see LineSearch::spans().
  [[nodiscard]] std::optional<EditedText> run(std::string_view text);

 private:
  [[nodiscard]] bool edit_line(std::string_view line, std::string& out, std::uint64_t& count);

  const EditRule& rule_;
  search::LineSearch search_;
  search::Submatches submatches_;
};

}  // namespace mrb::vfs
