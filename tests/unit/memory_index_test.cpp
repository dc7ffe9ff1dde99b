// The index of a context: the same state however it came about, and the links between keywords.

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "memory/index/context_index.h"
#include "memory/index/index_builder.h"
#include "memory/record/record_heap.h"

namespace mrb::memory {
namespace {

/// A heap that a test appends records to.
class TestHeap {
 public:
  std::uint64_t append(std::string_view topic, const std::vector<std::string_view>& keywords,
                       std::uint64_t written = 1) {
    const RecordFields fields{.props = 1,
                              .written = written,
                              .content = "c",
                              .topic = topic,
                              .keywords = keywords,
                              .vector = {}};
    const std::uint64_t offset = heap.used();
    const std::uint64_t length = RecordLength(fields).value_or(0);
    EXPECT_TRUE(heap.reserve(offset + length));
    WriteRecord(fields, heap.data() + offset);
    heap.set_used(offset + length);
    return offset;
  }

  [[nodiscard]] std::unique_ptr<ContextIndex> built(std::size_t threads) const {
    PagedArray<MemoRow> rows;
    RecordWalk walk(rows);
    walk.advance(heap.bytes(), true);
    EXPECT_EQ(walk.end(), heap.used());
    return std::make_unique<ContextIndex>(heap,
                                          IndexBuilder::build(heap, std::move(rows), threads));
  }

  /// Records of random topics and keywords; some name a keyword twice.
  void fill(std::size_t memos, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::string> words;
    words.reserve(600);
    for (int i = 0; i < 300; ++i) words.push_back("word" + std::string(random() % 20, 'a') + "x");
    for (int i = 0; i < 60; ++i) {
      const std::string word(2 + random() % 2, static_cast<char>('a' + i % 5));
      for (const char* ending : {"", "s", "ing", "ed", "1.2"}) words.push_back(word + ending);
    }
    for (std::size_t i = 0; i < memos; ++i) {
      std::vector<std::string_view> keywords;
      for (std::size_t k = random() % 25; k > 0; --k) {
        const std::size_t most = 1 + random() % words.size();
        keywords.emplace_back(words[random() % most]);
      }
      const std::string topic = "topic" + std::to_string(random() % (1 + memos / 4));
      append(topic, keywords, random() % 5);
    }
  }

  RecordHeap heap;
};

std::string Joined(std::span<const std::uint32_t> numbers) {
  std::string out;
  for (const std::uint32_t number : numbers) out += " " + std::to_string(number);
  return out;
}

/// Everything an index knows, as text.
std::string Dump(const ContextIndex& index) {
  std::string out;
  for (const MemoRow& row : index.memos().span()) {
    out += std::to_string(row.offset) + " " + std::to_string(row.written) + " " +
           std::to_string(row.props) + " " + std::to_string(row.topic) + " " +
           std::to_string(row.ordinal) + " " + std::to_string(row.keywords) + "\n";
  }
  for (std::uint32_t id = 0; id < index.topics().size(); ++id) {
    out += std::string(index.topics().name(id)) + Joined(index.topics().rows(id)) + "\n";
    EXPECT_EQ(index.topics().find(index.topics().name(id)), id);
  }
  const KeywordIndex& keywords = index.keywords();
  for (std::uint32_t id = 0; id < keywords.size(); ++id) {
    out += std::string(keywords.name(id)) + Joined(keywords.rows(id)) + " semantic" +
           Joined(index.links().semantic(keywords, id)) + " thematic" +
           Joined(index.links().thematic(keywords, id)) + "\n";
    EXPECT_EQ(keywords.find(keywords.name(id)), id);
  }
  out += "recent" + Joined(index.recency().newest_first());
  const MemoTotals& totals = index.totals();
  return out + " " + std::to_string(totals.untimed) + " " + std::to_string(totals.oldest) + " " +
         std::to_string(totals.newest) + " " + std::to_string(totals.vectors);
}

TEST(Index, IsTheSameHoweverItCameAbout) {
  int compared = 0;
  for (const std::size_t memos : {0U, 1U, 2U, 40U, 3000U}) {
    TestHeap source;
    source.fill(memos, static_cast<unsigned>(memos) + 5);
    const std::string one = Dump(*source.built(1));
    for (const std::size_t threads : {2U, 3U, 16U}) {
      EXPECT_EQ(Dump(*source.built(threads)), one) << memos << " memos, " << threads;
      ++compared;
    }
    ContextIndex added(source.heap);
    const auto rows = source.built(1);
    for (const MemoRow& row : rows->memos().span()) ASSERT_TRUE(added.add(row.offset));
    EXPECT_EQ(Dump(added), one) << memos << " memos, one by one";
    // Half at once, the rest one by one: what a session of writes after a load does.
    const std::uint64_t all = source.heap.used();
    const std::uint32_t half = rows->memos().size() / 2;
    if (half > 0) source.heap.set_used(rows->memos()[half].offset);
    const auto grown = source.built(2);
    source.heap.set_used(all);
    for (std::uint32_t row = grown->memos().size(); row < rows->memos().size(); ++row) {
      ASSERT_TRUE(grown->add(rows->memos()[row].offset));
    }
    EXPECT_EQ(Dump(*grown), one) << memos << " memos, half and half";
  }
  EXPECT_EQ(compared, 15);
}

std::set<std::string> NamesOf(const ContextIndex& index, std::span<const std::uint32_t> ids) {
  std::set<std::string> names;
  for (const std::uint32_t id : ids) names.emplace(index.keywords().name(id));
  return names;
}

std::set<std::string> Semantic(const ContextIndex& index, std::string_view keyword) {
  return NamesOf(index, index.links().semantic(index.keywords(), index.keywords().find(keyword)));
}

TEST(Index, InflectionsAreRelativesWhicheverComesFirst) {
  using Names = std::set<std::string>;
  for (const bool reversed : {false, true}) {
    std::vector<std::string_view> words = {
        "cat",    "cats",    "box",      "boxes", "query",     "queries",
        "create", "created", "creating", "walk",  "walked",    "walking",
        "vrc",    "v1.2rc",  "as",       "a1",    "buildfile", "build.file2"};
    if (reversed) std::ranges::reverse(words);
    TestHeap source;
    source.append("t", words);
    const auto index = source.built(1);
    EXPECT_EQ(Semantic(*index, "cats"), Names{"cat"});
    EXPECT_EQ(Semantic(*index, "boxes"), Names{"box"});
    EXPECT_EQ(Semantic(*index, "query"), Names{"queries"});
    EXPECT_EQ(Semantic(*index, "create"), (Names{"created", "creating"}));
    EXPECT_EQ(Semantic(*index, "walk"), (Names{"walked", "walking"}));
    EXPECT_EQ(Semantic(*index, "vrc"), Names{"v1.2rc"});
    EXPECT_EQ(Semantic(*index, "build.file2"), Names{"buildfile"});
    EXPECT_EQ(Semantic(*index, "as"), Names{});
    EXPECT_EQ(Semantic(*index, "a1"), Names{});
  }
}

TEST(Index, WordsThatGoTogetherAreThematic) {
  TestHeap source;
  for (int i = 0; i < 64; ++i) {
    const std::string filler = "filler" + std::to_string(i);
    if (i % 4 == 0) {
      source.append("t", {"compiler", "linker", "everywhere", "the", filler});
    } else {
      source.append("t", {"everywhere", "the", filler});
    }
  }
  const auto index = source.built(1);
  const KeywordIndex& keywords = index->keywords();
  const auto thematic = [&](std::string_view keyword) {
    return NamesOf(*index, index->links().thematic(keywords, keywords.find(keyword)));
  };
  EXPECT_EQ(thematic("compiler"), std::set<std::string>{"linker"});
  EXPECT_EQ(thematic("linker"), std::set<std::string>{"compiler"});
  EXPECT_EQ(thematic("everywhere"), std::set<std::string>{});
}

}  // namespace
}  // namespace mrb::memory
