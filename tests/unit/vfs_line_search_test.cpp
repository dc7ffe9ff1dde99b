#include "vfs/search/line_search.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "common/text.h"

namespace mrb::search {
namespace {

/// Every end that a match of a node can have from a place, by plain backtracking over the tree.
class PlainMatch {
 public:
  PlainMatch(const Pattern& pattern, std::string_view line) : pattern_(pattern), line_(line) {}

  std::optional<Span> find(std::size_t from) const {
    for (std::size_t begin = from; begin <= line_.size(); ++begin) {
      std::optional<Span> longest;
      const auto root = static_cast<std::uint32_t>(pattern_.nodes.size() - 1);
      run(root, begin, [&](std::size_t end) {
        if (!longest || end > longest->end) longest = Span{begin, end};
      });
      if (longest) return longest;
    }
    return std::nullopt;
  }

 private:
  using Then = std::function<void(std::size_t)>;

  Beside beside(std::size_t at) const {
    return at < line_.size() ? BesideOf(static_cast<unsigned char>(line_[at])) : Beside::kEnd;
  }

  void run(std::uint32_t number, std::size_t at, const Then& then) const {
    const Node& node = pattern_.nodes[number];
    switch (node.kind) {
      case NodeKind::kEmpty:
        return then(at);
      case NodeKind::kBytes:
        if (at < line_.size() && node.bytes[static_cast<unsigned char>(line_[at])]) then(at + 1);
        return;
      case NodeKind::kSequence:
        return sequence(node, 0, at, then);
      case NodeKind::kChoice:
        for (const std::uint32_t child : node.children) run(child, at, then);
        return;
      case NodeKind::kRepeat:
        return repeat(node, 0, at, then);
      case NodeKind::kGroup:
        return run(node.children[0], at, then);
      default:
        if (Holds(node.kind, at == 0 ? Beside::kEnd : beside(at - 1), beside(at))) then(at);
    }
  }

  void sequence(const Node& node, std::size_t part, std::size_t at, const Then& then) const {
    if (part == node.children.size()) return then(at);
    run(node.children[part], at, [&](std::size_t next) { sequence(node, part + 1, next, then); });
  }

  void repeat(const Node& node, std::uint32_t done, std::size_t at, const Then& then) const {
    if (done >= node.least) then(at);
    if (done == node.most) return;
    run(node.children[0], at, [&](std::size_t next) {
      if (next > at || done < node.least) repeat(node, done + 1, next, then);
    });
  }

  const Pattern& pattern_;
  std::string_view line_;
};

class RandomPattern {
 public:
  explicit RandomPattern(unsigned seed) : random_(seed) {}

  std::string make(int depth) {
    static const char* const kAtoms[] = {"a", "b",   "_",   ".",   "[ab]", "[^a]", "^",
                                         "$", "\\b", "\\B", "\\w", "\\s",  "ab",   "B"};
    static const char* const kCounts[] = {"*", "+", "?", "{2}", "{1,2}", "{0,1}", "{2,}"};
    if (depth == 0) return kAtoms[below(std::size(kAtoms))];
    switch (below(4)) {
      case 0:
        return make(depth - 1) + make(depth - 1);
      case 1:
        return "(" + make(depth - 1) + "|" + make(depth - 1) + ")";
      case 2:
        return "(" + make(depth - 1) + ")" + kCounts[below(std::size(kCounts))];
      default:
        return make(depth - 1);
    }
  }

  std::string text() {
    std::string text(below(12), ' ');
    for (char& c : text) c = "aaabbB_ \n"[below(9)];
    return text;
  }

  std::size_t below(std::size_t end) { return random_() % end; }

 private:
  std::mt19937 random_;
};

TEST(LineSearch, EqualsPlainBacktracking) {
  RandomPattern random(3);
  for (int round = 0; round < 6000; ++round) {
    const std::string pattern = random.make(3);
    const PatternOptions options{random.below(4) == 0, random.below(4) == 0, false};
    const auto matcher = Matcher::make(pattern, options);
    ASSERT_TRUE(matcher) << pattern << ": " << matcher.error().text;
    const auto tree = ParsePattern(pattern, options);
    LineSearch search(*matcher);
    const std::string text = random.text();
    std::string expected;
    std::uint64_t number = 0;
    for (const std::string_view line : Split(text, '\n')) {
      ++number;
      if (line.data() == text.data() + text.size()) continue;  // behind the last "\n"
      const PlainMatch plain(*tree, line);
      std::optional<Span> last;
      for (auto span = plain.find(0); span; span = plain.find(last->end)) {
        const bool is_empty = span->begin == span->end;
        if (last && is_empty && span->begin == last->end) {
          span = plain.find(last->end + 1);  // an empty match does not touch the one before
          if (!span) break;
        }
        if (!last) expected += std::to_string(number) + ":";
        expected += std::to_string(span->begin) + "-" + std::to_string(span->end) + " ";
        last = span;
      }
    }
    std::string found;
    search.search(text, [&](const LineMatch& match) {
      found += std::to_string(match.number) + ":";
      return search.spans(match.line, [&](Span span) {
        found += std::to_string(span.begin) + "-" + std::to_string(span.end) + " ";
      });
    });
    ASSERT_EQ(found, expected) << pattern << " in " << text;
  }
}

TEST(ClassSearch, FindsWhatAPlainLoopFinds) {
  std::mt19937 random(9);
  for (int round = 0; round < 3000; ++round) {
    std::vector<ByteSet> sets(1 + random() % ClassSearch::kMaxSets);
    for (ByteSet& set : sets) {
      for (std::size_t i = 1 + random() % 40; i > 0; --i) set.set(random() % 256);
    }
    std::string text(random() % 300, ' ');
    for (char& c : text) c = static_cast<char>(random() % 256);
    std::size_t expected = random() % 40;
    const ClassSearch search(sets);
    const std::size_t found = search.find(text, expected);
    const auto fits = [&](std::size_t at) {
      for (std::size_t i = 0; i < sets.size(); ++i) {
        if (!sets[i][static_cast<unsigned char>(text[at + i])]) return false;
      }
      return true;
    };
    while (expected + sets.size() <= text.size() && !fits(expected)) ++expected;
    if (expected + sets.size() > text.size()) expected = std::string::npos;
    ASSERT_EQ(found, expected);
  }
}

std::string FirstMatch(const std::string& pattern, const std::string& text,
                       PatternOptions options = {}) {
  const auto matcher = Matcher::make(pattern, options);
  if (!matcher) return "ERROR: " + matcher.error().text;
  LineSearch search(*matcher);
  std::string found = "none";
  search.search(text, [&](const LineMatch& match) {
    const Span span = search.span(match.line);
    found = match.line.substr(span.begin, span.end - span.begin);
    return false;
  });
  return found;
}

TEST(LineSearch, ReadsTheSyntax) {
  struct Case {
    std::string pattern, text, found;
  };
  for (const auto& [pattern, text, found] : std::vector<Case>{
           {"(malloc|calloc|realloc)\\s*\\(", "x = calloc  (1)", "calloc  ("},
           {"[a-z]+_[0-9]{3,}[a-z]+", "a_12b ab_123c", "ab_123c"},
           {"(?i)abC", "xABcx", "ABc"},
           {"[]a-]+", "x]-a", "]-a"},
           {"[[:digit:][:upper:]]+", "ab1A2", "1A2"},
           {"[^\\d]+", "12ab3", "ab"},
           {"a{,2}b", "aaab", "aab"},
           {"a{x", "a{x", "a{x"},
           {"\\x41\\.", "A.", "A."},
           {"a\\nb", "a\nb", "none"},
           {"^$", "a\n\nb", ""},
           {"(", "", "ERROR: unmatched ( in pattern"},
           {"a)", "", "ERROR: unmatched ) in pattern"},
           {"[a", "", "ERROR: unmatched [ in pattern"},
           {"*a", "", "ERROR: nothing to repeat before *"},
           {"[b-a]", "", "ERROR: range out of order in [ ]"},
           {"(a{1000}){1000}", "", "ERROR: pattern too large"},
           {"((((){1000}){1000}){1000}){1000}x", "x", "x"},
           {std::string(100'000, '('), "", "ERROR: pattern too long"},
           {std::string(10'000, '('), "", "ERROR: pattern nested too deeply"},
           {"(a*)*b", std::string(1 << 20, 'a'), "none"},
       }) {
    EXPECT_EQ(FirstMatch(pattern, text), found) << pattern.substr(0, 80);
  }
  EXPECT_EQ(FirstMatch("a.c*", "abc A.C*", {true, false, true}), "A.C*");
  EXPECT_EQ(FirstMatch("cat", "concat cat", {false, true, false}), "cat");
}

}  // namespace
}  // namespace mrb::search
