#include "memory/index/link_builder.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <vector>

#include "common/parallel.h"
#include "memory/text/inflections.h"

namespace mrb::memory {

namespace {

constexpr std::uint32_t kBlock = 256;  // keywords a thread takes at a time

/// The keyword numbers of any memo, for one thread.
class PostedIds {
 public:
  explicit PostedIds(std::span<const PostedRange> ranges) : ranges_(ranges) {}

  // Rows are scattered over the whole store: each is asked for in three steps, many rows at a time.
  void prefetch_start(std::uint32_t row) {
    const PostedRange& range = range_of(row);
    __builtin_prefetch(&range.starts[row - range.first_row]);
  }
  void prefetch_ids(std::uint32_t row) {
    const PostedRange& range = range_of(row);
    const std::uint32_t* ids = range.ids.data() + range.starts[row - range.first_row];
    __builtin_prefetch(ids);
    __builtin_prefetch(ids + 16);  // the next cache line
  }

  std::span<const std::uint32_t> operator()(std::uint32_t row) {
    const PostedRange& range = range_of(row);
    const std::uint64_t start = range.starts[row - range.first_row];
    const std::uint64_t end = range.starts[row - range.first_row + 1];
    const auto local = range.ids.subspan(start, std::min(end - start, kMaxSampleWords));
    if (range.global.empty()) return local;
    std::ranges::transform(local, ids_.begin(), [&](std::uint32_t id) { return range.global[id]; });
    return std::span(ids_).first(local.size());
  }

 private:
  [[nodiscard]] const PostedRange& range_of(std::uint32_t row) const {
    return *(std::ranges::upper_bound(ranges_, row, {}, &PostedRange::first_row) - 1);
  }

  std::span<const PostedRange> ranges_;
  std::array<std::uint32_t, kMaxSampleWords> ids_;
};

/// Tells which keywords have relatives at all. Of millions of words few do, and only those have to
/// be linked one after the other.
class RelativesCheck {
 public:
  explicit RelativesCheck(const KeywordIndex& keywords)
      : keywords_(keywords), found_(keywords.size()) {}

  [[nodiscard]] bool found(std::uint32_t id) const { return found_[id]; }

  /// For one keyword; several threads may call it for different ones.
  void look(std::uint32_t id, std::vector<std::string>& forms) {
    const std::string_view word = keywords_.name(id);
    forms.clear();
    AppendInflections(word, forms);
    for (const std::string& form : forms) {
      keywords_.prefetch(KeywordIndex::hash(form));
    }
    const auto known = [&](const std::string& form) { return keywords_.find(form) != kNoId; };
    const std::string bare = BareForm(word);
    if (std::ranges::any_of(forms, known)) found_[id] = true;
    if (!bare.empty() && bare != word) {
      found_[id] = true;  // a later keyword may be its bare form
      if (const std::uint32_t other = keywords_.find(bare); other != kNoId) found_[other] = true;
    }
  }

 private:
  const KeywordIndex& keywords_;
  std::vector<std::atomic<bool>> found_;
};

ThematicPicks PicksOf(const KeywordIndex& keywords, std::uint32_t id, SmallCounter& counter,
                      PostedIds& ids_of) {
  const std::vector<std::uint32_t> rows = SampleRows(keywords, id);
  std::ranges::for_each(rows, [&](std::uint32_t row) { ids_of.prefetch_start(row); });
  std::ranges::for_each(rows, [&](std::uint32_t row) { ids_of.prefetch_ids(row); });
  return FindPicks(keywords, id, rows, counter, ids_of);
}

}  // namespace

void BuildLinks(KeywordIndex& keywords, KeywordLinks& links, std::span<const PostedRange> ranges) {
  PagedArray<ThematicPicks> picks;
  picks.resize(keywords.size());
  RelativesCheck relatives(keywords);
  std::atomic<std::uint64_t> next = 0;
  RunParallel(ranges.size(), [&](std::size_t) {
    SmallCounter counter;
    PostedIds ids_of(ranges);
    std::vector<std::string> forms;
    for (std::uint64_t from; (from = next.fetch_add(kBlock)) < keywords.size();) {
      const std::uint64_t to = std::min<std::uint64_t>(keywords.size(), from + kBlock);
      for (auto id = static_cast<std::uint32_t>(from); id < to; ++id) {
        picks[id] = PicksOf(keywords, id, counter, ids_of);
        relatives.look(id, forms);
      }
    }
  });
  for (std::uint32_t id = 0; id < keywords.size(); ++id) {
    if (relatives.found(id)) links.add_keyword(keywords, id);
    if (picks[id].count > 0) links.set_picks(keywords, id, picks[id]);
  }
}

}  // namespace mrb::memory
