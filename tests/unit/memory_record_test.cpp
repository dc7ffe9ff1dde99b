#include "memory/record/record.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "memory/record/memo_types.h"
#include "memory/record/record_heap.h"

namespace mrb::memory {
namespace {

std::string Encoded(const RecordFields& fields) {
  std::string bytes(RecordLength(fields).value_or(0), '\xEE');
  WriteRecord(fields, bytes.data());
  return bytes;
}

std::string Hex(std::string_view bytes) {
  std::string out;
  for (const char c : bytes) {
    out += "0123456789abcdef"[static_cast<unsigned char>(c) >> 4U];
    out += "0123456789abcdef"[static_cast<unsigned char>(c) & 15U];
  }
  return out;
}

const std::vector<std::string_view> kWords = {"hi", "Foo Bar"};
const std::vector<float> kVector = {1.0F, -2.5F};
const RecordFields kFull{.props = 0x88,
                         .written = 0x0102030405060708,
                         .content = "Hi!",
                         .topic = "t",
                         .keywords = kWords,
                         .vector = kVector};

TEST(Record, HasThisLayout) {
  EXPECT_EQ(Hex(Encoded({})), std::string(48, '0'));
  EXPECT_EQ(Hex(Encoded(kFull)),
            "88000080"          // props, vector bit set
            "0807060504030201"  // written
            "03000000486921"    // content
            "0100000074"        // topic
            "02000000"          // keywords
            "020000006869"
            "07000000466f6f20426172"
            "02000000"  // dimension
            "0000803f000020c0");
}

TEST(Record, ReadsBackWhatItWrote) {
  const std::string bytes = "skipped" + Encoded(kFull) + "rest";
  const RecordView record = ReadRecord(bytes, 7).value_or(RecordView());
  EXPECT_EQ(record.length, bytes.size() - 11);
  EXPECT_EQ(record.props, 0x88 | kVectorBit);
  EXPECT_EQ(record.written, 0x0102030405060708U);
  EXPECT_EQ(record.content, "Hi!");
  EXPECT_EQ(record.topic, "t");
  EXPECT_EQ(record.vector_bytes.size(), 8U);
  KeywordCursor cursor = record.keywords();
  std::string_view word;
  std::vector<std::string_view> words;
  while (cursor.next(word)) words.push_back(word);
  EXPECT_EQ(words, kWords);
}

TEST(Record, DoesNotFitWhenCutAnywhereButBeforeTheDimension) {
  const std::string bytes = Encoded(kFull);
  const std::size_t dimension_at = bytes.size() - 12;
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const auto record = ReadRecord(std::string_view(bytes).substr(0, size), 0);
    const bool ends_at_keywords = size >= dimension_at && size < dimension_at + 4;
    ASSERT_EQ(record.has_value(), ends_at_keywords) << size;
    if (record) {
      EXPECT_EQ(record->length, dimension_at);
      EXPECT_TRUE(record->vector_missing);
    }
  }
}

TEST(Record, LengthsFromOutsideAreNotTrusted) {
  const std::string good = Encoded(kFull);
  for (const std::size_t field : {12U, 19U, 24U, 28U, 34U, 45U}) {  // every length and count
    for (const char byte : {'\x7F', '\xFF'}) {
      std::string bytes = good;
      bytes[field + 3] = byte;
      EXPECT_FALSE(ReadRecord(bytes, 0)) << field;
    }
  }
  EXPECT_FALSE(ReadRecord(good, good.size() + 1));
  EXPECT_FALSE(ReadRecord(good, ~std::uint64_t{0}));
}

TEST(RecordHeap, ReadsAreBounded) {
  RecordHeap heap;
  const std::string bytes = Encoded(kFull);
  ASSERT_TRUE(heap.reserve(bytes.size()));
  EXPECT_EQ(heap.capacity(), kHeapStep);
  std::copy(bytes.begin(), bytes.end(), heap.data());
  heap.set_used(bytes.size());
  EXPECT_EQ(heap.record_length(0), bytes.size());
  EXPECT_EQ(heap.read_u32(bytes.size() - 4), 0xC0200000U);
  EXPECT_EQ(heap.read_u32(bytes.size() - 3), 0U);
  EXPECT_EQ(heap.read_u32(~std::uint64_t{0}), 0U);
  EXPECT_EQ(heap.text(bytes.size() - 2, 100).size(), 2U);
  EXPECT_EQ(heap.record_length(bytes.size()), 0U);
  heap.set_used(15);  // the content's length no longer fits: counts as nothing, ends the walk
  EXPECT_EQ(heap.record_length(0), 12U);
  ASSERT_TRUE(heap.reserve(kHeapStep + 1));
  EXPECT_EQ(heap.capacity(), 2 * kHeapStep);
}

}  // namespace
}  // namespace mrb::memory
