#include "memory/context/store_loader.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "common/parallel.h"
#include "memory/index/index_builder.h"
#include "memory/record/record_heap.h"
#include "memory/record/store_format.h"

namespace mrb::memory {

namespace {

using platform::OpenFile;

constexpr std::uint64_t kSlice = 2U << 20;  // bytes read at a time; still in the cache when walked

/// Reads `size` bytes from `offset` of the file into `out`, slice by slice on several threads. The
/// first thread also reports how far the bytes are complete after each slice of its own.
template <typename Progress>
Status ReadSlices(OpenFile& file, std::uint64_t offset, char* out, std::uint64_t size,
                  std::size_t threads, Progress progress) {
  const std::uint64_t slices = (size + kSlice - 1) / kSlice;
  std::vector<std::atomic<bool>> done(slices);
  std::vector<Status> failures(threads);
  std::atomic<std::uint64_t> next = 0;
  std::atomic<bool> failed = false;
  RunParallel(threads, [&](std::size_t thread) {
    std::uint64_t complete = 0;
    for (std::uint64_t i; !failed && (i = next.fetch_add(1)) < slices;) {
      const std::uint64_t from = i * kSlice;
      const std::uint64_t bytes = std::min(kSlice, size - from);
      const auto got = file.read_at(offset + from, out + from, bytes);
      if (!got || *got != bytes) {
        failures[thread] = got ? Fail(ErrorKind::kIo, "the file shrank while it was read")
                               : Status(std::unexpected(got.error()));
        failed = true;
        return;
      }
      done[i].store(true, std::memory_order_release);
      while (thread == 0 && complete < slices && done[complete].load(std::memory_order_acquire)) {
        ++complete;
      }
      if (thread == 0) progress(std::min(size, complete * kSlice));
    }
  });
  const auto failure = std::ranges::find_if(failures, [](const Status& s) { return !s; });
  return failure == failures.end() ? Status() : *failure;
}

/// Records with a write time: the heap is the file's own bytes.
Status ReadTimed(OpenFile& file, LoadedStore& store, std::size_t threads) {
  const std::uint64_t size = store.file_size - kMagic.size();
  if (const Status room = store.heap.reserve(size); !room) return room;
  char* const bytes = store.heap.data();
  RecordWalk walk(store.rows);
  const Status read = ReadSlices(file, kMagic.size(), bytes, size, threads,
                                 [&](std::uint64_t n) { walk.advance({bytes, n}, false); });
  if (!read) return read;
  walk.advance({bytes, size}, true);
  store.heap.set_used(walk.end());
  store.dropped = size - walk.end();
  store.vector_missing = walk.vector_missing();
  return {};
}

/// Records without a write time: each gets a 0 there on its way to the heap.
Status ReadUntimed(OpenFile& file, LoadedStore& store, std::size_t threads) {
  const std::uint64_t size = store.file_size - kMagic.size();
  PagedArray<char> source;
  source.resize(size);
  if (const Status read =
          ReadSlices(file, kMagic.size(), source.data(), size, threads, [](std::uint64_t) {});
      !read) {
    return read;
  }
  const std::string_view data{source.data(), size};
  std::uint64_t at = 0;
  std::uint64_t used = 0;
  while (const auto record = ReadRecord(data, at, RecordHead::kUntimed)) {
    const std::uint64_t length = record->length + sizeof(std::uint64_t);
    if (const Status room = store.heap.reserve(used + length); !room) return room;
    char* const out = store.heap.data() + used;
    StoreLittleEndian(out, record->props);
    StoreLittleEndian(out + 4, std::uint64_t{0});
    std::ranges::copy(data.substr(at + 4, record->length - 4), out + kRecordHeadBytes);
    at += record->length;
    used += length;
  }
  store.heap.set_used(used);
  RecordWalk walk(store.rows);
  walk.advance(store.heap.bytes(), true);
  store.dropped = size - at;
  store.vector_missing = walk.vector_missing();
  return {};
}

/// The kind by the first bytes; a file shorter than a magic may be the start of ours.
Result<LoadedStore::Kind> Recognise(OpenFile& file, std::string& magic) {
  magic.resize(kMagic.size());
  const auto got = file.read_at(0, magic.data(), magic.size());
  if (!got) return std::unexpected(got.error());
  magic.resize(*got);
  using Kind = LoadedStore::Kind;
  if (magic.size() < kMagic.size()) {
    return kMagic.starts_with(magic) ? Kind::kEmpty : Kind::kForeign;
  }
  if (magic == kMagic) return Kind::kCurrent;
  const bool legacy = magic == kMagicTimedLegacy || magic == kMagicUntimedLegacy;
  return legacy ? Kind::kLegacy : Kind::kForeign;
}

}  // namespace

Result<LoadedStore> LoadStoreFile(platform::FileSystem& files, const std::string& path,
                                  std::size_t threads) {
  auto file = files.open(path, platform::FileSystem::OpenMode::kRead);
  if (!file) return std::unexpected(file.error());
  LoadedStore store;
  const auto size = (*file)->size();
  if (!size) return std::unexpected(size.error());
  store.file_size = *size;
  std::string magic;
  const auto kind = Recognise(**file, magic);
  if (!kind) return std::unexpected(kind.error());
  store.kind = *kind;
  Status read;
  if (*kind == LoadedStore::Kind::kEmpty) {
    store.dropped = store.file_size;
  } else if (*kind != LoadedStore::Kind::kForeign) {
    const std::size_t count = threads != 0 ? threads : IndexThreads(store.file_size);
    read = magic == kMagicUntimedLegacy ? ReadUntimed(**file, store, count)
                                        : ReadTimed(**file, store, count);
  }
  if (!read) return std::unexpected(read.error());
  if (store.rows.size() >= kMaxMemos) {
    return Fail(ErrorKind::kUnavailable, path + " holds more memos than this build can number");
  }
  return store;
}

}  // namespace mrb::memory
