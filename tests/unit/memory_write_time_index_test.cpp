#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "memory/index/write_time_index.h"

namespace mrb::memory {
namespace {

TEST(WrittenBoundsTest, FindsTheNewestLikeASortOfAll) {
  std::mt19937 random(11);  // NOLINT: the same every time
  MemoTable memos;
  WriteTimeIndex bounds;
  std::uint64_t clock = 100;
  for (int step = 0; step < 12; ++step) {
    const std::size_t rows = random() % 5000;
    for (std::size_t i = 0; i < rows; ++i) {
      clock += random() % 3 == 0 ? 1 : 0;
      // Most rise; some are imported with an old time or none, few with a later one.
      const auto kind = random() % 1000;
      const std::uint64_t written = kind < 900 ? clock : kind < 998 ? random() % 100 : clock + 500;
      MemoRow row;
      row.written = written;
      memos.rows().push_back(row);
    }
    std::vector<std::uint32_t> model(memos.size());
    std::iota(model.begin(), model.end(), 0U);
    std::ranges::sort(model, [&](std::uint32_t a, std::uint32_t b) {
      return std::pair(memos[a].written, a) > std::pair(memos[b].written, b);
    });
    for (const std::size_t count : {1U, 20U, 5000U}) {
      std::vector<std::uint32_t> wanted(
          model.begin(),
          model.begin() + static_cast<std::ptrdiff_t>(std::min(count, model.size())));
      ASSERT_EQ(NewestRows(memos, bounds, count), wanted) << step << " " << count;
    }
  }
}

}  // namespace
}  // namespace mrb::memory
