#include "memory/context_index.h"

#include <algorithm>
#include <bit>

#include "memory/index_builder.h"

namespace mrb::memory {

void MemoTotals::count(std::uint64_t written, bool vector) {
  vectors += vector ? 1 : 0;
  if (written == 0) {
    ++untimed;
    return;
  }
  oldest = oldest == 0 ? written : std::min(oldest, written);
  newest = std::max(newest, written);
}

void MemoTotals::merge(const MemoTotals& other) {
  untimed += other.untimed;
  vectors += other.vectors;
  if (other.oldest != 0) {
    oldest = oldest == 0 ? other.oldest : std::min(oldest, other.oldest);
  }
  newest = std::max(newest, other.newest);
}

ContextIndex::ContextIndex(const RecordHeap& heap) : heap_(&heap), topics_(heap), keywords_(heap) {}

bool ContextIndex::add(std::uint64_t offset) {
  const auto record = ReadRecord(heap_->bytes(), offset);
  if (!record || memos_.size() >= kMaxMemos) {
    return false;
  }
  const std::uint32_t row = memos_.size();
  const std::uint32_t topic = topics_.intern(record->topic);
  const auto ordinal = static_cast<std::uint32_t>(topics_.rows(topic).size());
  topics_.push(topic, row);
  if (ordinal == 0) {
    recency_.add();
  } else {
    recency_.touch(topic);
  }
  const std::vector<std::uint32_t> posted = post(row, *record);
  memos_.rows().push_back({offset, record->written, record->props, topic, ordinal,
                           static_cast<std::uint32_t>(posted.size())});
  totals_.count(record->written, record->has_vector());
  topic_counts_.resize(keywords_.size());
  if (webs_) {
    webs_->add(row, *record);
  }
  if (vectors_) {
    vectors_->add(row, VectorOf(record->vector_bytes));
  }
  for (const std::uint32_t keyword : posted) {
    const std::size_t memos = keywords_.rows(keyword).size();
    if (memos >= kFirstPick && std::has_single_bit(memos)) {
      links_.set_picks(keywords_, keyword, find_picks(keyword));
    }
  }
  return true;
}

std::vector<std::uint32_t> ContextIndex::post(std::uint32_t row, const RecordView& record) {
  std::vector<std::uint32_t> posted;
  std::string_view keyword;
  for (KeywordCursor cursor = record.keywords(); cursor.next(keyword);) {
    const std::uint32_t known = keywords_.size();
    const std::uint32_t id = keywords_.intern(keyword);
    if (id == known) {
      links_.add_keyword(keywords_, id);
    }
    const auto rows = keywords_.rows(id);
    if (rows.empty() || rows.back() != row) {  // a record may name a keyword twice
      keywords_.push(id, row);
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
      const std::uint32_t id = keywords_.find(name);
      if (std::ranges::find(ids, id) == ids.end()) {
        ids.push_back(id);
      }
    }
    return std::span<const std::uint32_t>(ids);
  };
  return FindPicks(keywords_, keyword, SampleRows(keywords_, keyword), counter_, ids_of);
}

std::span<const std::uint32_t> ContextIndex::topic_rows(std::string_view topic) const {
  const std::uint32_t id = topics_.find(topic);
  return id == kNoId ? std::span<const std::uint32_t>() : topics_.rows(id);
}

const Webs& ContextIndex::webs() const {
  const std::lock_guard lock(derived_mutex_);
  if (!webs_) {
    webs_ = Webs::build(*this, IndexThreads(heap_->used()));
  }
  return *webs_;
}

const VectorIndex& ContextIndex::vectors() const {
  const std::lock_guard lock(derived_mutex_);
  if (!vectors_) {
    vectors_ = std::make_unique<VectorIndex>(*this);
  }
  return *vectors_;
}

const KeywordPrefixes& ContextIndex::prefixes() const {
  const std::lock_guard lock(derived_mutex_);
  prefixes_.follow(keywords_);  // nothing, once it has been done: keywords need a writer to change
  return prefixes_;
}

std::string_view ContextIndex::vector_bytes(std::uint32_t row) const {
  const auto record = ReadRecord(heap_->bytes(), memos_[row].offset);
  return record ? record->vector_bytes : std::string_view();
}

RecordView ContextIndex::record(std::uint32_t row) const {
  const std::uint64_t start = memos_[row].offset;
  const std::uint64_t end = row + 1 < memos_.size() ? memos_[row + 1].offset : heap_->used();
  return ReadWholeRecord(heap_->bytes().substr(start, end - start));
}

}  // namespace mrb::memory
