#include "memory/index/keyword_prefixes.h"

#include <algorithm>
#include <utility>

#include "common/sort_tail.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kStartBytes = 8;

std::uint64_t StartOf(std::string_view name, unsigned char padding) {
  std::uint64_t start = 0;
  for (std::size_t i = 0; i < kStartBytes; ++i) {
    start = start << 8U | (i < name.size() ? static_cast<unsigned char>(name[i]) : padding);
  }
  return start;
}

}  // namespace

void KeywordPrefixes::follow(const KeywordIndex& keywords) {
  const std::size_t known = entries_.size();
  if (known == keywords.size()) return;
  entries_.reserve(keywords.size());
  for (auto id = static_cast<std::uint32_t>(known); id < keywords.size(); ++id) {
    entries_.push_back({StartOf(keywords.name(id), 0), id});
  }
  SortTail(entries_, known, &Entry::start);
}

std::vector<std::uint32_t> KeywordPrefixes::starting_with(const KeywordIndex& keywords,
                                                          std::string_view prefix,
                                                          std::size_t most) const {
  const auto first = std::ranges::lower_bound(entries_, StartOf(prefix, 0), {}, &Entry::start);
  const auto last =
      std::ranges::upper_bound(first, entries_.end(), StartOf(prefix, 0xFF), {}, &Entry::start);
  std::vector<std::pair<std::uint64_t, std::uint32_t>> found;  // how few memos, which
  for (auto entry = first; entry != last; ++entry) {
    const auto& known = keywords.entry(entry->id);
    if (known.name_length <= prefix.size()) continue;
    if (prefix.size() > kStartBytes && !keywords.name(entry->id).starts_with(prefix)) continue;
    found.emplace_back(UINT64_MAX - known.rows.count, entry->id);
  }
  const std::size_t count = std::min(most, found.size());
  std::ranges::partial_sort(found, found.begin() + static_cast<std::ptrdiff_t>(count));
  std::vector<std::uint32_t> ids(count);
  std::ranges::transform(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(count),
                         ids.begin(), &std::pair<std::uint64_t, std::uint32_t>::second);
  return ids;
}

}  // namespace mrb::memory
