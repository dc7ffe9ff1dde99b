#include "vfs/search/required_literal.h"

#include <string_view>
#include <utility>
#include <vector>

namespace mrb::search {
namespace {

struct Facts {
  bool is_exact = false;     // every match is `required` itself
  bool has_asserts = false;  // and something is asked of its neighbours
  std::string required;
};

/// Longer common parts are not looked for: patterns with such alternatives are rare.
constexpr std::size_t kMaxCompared = 256;

std::string LongestCommon(std::string_view a, std::string_view b) {
  std::string_view best;
  if (a.size() > kMaxCompared || b.size() > kMaxCompared) return {};
  for (std::size_t from = 0; from < a.size(); ++from) {
    for (std::size_t size = best.size() + 1; from + size <= a.size(); ++size) {
      if (!b.contains(a.substr(from, size))) break;
      best = a.substr(from, size);
    }
  }
  return std::string(best);
}

Facts OfBytes(const ByteSet& bytes, bool ignore_case) {
  Facts facts;
  for (unsigned c = 0; c < 256; ++c) {
    if (!bytes[c]) continue;
    const bool is_upper = c >= 'A' && c <= 'Z';
    const bool is_pair = ignore_case && is_upper && bytes.count() == 2 && bytes[c - 'A' + 'a'];
    if (!is_pair && bytes.count() != 1) return facts;
    facts.is_exact = true;
    facts.required = static_cast<char>(is_pair ? c - 'A' + 'a' : c);
    return facts;
  }
  return facts;
}

Facts OfSequence(const Node& node, const std::vector<Facts>& known) {
  Facts facts{true, false, {}};
  std::string run;
  const auto keep = [&](const std::string& text) {
    if (text.size() > facts.required.size()) facts.required = text;
  };
  for (const std::uint32_t child : node.children) {
    const Facts& part = known[child];
    facts.has_asserts |= part.has_asserts;
    if (part.is_exact) {
      run += part.required;
      continue;
    }
    facts.is_exact = false;
    keep(std::exchange(run, {}));
    keep(part.required);
  }
  keep(run);
  return facts;
}

Facts OfChoice(const Node& node, const std::vector<Facts>& known) {
  Facts facts{false, true, known[node.children[0]].required};
  for (const std::uint32_t child : node.children) {
    facts.required = LongestCommon(facts.required, known[child].required);
  }
  return facts;
}

}  // namespace

RequiredLiteral FindRequiredLiteral(const Pattern& pattern) {
  std::vector<Facts> known;  // children stand before their parents
  known.reserve(pattern.nodes.size());
  for (const Node& node : pattern.nodes) {
    switch (node.kind) {
      case NodeKind::kBytes:
        known.push_back(OfBytes(node.bytes, pattern.ignore_case));
        break;
      case NodeKind::kSequence:
        known.push_back(OfSequence(node, known));
        break;
      case NodeKind::kChoice:
        known.push_back(OfChoice(node, known));
        break;
      case NodeKind::kRepeat:
        known.push_back({false, true, node.least > 0 ? known[node.children[0]].required : ""});
        break;
      case NodeKind::kGroup:
        known.push_back(known[node.children[0]]);
        break;
      default:
        known.push_back({true, node.kind != NodeKind::kEmpty, {}});
    }
  }
  Facts& root = known.back();
  return {std::move(root.required), root.is_exact && !root.has_asserts};
}

}  // namespace mrb::search
