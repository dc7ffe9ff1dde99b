#include "memory/index/context_index.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "memory/index/index_builder.h"

namespace mrb::memory {

ContextIndex::ContextIndex(const RecordHeap& heap, IndexTables tables)
    : heap_(&heap), tables_(std::move(tables)) {
  topic_counts_.resize(tables_.keywords.size());
  recency_.assign(TopicsByLastUse(tables_));
}

bool ContextIndex::add(std::uint64_t offset) {
  const auto record = ReadRecord(heap_->bytes(), offset);
  if (!record || tables_.memos.size() >= kMaxMemos) return false;
  const std::uint32_t row = tables_.memos.size();
  const std::uint32_t topic = tables_.topics.intern(record->topic);
  const auto ordinal = static_cast<std::uint32_t>(tables_.topics.rows(topic).size());
  tables_.topics.push(topic, row);
  if (ordinal == 0) {
    recency_.add();
  } else {
    recency_.touch(topic);
  }
  const std::vector<std::uint32_t> posted = post(row, *record);
  tables_.memos.rows().push_back({offset, record->written, record->props, topic, ordinal,
                                  static_cast<std::uint32_t>(posted.size())});
  tables_.totals.count(record->written, record->has_vector());
  topic_counts_.resize(tables_.keywords.size());
  if (webs_) webs_->add(row, *record);
  if (vectors_) vectors_->add(row, VectorOf(record->vector_bytes));
  for (const std::uint32_t keyword : posted) {
    const std::size_t memos = tables_.keywords.rows(keyword).size();
    if (memos >= kFirstPick && std::has_single_bit(memos)) {
      tables_.links.set_picks(tables_.keywords, keyword, find_picks(keyword));
    }
  }
  return true;
}

std::vector<std::uint32_t> ContextIndex::post(std::uint32_t row, const RecordView& record) {
  std::vector<std::uint32_t> posted;
  std::string_view keyword;
  for (KeywordCursor cursor = record.keywords(); cursor.next(keyword);) {
    const std::uint32_t known = tables_.keywords.size();
    const std::uint32_t id = tables_.keywords.intern(keyword);
    if (id == known) tables_.links.add_keyword(tables_.keywords, id);
    const auto rows = tables_.keywords.rows(id);
    if (rows.empty() || rows.back() != row) {  // a record may name a keyword twice
      tables_.keywords.push(id, row);
      posted.push_back(id);
    }
  }
  return posted;
}

ThematicPicks ContextIndex::find_picks(std::uint32_t keyword) {
  std::vector<std::uint32_t> ids;
  const auto ids_of = [&](std::uint32_t row) {
    ids.clear();
    std::string_view name;
    for (KeywordCursor cursor = record(row).keywords();
         ids.size() < kMaxSampleWords && cursor.next(name);) {
      const std::uint32_t id = tables_.keywords.find(name);
      if (std::ranges::find(ids, id) == ids.end()) ids.push_back(id);
    }
    return std::span<const std::uint32_t>(ids);
  };
  return FindPicks(tables_.keywords, keyword, SampleRows(tables_.keywords, keyword), counter_,
                   ids_of);
}

std::span<const std::uint32_t> ContextIndex::topic_rows(std::string_view topic) const {
  const std::uint32_t id = tables_.topics.find(topic);
  return id == kNoId ? std::span<const std::uint32_t>() : tables_.topics.rows(id);
}

const Webs& ContextIndex::webs() const {
  const std::lock_guard lock(derived_mutex_);
  if (!webs_) webs_ = Webs::build(*heap_, tables_.memos, IndexThreads(heap_->used()));
  return *webs_;
}

const VectorIndex& ContextIndex::vectors() const {
  const std::lock_guard lock(derived_mutex_);
  if (!vectors_) vectors_ = std::make_unique<VectorIndex>(*heap_, tables_.memos);
  return *vectors_;
}

const KeywordPrefixes& ContextIndex::prefixes() const {
  const std::lock_guard lock(derived_mutex_);
  prefixes_.follow(
      tables_.keywords);  // nothing, once it has been done: keywords need a writer to change
  return prefixes_;
}

}  // namespace mrb::memory
