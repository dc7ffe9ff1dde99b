#include "memory/index/nearest.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "common/parallel.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kFloatsPerThread = 1U << 20U;  // fewer are done before a thread has started

// Four floats at once is what every machine of this kind has.
using Four = float __attribute__((vector_size(16)));
constexpr std::size_t kRankers = 4;

Four Load(const float* at) {
  Four four;
  std::memcpy(&four, at, sizeof four);
  return four;
}

/// Four sums side by side, so that none waits for the one before it.
float Dot(const float* a, const float* b, std::size_t size) {
  Four sums[4] = {};
  std::size_t i = 0;
  for (; i + 4 * kRankers <= size; i += 4 * kRankers) {
    for (std::size_t lane = 0; lane < 4; ++lane) {
      sums[lane] += Load(a + i + lane * kRankers) * Load(b + i + lane * kRankers);
    }
  }
  const Four all = (sums[0] + sums[1]) + (sums[2] + sums[3]);
  float sum = (all[0] + all[1]) + (all[2] + all[3]);
  for (; i < size; ++i) {
    sum += a[i] * b[i];
  }
  return sum;
}

bool Better(const Near& a, const Near& b) {
  return a.cosine != b.cosine ? a.cosine > b.cosine : a.place < b.place;
}

}  // namespace

std::vector<float> Normalised(std::span<const float> vector) {
  double squares = 0;
  for (const float value : vector) {
    squares += double{value} * double{value};
  }
  const double length = std::sqrt(squares);
  std::vector<float> unit(vector.size());
  if (length > 0 && std::isfinite(length)) {
    std::ranges::transform(vector, unit.begin(),
                           [&](float value) { return static_cast<float>(double{value} / length); });
  }
  return unit;
}

std::vector<Near> FindNearest(std::span<const float> flat, std::span<const float> query,
                              std::size_t count) {
  const std::size_t rows = query.empty() ? 0 : flat.size() / query.size();
  const std::size_t threads = std::clamp<std::size_t>(
      flat.size() / kFloatsPerThread, 1, std::max(1U, std::thread::hardware_concurrency()));
  std::vector<std::vector<Near>> found(threads);
  RunParallel(threads, [&](std::size_t thread) {
    std::vector<Near>& best = found[thread];
    const std::size_t last = rows * (thread + 1) / threads;
    for (std::size_t row = rows * thread / threads; row < last; ++row) {
      const Near near{static_cast<std::uint32_t>(row),
                      Dot(flat.data() + row * query.size(), query.data(), query.size())};
      if (!(near.cosine > 0) || count == 0) continue;
      if (best.size() < count) {
        best.push_back(near);
        std::ranges::push_heap(best, Better);  // the worst of them on top
      } else if (Better(near, best.front())) {
        std::ranges::pop_heap(best, Better);
        best.back() = near;
        std::ranges::push_heap(best, Better);
      }
    }
  });
  std::vector<Near> all;
  for (const std::vector<Near>& part : found) {
    all.insert(all.end(), part.begin(), part.end());
  }
  std::ranges::sort(all, Better);
  all.resize(std::min(all.size(), count));
  return all;
}

}  // namespace mrb::memory
