#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "memory/containers/paged_array.h"
#include "memory/index/nearest.h"
#include "memory/record/memo_table.h"
#include "memory/record/record_heap.h"

namespace mrb::memory {

/// A memo near to a question.
struct NearMemo {
  std::uint32_t row = 0;
  float cosine = 0;
};

/// The embeddings that the records of one context carry, as flat arrays of unit length, one for
/// each dimension (a context may have seen several models). Derived when first asked for, kept up
/// by adds. Readers share it; add() needs a writer alone.
class VectorIndex {
 public:
  /// All vectors of a context. Throws std::bad_alloc.
  VectorIndex(const RecordHeap& heap, const MemoTable& memos);

  void add(std::uint32_t row, std::span<const float> vector);

  [[nodiscard]] std::size_t size() const { return size_; }

  /// The memos nearest to `query`, best first; none when no vector has its dimension.
  [[nodiscard]] std::vector<NearMemo> nearest(std::span<const float> query,
                                              std::size_t count) const;

  /// The rows that carry a vector, in order.
  [[nodiscard]] std::vector<std::uint32_t> rows() const;

 private:
  friend class IndexSpoiler;  // tests that want to see damage found

  struct Group {
    std::vector<std::uint32_t> rows;
    PagedArray<float> floats;
  };

  std::map<std::size_t, Group> groups_;  // by dimension
  std::size_t size_ = 0;
};

/// The floats of a record's vector bytes.
[[nodiscard]] std::vector<float> VectorOf(std::string_view vector_bytes);

}  // namespace mrb::memory
