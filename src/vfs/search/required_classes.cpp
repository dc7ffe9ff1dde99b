#include "vfs/search/required_classes.h"

#include <algorithm>
#include <array>
#include <utility>

#include "vfs/search/class_search.h"

namespace mrb::search {
namespace {

/// A set of bytes and how often they occur.
struct Part {
  ByteSet bytes;
  double often = 1;
};

using Run = std::vector<Part>;

/// Longer ones find nothing more.
constexpr std::size_t kMaxRun = 8;

/// A place that fits is looked at again with its whole line, which costs as much as this many bytes
/// of the automaton: the sets must be found together less often.
constexpr double kMostOften = 0.01;

/// What holds for every match of a node.
struct Facts {
  bool is_exact = false;  ///< it is `first`, byte by byte, and nothing else
  Run first;              ///< it begins with these; the same as `last` when it is exact
  Run last;               ///< it ends with these
  Run inside;             ///< the rarest that it holds somewhere
};

/// How often a byte occurs, roughly.
double Frequency(unsigned byte) {
  if (byte >= 'a' && byte <= 'z') return 0.025;
  if (byte == ' ') return 0.15;
  if (byte == '\n') return 0.03;
  if (byte >= '0' && byte <= '9') return 0.005;
  if (byte == '_') return 0.015;
  return byte >= ' ' && byte < 0x7f ? 0.004 : 0.0005;
}

Part MakePart(const ByteSet& bytes) {
  static const std::array<double, 256> kKnown = [] {
    std::array<double, 256> known{};
    for (unsigned byte = 0; byte < 256; ++byte) known[byte] = Frequency(byte);
    return known;
  }();
  double sum = 0;
  for (unsigned byte = 0; byte < 256; ++byte) sum += bytes[byte] ? kKnown[byte] : 0;
  return {bytes, std::min(sum, 1.0)};
}

/// The sets of a run that are looked for, and how often they are found.
struct Window {
  std::size_t begin = 0;
  std::size_t size = 0;
  double often = 1;
};

Window RarestWindow(const Run& run) {
  Window best;
  const std::size_t size = std::min(run.size(), ClassSearch::kMaxSets);
  for (std::size_t begin = 0; size > 0 && begin + size <= run.size(); ++begin) {
    double often = 1;
    for (std::size_t i = begin; i < begin + size; ++i) often *= run[i].often;
    if (often < best.often) best = {begin, size, often};
  }
  return best;
}

void KeepRarer(Run& kept, const Run& other) {
  if (RarestWindow(other).often < RarestWindow(kept).often) kept = other;
}

void CutFront(Run& run) {
  if (run.size() > kMaxRun) run.resize(kMaxRun);
}

void CutBack(Run& run) {
  if (run.size() > kMaxRun) {
    run.erase(run.begin(), run.end() - static_cast<std::ptrdiff_t>(kMaxRun));
  }
}

Run Joined(Run a, const Run& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Facts Exactly(const Run& run) {
  return {true, run, run, run};
}

/// One behind the other.
Facts Followed(Facts a, const Facts& b) {
  Facts facts;
  const Run middle = Joined(a.last, b.first);
  facts.is_exact = a.is_exact && b.is_exact && middle.size() <= kMaxRun;
  facts.first = a.is_exact ? Joined(a.first, b.first) : std::move(a.first);
  facts.last = b.is_exact ? middle : b.last;
  facts.inside = std::move(a.inside);
  KeepRarer(facts.inside, b.inside);
  KeepRarer(facts.inside, middle);
  CutFront(facts.first);
  CutBack(facts.last);
  return facts;
}

/// Either; runs are laid over each other at their starts, or at their ends.
Run Either(const Run& a, const Run& b, bool at_ends) {
  const std::size_t size = std::min(a.size(), b.size());
  Run run(size);
  for (std::size_t i = 0; i < size; ++i) {
    const Part& one = at_ends ? a[a.size() - size + i] : a[i];
    const Part& other = at_ends ? b[b.size() - size + i] : b[i];
    run[i] = MakePart(one.bytes | other.bytes);
  }
  return run;
}

Facts Either(const Facts& a, const Facts& b) {
  Facts facts;
  facts.is_exact = a.is_exact && b.is_exact && a.first.size() == b.first.size();
  facts.first = Either(a.first, b.first, false);
  facts.last = Either(a.last, b.last, true);
  facts.inside = Either(a.inside, b.inside, false);
  KeepRarer(facts.inside, facts.first);
  KeepRarer(facts.inside, facts.last);
  return facts;
}

Facts Repeated(const Facts& part, std::uint32_t least, std::uint32_t most) {
  if (least == 0) return {};
  Facts facts = part;
  for (std::uint32_t i = 1; i < least && i < kMaxRun; ++i) facts = Followed(facts, part);
  // Whatever stands between the first and the last ones.
  if (most != least || least > kMaxRun) facts.is_exact = false;
  return facts;
}

}  // namespace

std::vector<ByteSet> FindRequiredClasses(const Pattern& pattern) {
  std::vector<Facts> known;  // children stand before their parents
  known.reserve(pattern.nodes.size());
  for (const Node& node : pattern.nodes) {
    Facts facts = Exactly({});
    switch (node.kind) {
      case NodeKind::kBytes:
        facts = Exactly({MakePart(node.bytes)});
        break;
      case NodeKind::kSequence:
        for (const std::uint32_t child : node.children) facts = Followed(facts, known[child]);
        break;
      case NodeKind::kChoice:
        facts = known[node.children[0]];
        for (const std::uint32_t child : node.children) facts = Either(facts, known[child]);
        break;
      case NodeKind::kRepeat:
        facts = Repeated(known[node.children[0]], node.least, node.most);
        break;
      case NodeKind::kGroup:
        facts = known[node.children[0]];
        break;
      default:
        break;  // takes no byte
    }
    known.push_back(std::move(facts));
    for (const std::uint32_t child : node.children) known[child] = {};  // has one parent
  }
  const Run& run = known.back().inside;
  const Window window = RarestWindow(run);
  if (window.often > kMostOften) return {};
  std::vector<ByteSet> sets;
  sets.reserve(window.size);
  for (std::size_t i = 0; i < window.size; ++i) sets.push_back(run[window.begin + i].bytes);
  return sets;
}

}  // namespace mrb::search
