#include "memory/index/vector_index.h"

#include <algorithm>
#include <bit>

#include "memory/index/index_tables.h"
#include "memory/record/memo_types.h"

namespace mrb::memory {

std::vector<float> VectorOf(std::string_view vector_bytes) {
  std::vector<float> vector(vector_bytes.size() / sizeof(float));
  for (std::size_t i = 0; i < vector.size(); ++i) {
    vector[i] = std::bit_cast<float>(LoadU32(vector_bytes.data() + i * sizeof(float)));
  }
  return vector;
}

VectorIndex::VectorIndex(const RecordHeap& heap, const MemoTable& memos) {
  for (std::uint32_t row = 0; row < memos.size(); ++row) {
    if ((memos[row].props & kVectorBit) != 0) add(row, VectorOf(VectorBytesOf(heap, memos, row)));
  }
}

void VectorIndex::add(std::uint32_t row, std::span<const float> vector) {
  if (vector.empty()) return;
  Group& group = groups_[vector.size()];
  const std::size_t at = group.floats.size();
  group.floats.resize(at + vector.size());
  std::ranges::copy(Normalised(vector), group.floats.data() + at);
  group.rows.push_back(row);
  ++size_;
}

std::vector<NearMemo> VectorIndex::nearest(std::span<const float> query, std::size_t count) const {
  std::vector<NearMemo> memos;
  const auto group = groups_.find(query.size());
  if (group == groups_.end()) return memos;
  const std::vector<float> unit = Normalised(query);
  for (const Near& near : FindNearest(group->second.floats.span(), unit, count)) {
    memos.push_back({group->second.rows[near.place], near.cosine});
  }
  return memos;
}

std::vector<std::uint32_t> VectorIndex::rows() const {
  std::vector<std::uint32_t> all;
  for (const auto& [dimension, group] : groups_) {
    all.insert(all.end(), group.rows.begin(), group.rows.end());
  }
  std::ranges::sort(all);
  return all;
}

}  // namespace mrb::memory
