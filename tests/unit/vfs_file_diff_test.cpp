#include "vfs/diff/file_diff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "vfs/diff/directory_diff.h"

namespace mrb::diff {
namespace {

using Lines = std::vector<std::string>;

/// The diff as its definition says it: whole tables, no bands, nothing shared.
class PlainDiff {
 public:
  PlainDiff(Lines a, Lines b) : a_(std::move(a)), b_(std::move(b)) {}

  std::string body() {
    std::size_t prefix = 0;
    while (prefix < a_.size() && prefix < b_.size() && a_[prefix] == b_[prefix]) ++prefix;
    std::size_t suffix = 0;
    while (prefix + suffix < std::min(a_.size(), b_.size()) &&
           a_[a_.size() - suffix - 1] == b_[b_.size() - suffix - 1]) {
      ++suffix;
    }
    for (std::size_t i = 0; i < prefix; ++i) emit(' ', a_[i]);
    if (prefix + suffix < a_.size() || prefix + suffix < b_.size()) {
      middle(prefix, a_.size() - suffix, prefix, b_.size() - suffix);
    }
    for (std::size_t i = a_.size() - suffix; i < a_.size(); ++i) emit(' ', a_[i]);
    return text_;
  }

 private:
  void emit(char mark, const std::string& line) {
    text_ += std::string("[") + mark + "] " + line + "\n";
  }

  std::size_t common(std::size_t a1, std::size_t a2, std::size_t b1, std::size_t b2) const {
    std::vector<std::size_t> row(b2 - b1 + 1);
    for (std::size_t i = a1; i < a2; ++i) {
      std::size_t diagonal = 0;
      for (std::size_t j = 1; j < row.size(); ++j) {
        const std::size_t above = row[j];
        row[j] = a_[i] == b_[b1 + j - 1] ? diagonal + 1 : std::max(row[j], row[j - 1]);
        diagonal = above;
      }
    }
    return row.back();
  }

  void middle(std::size_t a1, std::size_t a2, std::size_t b1, std::size_t b2) {
    if (a1 == a2 || b1 == b2) {
      for (std::size_t j = b1; j < b2; ++j) emit('+', b_[j]);
      for (std::size_t i = a1; i < a2; ++i) emit('-', a_[i]);
    } else if (a2 - a1 == 1) {
      std::size_t found = b1;
      while (found < b2 && b_[found] != a_[a1]) ++found;
      if (found == b2) emit('-', a_[a1]);
      for (std::size_t j = b1; j < b2; ++j) emit(j == found ? ' ' : '+', b_[j]);
    } else {
      const std::size_t m = a1 + (a2 - a1) / 2;
      std::size_t best = b1;
      std::size_t most = 0;
      for (std::size_t k = b1; k <= b2; ++k) {
        const std::size_t sum = common(a1, m, b1, k) + common(m, a2, k, b2);
        if (sum > most) {
          most = sum;
          best = k;
        }
      }
      middle(a1, m, b1, best);
      middle(m, a2, best, b2);
    }
  }

  Lines a_;
  Lines b_;
  std::string text_;
};

std::string Joined(const Lines& lines, bool last_ends) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  // An empty last line exists only by its line feed.
  if (!last_ends && !lines.empty() && !lines.back().empty()) text.pop_back();
  return text;
}

std::string Framed(const std::string& body) {
  return "=== FILE DIFF ===\nFILE1: one  (v3)\nFILE2: two  (v4)\n"
         "legend: [ ] same   [-] only in FILE1   [+] only in FILE2\n---\n" +
         body + "=== END DIFF ===\n";
}

std::string Diff(const std::string& a, const std::string& b, const MemoryCheck& check = {}) {
  return FileDiff({"one", 3, a}, {"two", 4, b}, check);
}

TEST(FileDiff, GivesTheTextsOfItsDefinition) {
  struct Case {
    std::string a, b, body;
  };
  for (const Case& c : std::vector<Case>{
           {"", "", ""},
           {"", "\n", "[+] \n"},
           {"x\ny", "x\ny\n", "[ ] x\n[ ] y\n"},
           {"x\r\n", "x\n", "[-] x\r\n[+] x\n"},
           {"a\nb\nc\n", "a\nB\nc\n", "[ ] a\n[-] b\n[+] B\n[ ] c\n"},
           {"x\nx\n", "x\n", "[ ] x\n[-] x\n"},
           {"q\n", "q\nq", "[ ] q\n[+] q\n"},
           {"1\nx\n", "x\n2\n", "[-] 1\n[ ] x\n[+] 2\n"},
       }) {
    EXPECT_EQ(Diff(c.a, c.b), Framed(c.body)) << c.a << "against\n" << c.b;
  }
  EXPECT_EQ(Diff(std::string("a\0", 2), "abc"), "binary files differ (2 vs 3 bytes)");
}

TEST(FileDiff, RefusesWholeWhenMemoryRunsOut) {
  const std::string refused =
      "not enough free memory to diff these files right now (4 vs 4 bytes) — close some things to "
      "free RAM and try again";
  for (int allowed = 0; allowed < 3; ++allowed) {
    int asked = 0;
    const std::string text = Diff("a\nb\n", "b\nc\n", [&](std::uint64_t bytes) {
      EXPECT_GT(bytes, 0U);
      return asked++ < allowed;
    });
    EXPECT_EQ(text, allowed < 2 ? refused : Framed("[-] a\n[ ] b\n[+] c\n"));
  }
}

/// Pairs of every shape: few or many different lines, unrelated or edited, short or past one word.
class RandomPair {
 public:
  explicit RandomPair(unsigned seed) : random_(seed) {}

  std::pair<Lines, Lines> next(std::size_t longest) {
    alphabet_ = 1 + below(below(2) == 0 ? 4 : 300);
    Lines a(below(longest));
    for (std::string& line : a) line = letter();
    if (below(3) == 0) {
      Lines b(below(longest));
      for (std::string& line : b) line = letter();
      return {a, b};
    }
    Lines b = a;
    for (std::size_t edits = below(1 + a.size() / 3 + 2); edits > 0; --edits) edit(b);
    return {a, b};
  }

  std::size_t below(std::size_t end) { return random_() % end; }

 private:
  std::string letter() {
    const std::size_t number = below(alphabet_);
    return number == 0 ? "" : std::to_string(number);
  }

  void edit(Lines& lines) {
    const auto at = lines.begin() + static_cast<std::ptrdiff_t>(below(lines.size() + 1));
    const std::size_t kind = below(3);
    if (at == lines.end() || kind == 0) {
      lines.insert(at, letter());
    } else if (kind == 1) {
      lines.erase(at);
    } else {
      *at = letter();
    }
  }

  std::mt19937 random_;
  std::size_t alphabet_ = 1;
};

TEST(FileDiff, EqualsThePlainRecursion) {
  RandomPair pairs(20261123);
  for (int round = 0; round < 3000; ++round) {
    const auto [a, b] = pairs.next(round % 100 == 0 ? 260 : 24);
    const std::string text1 = Joined(a, pairs.below(2) == 0);
    const std::string text2 = Joined(b, pairs.below(2) == 0);
    ASSERT_EQ(Diff(text1, text2), Framed(PlainDiff(a, b).body())) << text1 << "against\n" << text2;
  }
}

TEST(DirectoryDiff, NamesWhatDiffers) {
  const TreeSide a{"/a", {{"same", 1, "x"}, {"only/a", 1, ""}, {"d", 2, "1"}}, {}};
  const TreeSide b{"/b", {{"d", 5, "2"}, {"same", 9, "x"}, {"z", 1, ""}}, {}};
  const std::string head = "=== DIRECTORY DIFF ===\nA: /a\nB: ";
  const std::string title = "\ndiffering files (identical files omitted to spare context):\n";
  EXPECT_EQ(DirectoryDiff(a, b), head + "/b" + title +
                                     "  [differs]   d @A /a/d (v2) , @B /b/d (v5)\n"
                                     "  [only in A] only/a\n"
                                     "  [only in B] z\n"
                                     "=== END DIRECTORY DIFF ===\n");
  EXPECT_EQ(DirectoryDiff(a, a), head + "/a" + title +
                                     "  (none — trees are identical)\n"
                                     "=== END DIRECTORY DIFF ===\n");
}

}  // namespace
}  // namespace mrb::diff
