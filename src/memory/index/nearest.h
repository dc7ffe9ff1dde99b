#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mrb::memory {

/// Vectors as one flat array of rows of floats.

/// A vector that is near: its place in the array and the cosine of the angle between.
struct Near {
  std::uint32_t place = 0;
  float cosine = 0;
};

/// `vector` scaled to length 1; all zeros when it has no direction.
[[nodiscard]] std::vector<float> Normalised(std::span<const float> vector);

/// The `count` rows of `flat` nearest to `query`, best first, the earlier at a tie; only those with
/// a cosine above 0. Rows and query are of length 1 and of one dimension, the query's. Large arrays
/// are searched by several threads.
[[nodiscard]] std::vector<Near> FindNearest(std::span<const float> flat,
                                            std::span<const float> query, std::size_t count);

}  // namespace mrb::memory
