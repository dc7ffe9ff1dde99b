#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vfs/grep/grep_options.h"
#include "vfs/search/line_search.h"

namespace mrb::vfs {

/// Searches texts and writes what a search shows of them, one thread's worth of it.
///
///     path:12:the line            path:12:the match     path:3     path
///     path-13-a line of context
class GrepPrinter {
 public:
  /// Both must outlive this.
  GrepPrinter(const search::Matcher& matcher, const GrepOptions& options)
      : search_(matcher), options_(options) {}

  /// Appends what is shown of one text under its label; whether that is anything. A text with a
  /// zero byte near its start is no text, and left out.
  bool run(std::string_view label, std::string_view text, std::string& out);

 private:
  using Found = std::function<bool(const search::LineMatch&)>;

  void for_each_line(std::string_view text, const Found& found);
  void for_each_other_line(std::string_view text, const Found& found);
  void append_line(std::string& out, std::uint64_t number, char mark, std::string_view line) const;
  void append_context(std::string& out, std::size_t to, char mark, std::uint64_t most);
  void show_line(const search::LineMatch& match, std::string& out);
  void show_matches(const search::LineMatch& match, std::string& out);

  search::LineSearch search_;
  const GrepOptions& options_;
  // Of the text being searched:
  std::string_view label_;
  std::string_view text_;
  std::size_t shown_end_ = 0;      // where the first line that was not shown begins
  std::uint64_t next_number_ = 1;  // and its number
  bool shown_any_ = false;
};

}  // namespace mrb::vfs
