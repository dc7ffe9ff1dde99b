// Every kind of damage that lint knows is planted, and must be named.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "memory/context/lint.h"
#include "memory/text/tokenizer.h"
#include "memory_home.h"
#include "platform/paths.h"
#include "temp_folder.h"

namespace mrb::memory {

/// Reaches into a store to break it.
class IndexSpoiler {
 public:
  explicit IndexSpoiler(ContextStore& store) : store_(store) {}

  RecordHeap& heap() { return store_.heap_; }
  MemoRow& memo(std::uint32_t row) { return store_.index_->tables_.memos.rows()[row]; }
  void forget_last_memo() {
    auto& rows = store_.index_->tables_.memos.rows();
    rows.resize(rows.size() - 1);
  }
  TopicTable& topics() { return store_.index_->tables_.topics; }
  KeywordIndex& keywords() { return store_.index_->tables_.keywords; }
  TimeWeb& time() { return store_.index_->webs_->time_; }
  std::uint32_t& mentioned(unsigned year) {
    return time().lists_.data()[date(year).mentioned.start];
  }
  std::uint32_t& anchored(unsigned year) { return time().lists_.data()[date(year).anchored.start]; }
  void unanchor(unsigned year) { date(year).anchored.count = 0; }
  std::uint32_t& anchor(std::uint32_t row) { return time().links_[row].anchor; }
  std::uint32_t& back(std::uint32_t row) { return time().links_[row].back; }
  std::uint32_t& tail() { return time().tail_; }
  std::uint32_t& vector_row() { return store_.index_->vectors_->groups_.begin()->second.rows[0]; }
  Overlay& overlay(const std::string& name) {
    return *std::ranges::find(store_.overlays_.overlays_, name, &Overlay::name);
  }
  std::vector<Overlay::Label>& labels() { return overlay("m").labels_; }
  std::vector<Overlay::Key>& keys() { return overlay("m").keys_; }
  std::vector<Overlay::Vector>& vectors() { return overlay("local").vectors_; }
  std::uint64_t& mark() { return overlay("m").mark_; }

 private:
  TimeWeb::Lists& date(unsigned year) { return time().dates_.at(DateStamp(year, 0, 0).packed()); }

  ContextStore& store_;
};

namespace {

constexpr std::uint32_t kNoRow = 99;

/// A store of four memos in two topics, all dated but the last, one with a vector, all keyed; their
/// records begin at offsets_[0…3] and end at end_.
class LintTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(platform::MakeDirectories(platform::SystemFiles(), folder_.path("c")));
    store_ = std::make_unique<ContextStore>(platform::SystemFiles(), folder_.path("c"));
    const std::vector<float> vector = {1, 2};
    const struct {
      const char* topic;
      const char* content;
      bool embedded;
    } memos[] = {{"t", "in 2020", false},
                 {"u", "in 2022", true},
                 {"t", "in 2021", false},
                 {"t", "x", false}};
    for (const auto& memo : memos) {
      const TokenList keywords = BuildKeywordList({}, memo.content);
      const auto words = keywords.views();
      const auto offset =
          store_->append({.content = memo.content,
                          .topic = memo.topic,
                          .keywords = words,
                          .vector = memo.embedded ? std::span(vector) : std::span<const float>()});
      ASSERT_TRUE(offset);
      offsets_.push_back(*offset);
    }
    end_ = store_->heap().used();
    Overlay overlay("m");
    Overlay local("local");
    for (const std::uint64_t offset : offsets_) {
      overlay.set_key(offset, overlay.intern(offset == 0 ? "a" : "b"));
      local.set_vector(offset, vector);
    }
    for (Overlay* each : {&overlay, &local}) {
      each->settle_mark(store_->index().memos(), end_);
      ASSERT_TRUE(store_->overlays().put(*each));
    }
    ASSERT_EQ(findings(), "");  // and webs and vectors are there now
  }

  std::string findings() {
    std::string all;
    for (const std::string& finding : Lint(*store_).findings) all += finding + "\n";
    return all;
  }

  /// Breaks the store by `spoil` and says whether `expected` is among the findings.
  void expect(const std::string& expected, const std::function<void(IndexSpoiler)>& spoil) {
    spoil(IndexSpoiler(*store_));
    const std::string found = findings();
    EXPECT_TRUE(("\n" + found).contains("\n" + expected + "\n")) << expected << "\nin\n" << found;
    ++planted_;
    store_.reset();
    offsets_.clear();
    ASSERT_TRUE(platform::SystemFiles().remove_file(folder_.path("c") + "/data.mrb4"));
    SetUp();
  }

  std::string at(std::size_t memo) const { return "@" + std::to_string(offsets_[memo]); }

  test::TempFolder folder_;
  std::unique_ptr<ContextStore> store_;
  std::vector<std::uint64_t> offsets_;
  std::uint64_t end_ = 0;
  int planted_ = 0;
};

TEST_F(LintTest, NamesDamageOfTheRecordsAndTheirIndexes) {
  const std::string three = std::to_string(offsets_[3]);
  const std::string end = std::to_string(end_);
  expect("buffer: partial record header at " + end,
         [&](IndexSpoiler s) { s.heap().set_used(end_ + 9); });
  expect("buffer: record at " + three + " overruns the buffer",
         [&](IndexSpoiler s) { s.heap().data()[offsets_[3] + kRecordHeadBytes + 3] = 1; });
  expect("buffer: record chain ends at " + three + " not " + end,
         [&](IndexSpoiler s) { s.heap().data()[offsets_[3] + kRecordHeadBytes + 3] = 1; });
  expect("topic 'u': empty posting list",
         [](IndexSpoiler s) { s.topics().entry(1).rows.count = 0; });
  expect("topic 't' memo 2: cached props differ from the record",
         [](IndexSpoiler s) { s.memo(2).props ^= 1U; });
  expect("topic 't' memo 2: record names a different topic",
         [](IndexSpoiler s) { s.topics().arena().data()[s.topics().entry(0).rows.start + 1] = 1; });
  expect("topic 't' memo 2: pointer set disagrees", [](IndexSpoiler s) { s.memo(2).ordinal = 7; });
  expect(
      "topic 'u' memo 1: offset " + std::to_string(offsets_[1] + 1) + " is not a record boundary",
      [](IndexSpoiler s) { ++s.memo(1).offset; });
  expect("memo count: 3 postings vs 4 records (orphaned or double-listed records)",
         [](IndexSpoiler s) { s.topics().entry(1).rows.count = 0; });
  expect("pointer set: 3 entries vs 4 postings", [](IndexSpoiler s) { s.forget_last_memo(); });
  expect("keyword 'in': empty posting list",
         [](IndexSpoiler s) { s.keywords().entry(0).rows.count = 0; });
  expect("keyword '2020': dangling offset 99", [](IndexSpoiler s) {
    s.keywords().arena().data()[s.keywords().entry(1).rows.start] = kNoRow;
  });
  const std::string path = platform::JoinPath(folder_.path("c"), "data.mrb4");
  const auto write = [&](std::string_view bytes) {
    ASSERT_TRUE(platform::ReplaceFile(platform::SystemFiles(), path, bytes));
  };
  expect("disk: file is not MRB4", [&](IndexSpoiler) { write("MRB3"); });
  expect("disk: 1 record bytes on disk vs " + end + " in RAM",
         [&](IndexSpoiler) { write("MRB4x"); });
  ASSERT_TRUE(platform::SystemFiles().remove_file(path));
  EXPECT_EQ(findings(), "disk: cannot open " + path + "\n");
  EXPECT_EQ(planted_, 14);
}

TEST_F(LintTest, NamesDamageOfTheTimeWeb) {
  expect("temporal '2021': dangling offset 99", [](IndexSpoiler s) { s.mentioned(2021) = kNoRow; });
  expect("temporal: date '2021' lists " + at(1) + " which is not anchored on it",
         [](IndexSpoiler s) { s.anchored(2021) = 1; });
  expect("temporal: back pointer mismatch " + at(1), [](IndexSpoiler s) { s.back(1) = 0; });
  expect("temporal: chained memo @99 is not a record",
         [](IndexSpoiler s) { s.anchored(2021) = kNoRow; });
  expect("temporal: chained memo " + at(2) + " has no anchor",
         [](IndexSpoiler s) { s.anchor(2) = 0; });
  expect("temporal: chain loops", [](IndexSpoiler s) { s.back(0) = 1; });
  expect("temporal: chain points at unlinked " + at(3), [](IndexSpoiler s) { s.back(0) = 3; });
  expect("temporal: chain walks 2 of 3 linked memos", [](IndexSpoiler s) { s.back(1) = 0; });
  expect("temporal: tail pointer is not the last chained memo",
         [](IndexSpoiler s) { s.tail() = 2; });
  EXPECT_EQ(planted_, 9);
}

TEST_F(LintTest, NamesDamageOfVectorsAndOverlays) {
  expect("embed: record at " + std::to_string(offsets_[2]) + " indexed without PROP_HAS_VECTOR",
         [](IndexSpoiler s) { s.vector_row() = 2; });
  expect("embed: dangling offset 99", [](IndexSpoiler s) { s.vector_row() = kNoRow; });
  const std::string m = "overlay: model 'm' ";
  expect(m + "keys a dead offset @7777", [](IndexSpoiler s) { s.keys().back().offset = 7777; });
  expect(m + "memo " + at(1) + " is missing from label 'b'",
         [](IndexSpoiler s) { s.labels()[1].memos.erase(s.labels()[1].memos.begin()); });
  expect(m + "memo " + at(1) + " has a bad label id",
         [](IndexSpoiler s) { s.keys()[1].label = 9; });
  expect(m + "label 'a' lists " + at(1) + " which it does not key",
         [&](IndexSpoiler s) { s.labels()[0].memos.push_back(offsets_[1]); });
  expect("overlay: model 'local' holds a vector for a dead offset @7777",
         [](IndexSpoiler s) { s.vectors().back().offset = 7777; });
  expect(m + "has an unkeyed memo " + at(2) + " below its mark",
         [](IndexSpoiler s) { s.keys().erase(s.keys().begin() + 2); });
  expect(m + "mark is not on a record boundary", [](IndexSpoiler s) { --s.mark(); });
  expect(m + "mark is past the end of the buffer", [](IndexSpoiler s) { ++s.mark(); });
  EXPECT_EQ(planted_, 10);
}

TEST(Lint, Verb) {
  test::MemoryHome home;
  (void)home.run("add me, c, t, , on 2020-01-01 text");
  (void)home.run("add me, c, u, , more");
  EXPECT_EQ(home.run("lint me, c"), "OK: context 'c' is clean (2 topic(s) checked)");
  home.reopen();
  EXPECT_EQ(home.run("check me, c"), "OK: context 'c' is clean (2 topic(s) checked)");
  EXPECT_EQ(home.run("verify me, none"), "OK: context 'none' is clean (0 topic(s) checked)");
  home.close();
  home.write("c", "data.mrb4", home.read("c", "data.mrb4") + "torn");
  home.reopen();
  EXPECT_EQ(home.run("lint me, c"),
            "WARN: context 'c' has 1 finding(s)\ndisk: 112 record bytes on "
            "disk vs 108 in RAM");
  home.write("old", "data.mem", "MRB2");
  EXPECT_EQ(home.run("lint me, old"), "OK: context 'old' is clean (0 topic(s) checked)");
}

}  // namespace
}  // namespace mrb::memory
