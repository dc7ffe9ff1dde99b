#include "memory/index/term_web.h"

#include <algorithm>

#include "memory/containers/name_table.h"

namespace mrb::memory {

std::string_view TermWeb::term(std::uint32_t id) const {
  return std::string_view(names_).substr(entries_[id].start, entries_[id].length);
}

std::uint32_t TermWeb::intern(std::string_view name) {
  const std::uint64_t hash = HashName(name);
  const auto length = static_cast<std::uint32_t>(name.size());
  const std::size_t slot =
      table_.probe(hash, length, [&](std::uint32_t id) { return term(id) == name; });
  if (const std::uint32_t known = table_.id_at(slot); known != kNoId) return known;
  const auto id = static_cast<std::uint32_t>(entries_.size());
  entries_.push_back({names_.size(), length, {}});
  names_ += name;
  table_.place(slot, hash, length, id);
  return id;
}

void TermWeb::add(std::string_view name, std::uint32_t row) {
  const std::size_t known = entries_.size();
  const std::uint32_t id = intern(name);
  const auto noted = rows(id);
  if (noted.empty() || noted.back() != row) lists_.push(entries_[id].rows, row);
  if (id == known && ordered_) {
    const auto by_name = [&](std::uint32_t other) { return term(other); };
    order_.insert(std::ranges::lower_bound(order_, name, {}, by_name), id);
  }
}

void TermWeb::append(const TermWeb& later) {
  ordered_ = false;
  for (std::uint32_t id = 0; id < later.size(); ++id) {
    const std::uint32_t own = intern(later.term(id));
    for (const std::uint32_t row : later.rows(id)) {
      lists_.push(entries_[own].rows, row);
    }
  }
}

void TermWeb::order() {
  order_.resize(entries_.size());
  for (std::uint32_t id = 0; id < entries_.size(); ++id) {
    order_[id] = id;
  }
  ordered_ = true;
  std::ranges::sort(order_, {}, [&](std::uint32_t id) { return term(id); });
}

std::span<const std::uint32_t> TermWeb::find(std::string_view prefix) const {
  const auto start = [&](std::uint32_t id) { return term(id).substr(0, prefix.size()); };
  const auto range = std::ranges::equal_range(order_, prefix, {}, start);
  return {range.begin(), range.end()};
}

}  // namespace mrb::memory
