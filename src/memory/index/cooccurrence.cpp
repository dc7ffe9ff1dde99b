#include "memory/index/cooccurrence.h"

#include <algorithm>

#include "memory/text/tokenizer.h"

namespace mrb::memory {

namespace {

struct Candidate {
  std::uint32_t id = 0;
  std::uint64_t shared = 0;
  std::uint64_t frequency = 0;

  /// shared² / frequency, compared without rounding: shared <= kMaxSample, frequency < 2^32.
  [[nodiscard]] bool better_than(const Candidate& other) const {
    const std::uint64_t mine = shared * shared * other.frequency;
    const std::uint64_t theirs = other.shared * other.shared * frequency;
    return mine != theirs ? mine > theirs : id < other.id;
  }
};

std::uint32_t LastPower(std::size_t memos) {
  return std::bit_floor(static_cast<std::uint32_t>(memos));
}

}  // namespace

void SmallCounter::clear() {
  used_.clear();
  if (++round_ == 0) {  // the numbers of the rounds start over
    cells_.fill({});
    round_ = 1;
  }
}

std::vector<std::uint32_t> SampleRows(const KeywordIndex& keywords, std::uint32_t keyword) {
  const auto rows = keywords.rows(keyword);
  const std::uint32_t prefix = LastPower(rows.size());
  if (prefix < kFirstPick || IsCommonWord(keywords.name(keyword))) {
    return {};
  }
  const std::uint32_t stride = std::max(1U, prefix / kMaxSample);
  std::vector<std::uint32_t> sample;
  sample.reserve(kMaxSample);
  for (std::uint32_t i = 0; i < prefix; i += stride) {
    // Not the same place in every step: what is written in turns must not look as if it went
    // together.
    const std::uint32_t scattered = ((i + stride) * 0x9E3779B1U) >> 16;
    sample.push_back(rows[i + scattered % stride]);
  }
  return sample;
}

ThematicPicks ChoosePicks(const KeywordIndex& keywords, std::uint32_t keyword,
                          std::uint32_t sampled, const SmallCounter& counter) {
  const auto rows = keywords.rows(keyword);
  const std::uint32_t last_row = rows[LastPower(rows.size()) - 1];
  const std::uint64_t memos = std::uint64_t{last_row} + 1;
  std::array<Candidate, kMaxPicks + 1> best;  // one more than wanted, for the newcomer
  std::size_t found = 0;
  counter.each([&](std::uint32_t id, std::uint32_t shared) {
    if (shared < kMinShared || id == keyword) return;
    // Most candidates are just frequent: more memos of theirs than this, and chance explains it.
    const std::uint64_t most = shared * memos / (kMinLift * sampled);
    const auto others = keywords.rows(id);
    if ((others.size() > most && others[most] <= last_row) || IsCommonWord(keywords.name(id))) {
      return;
    }
    const auto upto = std::ranges::upper_bound(others, last_row) - others.begin();
    const Candidate candidate{id, shared, static_cast<std::uint64_t>(upto)};
    std::size_t at = found;
    for (; at > 0 && candidate.better_than(best[at - 1]); --at) {
      best[at] = best[at - 1];
    }
    best[at] = candidate;
    found = std::min(found + 1, kMaxPicks);
  });
  ThematicPicks picks;
  for (; picks.count < found; ++picks.count) {
    picks.ids[picks.count] = best[picks.count].id;
  }
  return picks;
}

}  // namespace mrb::memory
