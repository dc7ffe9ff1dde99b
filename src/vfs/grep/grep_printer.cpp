#include "vfs/grep/grep_printer.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace mrb::vfs {
namespace {

/// Where a file that is no text has shown it, nearly always.
constexpr std::size_t kBinaryProbe = 8192;

bool IsBinary(std::string_view text) {
  const std::size_t size = std::min(text.size(), kBinaryProbe);
  return size > 0 && std::memchr(text.data(), 0, size) != nullptr;
}

void AppendNumber(std::string& out, std::uint64_t number) {
  char digits[20];
  out.append(std::begin(digits), std::to_chars(std::begin(digits), std::end(digits), number).ptr);
}

std::size_t LineEnd(std::string_view text, std::size_t from) {
  return std::min(text.find('\n', from), text.size());
}

}  // namespace

void GrepPrinter::append_line(std::string& out, std::uint64_t number, char mark,
                              std::string_view line) const {
  out.append(label_).push_back(mark);
  AppendNumber(out, number);
  out.push_back(mark);
  out.append(line).push_back('\n');
}

/// The lines that `search` does not report, between those that it does.
void GrepPrinter::for_each_other_line(std::string_view text, const Found& found) {
  std::size_t from = 0;
  search::LineMatch other{1, {}};
  const auto all_up_to = [&](std::size_t end) {
    while (from < end) {
      other.line = text.substr(from, LineEnd(text, from) - from);
      if (!found(other)) return false;
      from += other.line.size() + 1;
      ++other.number;
    }
    return true;
  };
  bool goes_on = true;
  search_.search(text, [&](const search::LineMatch& match) {
    const auto begin = static_cast<std::size_t>(match.line.data() - text.data());
    goes_on = all_up_to(begin);
    from = begin + match.line.size() + 1;
    other.number = match.number + 1;
    return goes_on;
  });
  if (goes_on) static_cast<void>(all_up_to(text.size()));
}

void GrepPrinter::for_each_line(std::string_view text, const Found& found) {
  std::uint64_t left = options_.most;
  if (left == 0) return;
  const Found limited = [&](const search::LineMatch& match) { return found(match) && --left > 0; };
  if (options_.invert) {
    for_each_other_line(text, limited);
  } else {
    search_.search(text, limited);
  }
}

/// Shows at most that many lines from the first that was not shown, none at `to` or behind it.
void GrepPrinter::append_context(std::string& out, std::size_t to, char mark, std::uint64_t most) {
  for (; most > 0 && shown_end_ < to; --most) {
    const std::size_t end = LineEnd(text_, shown_end_);
    append_line(out, next_number_++, mark, text_.substr(shown_end_, end - shown_end_));
    shown_end_ = end + 1;
  }
}

void GrepPrinter::show_line(const search::LineMatch& match, std::string& out) {
  if (options_.before + options_.after == 0) {
    append_line(out, match.number, ':', match.line);
    return;
  }
  const auto begin = static_cast<std::size_t>(match.line.data() - text_.data());
  if (shown_any_) append_context(out, begin, '-', options_.after);
  std::size_t start = begin;
  std::uint64_t number = match.number;
  for (std::size_t i = 0; i < options_.before && start > shown_end_; ++i, --number) {
    const std::size_t before = start < 2 ? std::string_view::npos : text_.rfind('\n', start - 2);
    start = before == std::string_view::npos ? 0 : before + 1;
  }
  if (shown_any_ && start > shown_end_) out += "--\n";
  shown_end_ = start;
  next_number_ = number;
  append_context(out, begin, '-', UINT64_MAX);
  append_line(out, next_number_++, ':', match.line);
  shown_end_ = begin + match.line.size() + 1;
  shown_any_ = true;
}

void GrepPrinter::show_matches(const search::LineMatch& match, std::string& out) {
  const bool all = search_.spans(match.line, [&](search::Span span) {
    if (span.begin == span.end) return;
    append_line(out, match.number, ':', match.line.substr(span.begin, span.end - span.begin));
  });
  if (!all) append_line(out, match.number, ':', "(further matches of this line left out)");
}

bool GrepPrinter::run(std::string_view label, std::string_view text, std::string& out) {
  if (IsBinary(text)) return false;
  label_ = label;
  text_ = text;
  shown_end_ = 0;
  next_number_ = 1;
  shown_any_ = false;
  const std::size_t before = out.size();
  std::uint64_t count = 0;
  for_each_line(text, [&](const search::LineMatch& match) {
    ++count;
    if (options_.show == GrepShow::kLines) show_line(match, out);
    if (options_.show == GrepShow::kMatches && !options_.invert) show_matches(match, out);
    return options_.show != GrepShow::kPaths && options_.show != GrepShow::kPathsWithout;
  });
  if (shown_any_) append_context(out, text.size(), '-', options_.after);
  const bool with = options_.show == GrepShow::kPaths && count > 0;
  const bool without = options_.show == GrepShow::kPathsWithout && count == 0;
  if (with || without) out.append(label).push_back('\n');
  if (options_.show == GrepShow::kCounts && count > 0) {
    out.append(label).push_back(':');
    AppendNumber(out, count);
    out.push_back('\n');
  }
  return out.size() > before;
}

}  // namespace mrb::vfs
