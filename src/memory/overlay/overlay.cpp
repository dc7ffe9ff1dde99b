#include "memory/overlay/overlay.h"

#include <algorithm>

namespace mrb::memory {

namespace {

/// Where `offset` is, or belongs, in a list that is ascending by offset. Lists mostly grow at their
/// ends.
template <typename List>
auto PlaceOf(List& list, std::uint64_t offset) {
  using Entry = typename List::value_type;
  if (list.empty() || list.back().offset < offset) return list.end();
  return std::ranges::lower_bound(list, offset, {}, &Entry::offset);
}

}  // namespace

bool Overlay::is_keyed(std::uint64_t offset) const {
  const auto there = [&](const auto& list) {
    const auto at = PlaceOf(list, offset);
    return at != list.end() && at->offset == offset;
  };
  return is_local() ? there(vectors_) : there(keys_);
}

std::uint32_t Overlay::intern(std::string_view label) {
  const auto known = std::ranges::find(labels_, label, &Label::name);
  if (known != labels_.end()) return static_cast<std::uint32_t>(known - labels_.begin());
  labels_.push_back({std::string(label), {}});
  return static_cast<std::uint32_t>(labels_.size() - 1);
}

Overlay::Keyed Overlay::set_key(std::uint64_t offset, std::uint32_t label) {
  Keyed result = Keyed::kNew;
  const auto at = PlaceOf(keys_, offset);
  if (at == keys_.end() || at->offset != offset) {
    keys_.insert(at, {offset, label});
  } else if (at->label == label) {
    return Keyed::kSame;
  } else {
    result = Keyed::kMoved;
    if (at->label < labels_.size()) std::erase(labels_[at->label].memos, offset);
    at->label = label;
  }
  if (label < labels_.size()) {
    auto& memos = labels_[label].memos;
    memos.insert(std::ranges::lower_bound(memos, offset), offset);
  }
  return result;
}

void Overlay::set_vector(std::uint64_t offset, std::span<const float> vector) {
  Vector entry{offset, floats_.size(), static_cast<std::uint32_t>(vector.size())};
  const auto at = PlaceOf(vectors_, offset);
  const bool known = at != vectors_.end() && at->offset == offset;
  if (known && at->dimension == entry.dimension) {
    std::ranges::copy(vector, floats_.begin() + static_cast<std::ptrdiff_t>(at->start));
    return;
  }
  floats_.insert(floats_.end(), vector.begin(), vector.end());
  if (known) {
    *at = entry;  // the old floats are left out when the overlay is next read from its file
  } else {
    vectors_.insert(at, entry);
  }
}

void Overlay::settle_mark(const MemoTable& memos, std::uint64_t end) {
  const auto settle = [&](const auto& list) {
    auto key = list.begin();
    for (const MemoRow& memo : memos.span()) {
      while (key != list.end() && key->offset < memo.offset) {
        ++key;
      }
      if (key == list.end() || key->offset != memo.offset) return memo.offset;
    }
    return end;
  };
  mark_ = is_local() ? settle(vectors_) : settle(keys_);
}

std::vector<std::uint32_t> Overlay::worklist(const MemoTable& memos, std::size_t limit) const {
  std::vector<std::uint32_t> rows;
  const auto all = memos.span();
  const auto first = std::ranges::lower_bound(all, mark_, {}, &MemoRow::offset);
  const auto collect = [&](const auto& list) {
    auto key = PlaceOf(list, mark_);
    for (auto memo = first; memo != all.end() && rows.size() < limit; ++memo) {
      while (key != list.end() && key->offset < memo->offset) {
        ++key;
      }
      if (key == list.end() || key->offset != memo->offset) {
        rows.push_back(static_cast<std::uint32_t>(memo - all.begin()));
      }
    }
  };
  is_local() ? collect(vectors_) : collect(keys_);
  return rows;
}

std::size_t Overlay::behind(const MemoTable& memos) const {
  return worklist(memos, memos.size()).size();
}

}  // namespace mrb::memory
