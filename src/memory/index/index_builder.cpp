#include "memory/index/index_builder.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "common/parallel.h"
#include "memory/index/link_builder.h"
#include "memory/record/memo_types.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxThreads = 16;
constexpr std::uint64_t kBytesPerThread = 4U << 20;  // less is done before a thread has started
constexpr std::size_t kBlock = 16;                   // records whose topics are fetched together
constexpr std::size_t kBatch = 32;        // keywords whose table slots are fetched together
constexpr std::uint32_t kMergeAhead = 8;  // names whose slots are fetched before their turn

/// What a range knows of a keyword while it is scanned; small, because it is touched for every
/// posting.
struct Tally {
  std::uint32_t memos = 0;
  std::uint32_t last = 0;  // row + 1
};

/// Where one thread's part of the numbered lists goes.
struct Mapping {
  std::vector<std::uint32_t> global;  // by local number
  std::vector<std::uint64_t> next;    // arena place of the list's next row
  std::vector<std::uint32_t> before;  // rows that earlier ranges put into the list
};

/// Adds the names of `local` to `all` in order, and their row counts to the counts there.
template <typename Names>
Mapping MergeNames(Names& all, const Names& local) {
  Mapping map;
  map.global.resize(local.size());
  map.before.resize(local.size());
  for (std::uint32_t id = 0; id < local.size(); ++id) {
    if (id + kMergeAhead < local.size()) all.prefetch(Names::hash(local.name(id + kMergeAhead)));
    const std::uint32_t global = all.intern(local.name(id));
    ListBlock& rows = all.entry(global).rows;
    map.global[id] = global;
    map.before[id] = rows.count;
    rows.count += local.entry(id).rows.count;
  }
  return map;
}

/// The first range's names are the global ones, as they are.
template <typename Names>
Mapping FirstMapping(const Names& names) {
  Mapping map;
  map.global.resize(names.size());
  map.before.resize(names.size());
  for (std::uint32_t id = 0; id < names.size(); ++id) {
    map.global[id] = id;
  }
  return map;
}

/// Gives every list its room: an eighth more than it needs, or the first memo added after a load
/// would move long lists.
template <typename Names>
void PlaceLists(Names& names) {
  std::uint64_t total = 0;
  for (std::uint32_t id = 0; id < names.size(); ++id) {
    ListBlock& rows = names.entry(id).rows;
    rows.start = total;
    rows.capacity = rows.count + rows.count / 8;
    total += rows.capacity;
  }
  names.arena().extend(total);
}

template <typename Names>
void StartLists(Mapping& map, const Names& names) {
  map.next.resize(map.global.size());
  for (std::size_t id = 0; id < map.global.size(); ++id) {
    map.next[id] = names.entry(map.global[id]).rows.start + map.before[id];
  }
}

}  // namespace

struct IndexBuilder::Range {
  Range(const RecordHeap& heap, std::uint32_t from, std::uint32_t to)
      : first(from), last(to), topics(heap), keywords(heap) {}

  std::uint32_t first;
  std::uint32_t last;  // one past the end
  // While a range is scanned its lists are only counted; scatter() writes them.
  TopicTable topics;
  KeywordIndex keywords;
  std::vector<Tally> tallies;        // by local keyword number
  PagedArray<std::uint32_t> posted;  // local keyword numbers, memo after memo
  PagedArray<std::uint64_t> starts;  // where in `posted` each memo's begin, and the end of all
  MemoTotals totals;
  Mapping topic_map;
  Mapping keyword_map;
};

/// A record on its way into the index.
struct IndexBuilder::Memo {
  RecordView record;
  std::uint64_t topic_hash;
  std::uint32_t topic;  // a guess, or kNoId
};

std::size_t IndexThreads(std::uint64_t bytes) {
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  return std::clamp<std::size_t>(bytes / kBytesPerThread, 1, std::min(cores, kMaxThreads));
}

IndexBuilder::IndexBuilder(const RecordHeap& heap, PagedArray<MemoRow> rows, std::size_t threads)
    : heap_(heap), tables_(heap), rows_(tables_.memos.rows()) {
  rows_ = std::move(rows);
  split(std::max<std::size_t>(threads, 1));
}

IndexTables IndexBuilder::build(const RecordHeap& heap, PagedArray<MemoRow> rows,
                                std::size_t threads) {
  IndexBuilder builder(heap, std::move(rows), threads);
  auto& ranges = builder.ranges_;
  RunParallel(ranges.size(), [&](std::size_t i) { builder.scan(ranges[i]); });
  builder.merge();
  RunParallel(ranges.size(), [&](std::size_t i) { builder.scatter(ranges[i]); });
  builder.link_keywords();
  return std::move(builder.tables_);
}

void IndexBuilder::split(std::size_t count) {
  ranges_.reserve(count);
  std::uint32_t first = 0;
  const auto all = rows_.span();
  for (std::size_t i = 1; i <= count; ++i) {
    const std::uint64_t bytes = heap_.used() / count * i;
    const auto upto = std::ranges::lower_bound(all, bytes, {}, &MemoRow::offset) - all.begin();
    const auto last = i == count ? tables_.memos.size() : static_cast<std::uint32_t>(upto);
    ranges_.emplace_back(heap_, first, last);
    first = last;
  }
}

void IndexBuilder::scan(Range& range) {
  std::uint64_t keywords = 0;
  for (std::uint32_t row = range.first; row < range.last; ++row) {
    keywords += rows_[row].keywords;
  }
  range.posted.resize(keywords);
  range.starts.resize(std::size_t{range.last} - range.first + 1);
  std::uint64_t posted = 0;
  std::array<Memo, kBlock> block;
  for (std::uint32_t row = range.first; row < range.last;) {
    const std::uint32_t count = std::min<std::uint32_t>(kBlock, range.last - row);
    read_block(range, row, std::span(block).first(count));
    for (std::uint32_t i = 0; i < count; ++i, ++row) {
      range.starts[row - range.first] = posted;
      posted += index_memo(range, row, block[i], range.posted.data() + posted);
    }
  }
  range.starts[range.last - range.first] = posted;
  range.posted.resize(posted);
  for (std::uint32_t id = 0; id < range.keywords.size(); ++id) {
    range.keywords.entry(id).rows.count = range.tallies[id].memos;
  }
}

/// Reads the next records and finds their topics, in passes that each fetch the memory that the
/// following one needs: a topic's slot, its entry, its name.
void IndexBuilder::read_block(const Range& range, std::uint32_t first, std::span<Memo> block) {
  const std::string_view heap = heap_.bytes();
  for (std::size_t i = 0; i < block.size(); ++i) {
    const std::uint64_t start = rows_[first + i].offset;
    const bool last = first + i + 1 == rows_.size();
    const std::uint64_t end = last ? heap.size() : rows_[first + i + 1].offset;
    block[i].record = ReadWholeRecord(heap.substr(start, end - start));
    block[i].topic_hash = TopicTable::hash(block[i].record.topic);
    range.topics.prefetch(block[i].topic_hash);
  }
  for (Memo& memo : block) {
    memo.topic = range.topics.guess(memo.topic_hash, memo.record.topic.size());
    if (memo.topic != kNoId) __builtin_prefetch(&range.topics.entry(memo.topic));
  }
  for (const Memo& memo : block) {
    if (memo.topic != kNoId) __builtin_prefetch(range.topics.name(memo.topic).data());
  }
}

std::uint32_t IndexBuilder::index_memo(Range& range, std::uint32_t row, const Memo& memo,
                                       std::uint32_t* posted) {
  const RecordView& record = memo.record;
  MemoRow& out = rows_[row];
  out.props = record.props;
  out.written = record.written;
  const bool known = memo.topic != kNoId && range.topics.is(memo.topic, record.topic);
  out.topic = known ? memo.topic : range.topics.intern(memo.topic_hash, record.topic);
  out.ordinal = range.topics.entry(out.topic).rows.count++;
  KeywordCursor cursor = record.keywords();
  out.keywords = post(range, row, cursor, posted);
  const bool vector = (record.props & kVectorBit) != 0 && cursor.rest().size() > 4;
  range.totals.count(record.written, vector);
  return out.keywords;
}

std::uint32_t IndexBuilder::post(Range& range, std::uint32_t row, KeywordCursor& cursor,
                                 std::uint32_t* out) {
  const std::uint32_t* const start = out;
  struct Pending {
    std::uint64_t hash;
    std::string_view name;
    std::uint32_t id;
  };
  std::array<Pending, kBatch> batch;
  for (std::size_t count = kBatch; count == kBatch;) {
    // Three passes, so that the table's memory is on its way when it is needed.
    count = 0;
    while (count < kBatch && cursor.next(batch[count].name)) {
      batch[count].hash = KeywordIndex::hash(batch[count].name);
      range.keywords.prefetch(batch[count].hash);
      ++count;
    }
    for (Pending& word : std::span(batch).first(count)) {
      word.id = range.keywords.guess(word.hash, word.name.size());
      if (word.id != kNoId) __builtin_prefetch(&range.tallies[word.id]);
    }
    for (Pending& word : std::span(batch).first(count)) {
      if (word.id == kNoId || !range.keywords.is(word.id, word.name)) {
        word.id = range.keywords.intern(word.hash, word.name);
        range.tallies.resize(range.keywords.size());
      }
      Tally& tally = range.tallies[word.id];
      if (tally.last != row + 1) {  // a record may name a keyword twice
        tally.last = row + 1;
        ++tally.memos;
        *out++ = word.id;
      }
    }
  }
  return static_cast<std::uint32_t>(out - start);
}

void IndexBuilder::merge() {
  ranges_[0].topic_map = FirstMapping(ranges_[0].topics);
  ranges_[0].keyword_map = FirstMapping(ranges_[0].keywords);
  tables_.topics = std::move(ranges_[0].topics);
  tables_.keywords = std::move(ranges_[0].keywords);
  tables_.totals = ranges_[0].totals;
  for (std::size_t i = 1; i < ranges_.size(); ++i) {
    Range& range = ranges_[i];
    range.topic_map = MergeNames(tables_.topics, range.topics);
    range.keyword_map = MergeNames(tables_.keywords, range.keywords);
    tables_.totals.merge(range.totals);
    range.topics = TopicTable(heap_);
    range.keywords = KeywordIndex(heap_);
  }
  PlaceLists(tables_.topics);
  PlaceLists(tables_.keywords);
}

void IndexBuilder::scatter(Range& range) {
  StartLists(range.topic_map, tables_.topics);
  StartLists(range.keyword_map, tables_.keywords);
  std::uint32_t* const topic_lists = tables_.topics.arena().data();
  std::uint32_t* const keyword_lists = tables_.keywords.arena().data();
  const std::uint32_t* posted = range.posted.data();
  for (std::uint32_t row = range.first; row < range.last; ++row) {
    MemoRow& memo = rows_[row];
    topic_lists[range.topic_map.next[memo.topic]++] = row;
    memo.ordinal += range.topic_map.before[memo.topic];
    memo.topic = range.topic_map.global[memo.topic];
    for (const std::uint32_t* const end = posted + memo.keywords; posted != end; ++posted) {
      keyword_lists[range.keyword_map.next[*posted]++] = row;
    }
  }
}

void IndexBuilder::link_keywords() {
  std::vector<PostedRange> posted;
  posted.reserve(ranges_.size());
  for (const Range& range : ranges_) {
    const bool local = !posted.empty();  // the first range's numbers are the global ones
    posted.push_back({range.first, range.posted.span(), range.starts.span(),
                      local ? std::span(range.keyword_map.global) : std::span<std::uint32_t>()});
  }
  BuildLinks(tables_.keywords, tables_.links, posted);
  ranges_.clear();
}

}  // namespace mrb::memory
