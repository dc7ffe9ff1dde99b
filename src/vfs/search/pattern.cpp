#include "vfs/search/pattern.h"

#include <optional>
#include <utility>

#include "common/text.h"

namespace mrb::search {
namespace {

ByteSet Range(unsigned char first, unsigned char last) {
  ByteSet set;
  for (unsigned c = first; c <= last; ++c) set.set(c);
  return set;
}

struct NamedSet {
  std::string_view name;
  std::string_view ranges;  // pairs of first and last
};

constexpr NamedSet kClasses[] = {
    {"alpha", "azAZ"},
    {"digit", "09"},
    {"alnum", "azAZ09"},
    {"upper", "AZ"},
    {"lower", "az"},
    {"space", " \x20\t\r"},
    {"blank", " \x20\t\t"},
    {"xdigit", "09afAF"},
    {"word", "azAZ09__"},
    {"punct", "!/:@[`{~"},
    {"print", " ~"},
    {"graph", "!~"},
    {"cntrl", "\x01\x1f\x7f\x7f"},
};

std::optional<ByteSet> FindClass(std::string_view name) {
  for (const NamedSet& known : kClasses) {
    if (known.name != name) continue;
    ByteSet set;
    for (std::size_t i = 0; i + 1 < known.ranges.size(); i += 2) {
      set |= Range(static_cast<unsigned char>(known.ranges[i]),
                   static_cast<unsigned char>(known.ranges[i + 1]));
    }
    return set;
  }
  return std::nullopt;
}

/// What \d and its like stand for; an upper letter stands for all the others.
std::optional<ByteSet> EscapedClass(char c) {
  constexpr NamedSet kEscapes[] = {{"d", "digit"}, {"D", "digit"}, {"w", "word"},
                                   {"W", "word"},  {"s", "space"}, {"S", "space"}};
  for (const auto& [letter, name] : kEscapes) {
    if (letter[0] != c) continue;
    const auto set = FindClass(name);
    return set && c < 'a' ? ~*set : set;
  }
  return std::nullopt;
}

class PatternParser {
 public:
  PatternParser(std::string_view text, PatternOptions options) : rest_(text), options_(options) {
    pattern_.ignore_case = options.ignore_case;
  }

  Result<Pattern> run() {
    if (rest_.size() > Pattern::kMaxLength) return wrong("pattern too long");
    Result<std::uint32_t> root = options_.literal ? all_literal() : expression();
    if (!root) return std::unexpected(std::move(root.error()));
    if (!rest_.empty()) return wrong("unmatched ) in pattern");
    if (options_.whole_words) {
      const std::uint32_t before = add(NodeKind::kNoWordBefore);
      const std::uint32_t after = add(NodeKind::kNoWordAfter);
      add_list(NodeKind::kSequence, {before, *root, after});
    } else if (*root + 1 != pattern_.nodes.size()) {
      add_list(NodeKind::kSequence, {*root});
    }
    return std::move(pattern_);
  }

 private:
  static std::unexpected<Error> wrong(std::string text) {
    return Fail(ErrorKind::kInvalidArgument, std::move(text));
  }

  std::uint32_t add(NodeKind kind) { return add_list(kind, {}); }

  std::uint32_t add_list(NodeKind kind, std::vector<std::uint32_t> children) {
    Node node;
    node.kind = kind;
    node.children = std::move(children);
    pattern_.nodes.push_back(std::move(node));
    return static_cast<std::uint32_t>(pattern_.nodes.size() - 1);
  }

  /// No set holds a line feed: a match never leaves its line.
  std::uint32_t add_bytes(ByteSet bytes) {
    bytes.reset('\n');
    const std::uint32_t at = add(NodeKind::kBytes);
    pattern_.nodes[at].bytes = bytes;
    return at;
  }

  [[nodiscard]] ByteSet both_cases(ByteSet bytes) const {
    if (!pattern_.ignore_case) return bytes;
    for (unsigned c = 'a'; c <= 'z'; ++c) {
      const unsigned upper = c - 'a' + 'A';
      if (bytes[c] || bytes[upper]) bytes.set(c).set(upper);
    }
    return bytes;
  }

  [[nodiscard]] ByteSet one(char c) const {
    return both_cases(ByteSet().set(static_cast<unsigned char>(c)));
  }

  bool accept(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  char take() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  Result<std::uint32_t> all_literal() {
    std::vector<std::uint32_t> bytes;
    while (!rest_.empty()) bytes.push_back(add_bytes(one(take())));
    return add_list(NodeKind::kSequence, std::move(bytes));
  }

  Result<std::uint32_t> expression() {
    if (accept("(?i)")) pattern_.ignore_case = true;
    return choice(0);
  }

  /// The depth of calls is that of the brackets, which is limited.
  Result<std::uint32_t> choice(std::size_t depth) {
    std::vector<std::uint32_t> branches;
    do {
      auto branch = sequence(depth);
      if (!branch) return branch;
      branches.push_back(*branch);
    } while (accept("|"));
    return branches.size() == 1 ? branches[0] : add_list(NodeKind::kChoice, std::move(branches));
  }

  Result<std::uint32_t> sequence(std::size_t depth) {
    std::vector<std::uint32_t> parts;
    while (!rest_.empty() && rest_.front() != '|' && rest_.front() != ')') {
      auto part = atom(depth);
      if (part) part = repeated(*part);
      if (!part) return part;
      parts.push_back(*part);
    }
    return parts.size() == 1 ? parts[0] : add_list(NodeKind::kSequence, std::move(parts));
  }

  Result<std::uint32_t> atom(std::size_t depth) {
    const char c = take();
    switch (c) {
      case '(':
        return group(depth);
      case '[':
        return bracket();
      case '.':
        return add_bytes(ByteSet().set());
      case '^':
        return add(NodeKind::kLineStart);
      case '$':
        return add(NodeKind::kLineEnd);
      case '\\':
        return escape();
      case '*':
      case '+':
      case '?':
        return wrong(std::string("nothing to repeat before ") + c);
      default:
        return add_bytes(one(c));
    }
  }

  Result<std::uint32_t> group(std::size_t depth) {
    if (depth == Pattern::kDeepest) return wrong("pattern nested too deeply");
    const bool is_plain = accept("?:");
    if (!is_plain && rest_.starts_with("?")) {
      return wrong("(?i) stands at the start only, and no other (? but (?: is known");
    }
    const std::uint32_t number = is_plain ? 0 : ++pattern_.groups;
    auto inner = choice(depth + 1);
    if (inner && !accept(")")) return wrong("unmatched ( in pattern");
    if (is_plain || !inner) return inner;
    const std::uint32_t at = add_list(NodeKind::kGroup, {*inner});
    pattern_.nodes[at].group = number;
    return at;
  }

  Result<std::uint32_t> escape() {
    if (rest_.empty()) return wrong("pattern ends in a backslash");
    if (accept("b")) return add(NodeKind::kWordEdge);
    if (accept("B")) return add(NodeKind::kNoWordEdge);
    if (const auto known = EscapedClass(rest_.front())) {
      rest_.remove_prefix(1);
      return add_bytes(*known);
    }
    const auto byte = escaped_byte();
    if (!byte) return std::unexpected(byte.error());
    return add_bytes(one(*byte));
  }

  Result<char> escaped_byte() {
    constexpr std::string_view kNames = "tnrfv";
    constexpr std::string_view kBytes = "\t\n\r\f\v";
    const char c = take();
    if (const std::size_t at = kNames.find(c); at != std::string_view::npos) return kBytes[at];
    if (c == 'x') {
      if (rest_.size() < 2 || HexDigit(rest_[0]) < 0 || HexDigit(rest_[1]) < 0) {
        return wrong("\\x needs two hexadecimal digits");
      }
      const int high = HexDigit(take());
      return static_cast<char>(high * 16 + HexDigit(take()));
    }
    const bool is_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (is_letter || (c >= '0' && c <= '9')) return wrong(std::string("unknown escape \\") + c);
    return c;
  }

  Result<std::uint32_t> bracket() {
    const bool negated = accept("^");
    ByteSet set;
    for (bool first = true; first || !rest_.starts_with("]"); first = false) {
      if (auto part = bracket_part(set); !part) return std::unexpected(std::move(part.error()));
      if (rest_.empty()) return wrong("unmatched [ in pattern");
    }
    rest_.remove_prefix(1);
    set = both_cases(set);
    return add_bytes(negated ? ~set : set);
  }

  Status bracket_part(ByteSet& set) {
    if (accept("[:")) {
      const std::size_t end = rest_.find(":]");
      const auto known = FindClass(rest_.substr(0, end));
      if (end == std::string_view::npos || !known) return wrong("unknown class in [ ]");
      set |= *known;
      rest_.remove_prefix(end + 2);
      return {};
    }
    if (rest_.size() > 1 && rest_[0] == '\\') {
      if (const auto known = EscapedClass(rest_[1])) {
        set |= *known;
        rest_.remove_prefix(2);
        return {};
      }
    }
    const auto first = bracket_byte();
    if (!first) return std::unexpected(first.error());
    auto last = *first;
    if (rest_.size() > 1 && rest_[0] == '-' && rest_[1] != ']') {
      rest_.remove_prefix(1);
      const auto end = bracket_byte();
      if (!end) return std::unexpected(end.error());
      last = *end;
    }
    if (last < *first) return wrong("range out of order in [ ]");
    set |= Range(*first, last);
    return {};
  }

  Result<unsigned char> bracket_byte() {
    if (rest_.empty()) return wrong("unmatched [ in pattern");
    if (rest_.size() < 2 || !accept("\\")) return static_cast<unsigned char>(take());
    const auto byte = escaped_byte();
    if (!byte) return std::unexpected(byte.error());
    return static_cast<unsigned char>(*byte);
  }

  Result<std::uint32_t> repeated(std::uint32_t part) {
    for (std::size_t times = 0; !rest_.empty(); ++times) {
      std::uint32_t least = 0;
      std::uint32_t most = Node::kEndless;
      if (accept("+")) {
        least = 1;
      } else if (accept("?")) {
        most = 1;
      } else if (!accept("*")) {
        const auto counted = counts(least, most);
        if (!counted) return std::unexpected(counted.error());
        if (!*counted) return part;
      }
      if (times == Pattern::kMaxStacked) return wrong("too many repetitions of a repetition");
      part = add_list(NodeKind::kRepeat, {part});
      pattern_.nodes[part].least = least;
      pattern_.nodes[part].most = most;
    }
    return part;
  }

  /// {n}, {n,}, {,m} and {n,m}. A "{" that begins none of them stands for itself: false.
  Result<bool> counts(std::uint32_t& least, std::uint32_t& most) {
    const std::size_t end = rest_.find('}');
    if (!rest_.starts_with('{') || end == std::string_view::npos) return false;
    const std::string_view inside = rest_.substr(1, end - 1);
    const std::size_t comma = inside.find(',');
    const std::string_view low = inside.substr(0, comma);
    const std::string_view high = comma == std::string_view::npos ? low : inside.substr(comma + 1);
    const auto low_count = ParseDecimal(low.empty() ? "0" : low);
    const auto high_count = ParseDecimal(high.empty() ? "0" : high);
    if (!low_count || !high_count || (low.empty() && high.empty())) return false;
    if (*low_count > Pattern::kMaxRepeats || *high_count > Pattern::kMaxRepeats) {
      return wrong("repetition count above 1000");
    }
    least = static_cast<std::uint32_t>(*low_count);
    most = high.empty() ? Node::kEndless : static_cast<std::uint32_t>(*high_count);
    if (most < least) return wrong("repetition counts out of order");
    rest_.remove_prefix(end + 1);
    return true;
  }

  std::string_view rest_;
  PatternOptions options_;
  Pattern pattern_;
};

}  // namespace

Result<Pattern> ParsePattern(std::string_view text, PatternOptions options) {
  return PatternParser(text, options).run();
}

}  // namespace mrb::search
