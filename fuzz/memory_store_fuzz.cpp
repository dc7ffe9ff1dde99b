#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "memory/context/store_loader.h"
#include "memory/index/context_index.h"
#include "memory/index/index_builder.h"
#include "memory/record/store_format.h"
#include "one_file.h"

// Whatever a store file holds, loading it ends in a heap of whole records and an index that agrees
// with them, the same on one thread, on two, and record by record; and what is kept loads again
// as it is.

namespace {

using namespace mrb::memory;

LoadedStore Load(std::string_view bytes) {
  OneFile file(bytes);
  auto store = LoadStoreFile(file, "data.mrb4", 1);
  FUZZ_CHECK(store.has_value());
  return std::move(*store);
}

void CheckRecords(const LoadedStore& store) {
  std::uint64_t at = 0;
  for (const MemoRow& row : store.rows.span()) {
    FUZZ_CHECK(row.offset == at);
    const auto record = ReadRecord(store.heap.bytes(), at);
    FUZZ_CHECK(record.has_value());
    FUZZ_CHECK(store.heap.record_length(at) == record->length);
    at += record->length;
  }
  FUZZ_CHECK(at == store.heap.used());
}

/// Every memo is where its topic and each of its keywords say.
void CheckIndex(const ContextIndex& index) {
  std::uint64_t listed = 0;
  for (std::uint32_t topic = 0; topic < index.topics().size(); ++topic) {
    FUZZ_CHECK(!index.topics().rows(topic).empty());
    std::uint32_t ordinal = 0;
    for (const std::uint32_t row : index.topics().rows(topic)) {
      FUZZ_CHECK(index.memos()[row].topic == topic && index.memos()[row].ordinal == ordinal++);
      FUZZ_CHECK(index.record(row).topic == index.topics().name(topic));
      ++listed;
    }
  }
  FUZZ_CHECK(listed == index.memos().size());
  std::uint64_t posted = 0;
  for (std::uint32_t id = 0; id < index.keywords().size(); ++id) {
    FUZZ_CHECK(index.keywords().find(index.keywords().name(id)) == id);
    posted += index.keywords().rows(id).size();
  }
  for (const MemoRow& row : index.memos().span()) posted -= row.keywords;
  FUZZ_CHECK(posted == 0);
}

void CheckSame(const ContextIndex& a, const ContextIndex& b) {
  FUZZ_CHECK(a.totals() == b.totals() && a.memos().size() == b.memos().size());
  FUZZ_CHECK(a.recency().newest_first() == b.recency().newest_first());
  FUZZ_CHECK(a.keywords().size() == b.keywords().size());
  for (std::uint32_t id = 0; id < a.keywords().size(); ++id) {
    FUZZ_CHECK(a.keywords().name(id) == b.keywords().name(id));
    FUZZ_CHECK(std::ranges::equal(a.keywords().rows(id), b.keywords().rows(id)));
    FUZZ_CHECK(std::ranges::equal(a.links().semantic(a.keywords(), id),
                                  b.links().semantic(b.keywords(), id)));
    FUZZ_CHECK(a.links().thematic(a.keywords(), id) == b.links().thematic(b.keywords(), id));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  LoadedStore store = Load(bytes);
  FUZZ_CHECK(store.dropped <= size);
  CheckRecords(store);
  LoadedStore again = Load(std::string(kMagic).append(store.heap.bytes()));
  FUZZ_CHECK(again.heap.bytes() == store.heap.bytes() && again.dropped == 0);
  const ContextIndex one(store.heap, IndexBuilder::build(store.heap, std::move(store.rows), 1));
  CheckIndex(one);
  CheckSame(one,
            ContextIndex(again.heap, IndexBuilder::build(again.heap, std::move(again.rows), 2)));
  ContextIndex added(again.heap);
  for (const MemoRow& row : one.memos().span()) FUZZ_CHECK(added.add(row.offset));
  CheckSame(one, added);
  return 0;
}
