#include "platform/page_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>

#include "platform/system_info.h"

namespace mrb::platform {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;

TEST(PageBufferTest, GrowingKeepsOldBytesAndBringsZeros) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  PageBuffer buffer;
  std::string model;
  int growths = 0;
  while (buffer.capacity() < 96 * kMebibyte) {
    ASSERT_TRUE(buffer.grow(buffer.capacity() + 1 + random() % (buffer.capacity() + 2)));
    ASSERT_GT(buffer.capacity(), model.size());
    ++growths;
    model.resize(buffer.capacity(), '\0');
    ASSERT_EQ(std::memcmp(model.data(), buffer.data(), model.size()), 0) << model.size();
    for (int i = 0; i < 100; ++i) {
      const std::size_t at = random() % buffer.capacity();
      buffer.data()[at] = model[at] = static_cast<char>(random());
    }
  }
  EXPECT_GE(growths, 4);
}

TEST(PageBufferTest, MovesTakeTheBlockAlong) {
  PageBuffer a;
  ASSERT_TRUE(a.grow(10));
  a.data()[9] = 'x';
  PageBuffer b(std::move(a));
  PageBuffer c;
  ASSERT_TRUE(c.grow(5 * kMebibyte));
  c = std::move(b);
  EXPECT_EQ(c.data()[9], 'x');
  ASSERT_TRUE(c.grow(40 * kMebibyte));
  EXPECT_EQ(c.data()[9], 'x');
}

TEST(PageBufferTest, TooMuchIsRefusedAndChangesNothing) {
  PageBuffer buffer;
  ASSERT_TRUE(buffer.grow(100));
  buffer.data()[0] = 'x';
  const std::size_t before = buffer.capacity();
  for (const std::size_t bytes :
       {std::numeric_limits<std::size_t>::max(), std::numeric_limits<std::size_t>::max() / 2,
        std::size_t{1} << 47U}) {
    const Status grown = buffer.grow(bytes);
    ASSERT_FALSE(grown);
    EXPECT_EQ(grown.error().kind, ErrorKind::kNoSpace);
  }
  EXPECT_EQ(buffer.capacity(), before);
  EXPECT_EQ(buffer.data()[0], 'x');
}

TEST(SystemMemoryTest, PagesCountOnceTheyAreWritten) {
  const SystemMemory memory = ReadSystemMemory();
  EXPECT_GT(memory.available, 0U);
  EXPECT_GE(memory.total, memory.available);

  const std::uint64_t before = ProcessResidentBytes();
  PageBuffer buffer;
  ASSERT_TRUE(buffer.grow(64 * kMebibyte));
  EXPECT_LT(ProcessResidentBytes(), before + 8 * kMebibyte);
  std::fill_n(buffer.data(), 64 * kMebibyte, 'x');
  EXPECT_GT(ProcessResidentBytes(), before + 48 * kMebibyte);
}

}  // namespace
}  // namespace mrb::platform
