#include <cstdint>
#include <string_view>

#include "check.h"
#include "vfs/search/line_search.h"

// The first line is a pattern, the rest a text. A pattern is refused with a sentence or searches in
// linear time; every line that the automaton reports has a match when it is looked at alone.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 512) return 0;  // the size of the program times that of the text is only time
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  if (end == std::string_view::npos) return 0;
  const std::string_view text = input.substr(end + 1);
  for (const bool option : {false, true}) {
    const auto matcher = mrb::search::Matcher::make(input.substr(0, end), {option, option, false});
    if (!matcher) {
      FUZZ_CHECK(!matcher.error().text.empty());
      continue;
    }
    mrb::search::LineSearch search(*matcher);
    search.search(text, [&](const mrb::search::LineMatch& match) {
      FUZZ_CHECK(mrb::search::FindSpan(matcher->program(), match.line));
      const mrb::search::Span span = search.span(match.line);
      FUZZ_CHECK(span.begin <= span.end && span.end <= match.line.size());
      std::size_t last = 0;
      const bool all = search.spans(match.line, [&](mrb::search::Span one) {
        FUZZ_CHECK(last <= one.begin && one.begin <= one.end && one.end <= match.line.size());
        last = one.end;
      });
      FUZZ_CHECK(all);
      return true;
    });
  }
  return 0;
}
