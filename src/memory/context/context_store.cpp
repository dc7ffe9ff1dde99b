#include "memory/context/context_store.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "memory/index/index_builder.h"
#include "memory/record/record_heap.h"
#include "memory/record/store_format.h"
#include "platform/files.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

constexpr std::uint64_t kDimensionBytes = sizeof(std::uint32_t);

}  // namespace

ContextStore::ContextStore() : index_(std::make_unique<ContextIndex>(heap_)) {}

ContextStore::ContextStore(platform::FileSystem& files, std::string folder)
    : file_(std::make_unique<StoreFile>(files, folder)),
      files_(&files),
      folder_(std::move(folder)),
      index_(std::make_unique<ContextIndex>(heap_)),
      overlays_(files, folder_) {}

Result<LoadedStore> ContextStore::read_files(std::size_t threads) {
  auto loaded = LoadStoreFile(*files_, file_->path(), threads);
  if (loaded || loaded.error().kind != ErrorKind::kNotFound) return loaded;
  loaded = LoadStoreFile(*files_, platform::JoinPath(folder_, kLegacyStoreFileName), threads);
  if (!loaded && loaded.error().kind == ErrorKind::kNotFound) return LoadedStore();
  if (loaded) {
    using Kind = LoadedStore::Kind;
    const bool store = loaded->kind == Kind::kLegacy || loaded->kind == Kind::kCurrent;
    loaded->kind = store ? Kind::kLegacy : Kind::kEmpty;
    loaded->file_size = 0;  // there is no store file yet, and this one is never written
  }
  return loaded;
}

Result<std::uint64_t> ContextStore::load(std::size_t threads) {
  auto loaded = read_files(threads);
  if (!loaded) return std::unexpected(loaded.error());
  const bool current = loaded->kind == LoadedStore::Kind::kCurrent;
  foreign_ = loaded->kind == LoadedStore::Kind::kForeign;
  convert_ = loaded->kind == LoadedStore::Kind::kLegacy;
  heap_ = std::move(loaded->heap);
  if (const Status room = heap_.reserve(heap_.used()); !room) return std::unexpected(room.error());
  dropped_ = loaded->dropped;
  vector_missing_ = loaded->vector_missing;
  file_->loaded(loaded->file_size, current ? kMagic.size() + heap_.used() : 0);
  index_.reset();
  index_ = std::make_unique<ContextIndex>(
      heap_, IndexBuilder::build(heap_, std::move(loaded->rows),
                                 threads != 0 ? threads : IndexThreads(heap_.used())));
  if (const Status read = overlays_.load(heap_, index_->memos()); !read) {
    return std::unexpected(read.error());
  }
  return index_->memos().size();
}

std::optional<std::uint32_t> ContextStore::find_memo(std::string_view topic,
                                                     std::uint64_t n) const {
  const auto rows = index_->topic_rows(topic);
  return n == 0 || n > rows.size() ? std::nullopt : std::optional(rows[n - 1]);
}

std::uint64_t ContextStore::bytes_on_disk() const {
  return file_ ? file_->size_on_disk() : 0;
}

std::string ContextStore::check_disk() const {
  if (!file_ || (convert_ && bytes_on_disk() == 0)) {
    return "";  // nothing there yet: the first write makes it
  }
  const auto start = file_->read_start(kMagic.size());
  if (!start) {
    const bool none = start.error().kind == ErrorKind::kNotFound && heap_.used() == 0;
    return none ? "" : "cannot open " + file_->path();
  }
  if (*start != kMagic) return start->empty() && heap_.used() == 0 ? "" : "file is not MRB4";
  const std::uint64_t bytes = bytes_on_disk() - kMagic.size();
  return bytes == heap_.used() ? ""
                               : std::to_string(bytes) + " record bytes on disk vs " +
                                     std::to_string(heap_.used()) + " in RAM";
}

Status ContextStore::writable() const {
  if (foreign_) {
    return Fail(ErrorKind::kCorrupt,
                "the store file in " + folder_ + " is of another format; it is left as it is");
  }
  return {};
}

std::uint64_t ContextStore::record_end(std::uint32_t row) const {
  return row + 1 < index_->memos().size() ? index_->memos()[row + 1].offset : heap_.used();
}

/// Before anything follows a record that ends for want of its dimension word, that word is written:
/// otherwise the next record's first bytes would be read as it.
Status ContextStore::prepare_write() {
  if (const Status allowed = writable(); !allowed) return allowed;
  if (!vector_missing_) {
    return {};
  }
  const std::uint64_t used = heap_.used();
  if (const Status room = heap_.reserve(used + kDimensionBytes); !room) return room;
  std::memset(heap_.data() + used, 0, kDimensionBytes);
  if (file_ && !convert_) {
    if (const Status closed = append_to_file({heap_.data() + used, kDimensionBytes}); !closed) {
      return closed;
    }
  }
  heap_.set_used(used + kDimensionBytes);
  vector_missing_ = false;
  overlays_.settle_marks(heap_, index_->memos());
  return {};
}

Status ContextStore::rewrite(std::span<const std::string_view> pieces) {
  if (!file_) {
    return {};
  }
  const Status replaced = file_->replace(pieces);
  // A name that is missing is found out before anything is changed. After any other failure the new
  // file may be in place or not.
  stale_ = stale_ || (!replaced && replaced.error().kind != ErrorKind::kNotFound);
  convert_ = convert_ && !replaced;
  return replaced;
}

/// rewrite() for a change that takes the records of `rows` out, or puts one of `in_place` bytes in
/// the place of the only one: the overlays move along.
Status ContextStore::rewrite_without(std::span<const std::uint32_t> rows, std::uint64_t in_place,
                                     std::span<const std::string_view> pieces) {
  if (rows.empty()) return rewrite(pieces);
  OverlaySet::Move move;
  std::vector<std::uint64_t> starts;
  std::vector<std::uint64_t> gone = {0};  // [n]: bytes that the first n rows took
  for (const std::uint32_t row : rows) {
    starts.push_back(index_->memos()[row].offset);
    gone.push_back(gone.back() + record_end(row) - starts.back());
  }
  move.moved = [&](std::uint64_t offset) -> std::optional<std::uint64_t> {
    const auto before = std::ranges::lower_bound(starts, offset) - starts.begin();
    const bool removed =
        before < std::ssize(starts) && starts[static_cast<std::size_t>(before)] == offset;
    if (removed || !index_->memos().find(offset)) return std::nullopt;
    return offset - gone[static_cast<std::size_t>(before)] + (before > 0 ? in_place : 0);
  };
  for (const std::string_view piece : pieces) {
    move.heap_bytes += piece.size();
  }
  move.changed_at = starts.front();
  move.read = [&](std::uint64_t offset, std::uint64_t bytes) {
    std::string out;
    for (const std::string_view piece : pieces) {
      if (offset < piece.size() && out.size() < bytes) {
        out += piece.substr(offset, bytes - out.size());
      }
      offset -= std::min<std::uint64_t>(offset, piece.size());
    }
    return out;
  };
  if (const Status prepared = overlays_.prepare(move); !prepared) return prepared;
  const Status written = rewrite(pieces);
  if (!written && !stale_) overlays_.abandon();
  return written;
}

Status ContextStore::append_to_file(std::string_view bytes) {
  const Status written = file_->append(bytes);
  stale_ = stale_ || (!written && written.error().kind == ErrorKind::kCorrupt);
  return written;
}

/// Indexes the heap anew. The disk has the new state already, so a lack of memory here costs a
/// reload, not the change.
void ContextStore::rebuild() {
  try {
    index_.reset();
    PagedArray<MemoRow> rows;
    RecordWalk walk(rows);
    walk.advance(heap_.bytes(), true);
    index_ = std::make_unique<ContextIndex>(
        heap_, IndexBuilder::build(heap_, std::move(rows), IndexThreads(heap_.used())));
  } catch (const std::bad_alloc&) {
    index_ = std::make_unique<ContextIndex>(heap_);
    stale_ = true;
  }
  // The store has its new state; what is left to do for the overlays, the next load does.
  stale_ = !overlays_.commit(heap_, index_->memos()) || stale_;
}

Result<std::uint64_t> ContextStore::append(const RecordFields& fields) {
  if (const Status ready = prepare_write(); !ready) return std::unexpected(ready.error());
  if (index_->memos().size() + 1 >= kMaxMemos) {
    return Fail(ErrorKind::kNoSpace, "the context holds as many memos as it can number");
  }
  const auto length = RecordLength(fields);
  if (!length) return TooLongError();
  const std::uint64_t offset = heap_.used();
  if (const Status room = heap_.reserve(offset + *length); !room) {
    return std::unexpected(room.error());
  }
  WriteRecord(fields, heap_.data() + offset);
  const std::string_view record(heap_.data() + offset, *length);
  if (file_) {
    const std::string_view whole(heap_.data(), offset + *length);
    const Status written = convert_ ? rewrite(std::span(&whole, 1)) : append_to_file(record);
    if (!written) return std::unexpected(written.error());
  }
  heap_.set_used(offset + *length);
  try {
    stale_ = !index_->add(offset) || stale_;
  } catch (const std::bad_alloc&) {
    stale_ = true;  // the memo is on the disk; a reload will find it
  }
  tell(MemoryChange::What::kAdded, fields.topic);
  return offset;
}

void ContextStore::tell(MemoryChange::What what, std::string_view topic) const {
  if (changed_) {
    changed_({.context = {}, .what = what, .topic = topic});
  }
}

Result<std::uint64_t> ContextStore::exchange(std::span<const std::uint32_t> rows,
                                             const RecordBatch& added, bool keep_previous) {
  if (const Status ready = prepare_write(); !ready) return std::unexpected(ready.error());
  if (index_->memos().size() - rows.size() + added.count() >= kMaxMemos) {
    return Fail(ErrorKind::kNoSpace, "the context would hold more memos than it can number");
  }
  if (const Status room = heap_.reserve(heap_.used() + added.bytes().size()); !room) {
    return std::unexpected(room.error());
  }
  std::vector<std::string_view> pieces;  // what stays, in order
  std::uint64_t kept = 0;
  std::uint64_t from = 0;
  const auto keep = [&](std::uint64_t to) {
    if (to > from) {
      pieces.push_back(heap_.text(from, to - from));
      kept += to - from;
    }
  };
  for (const std::uint32_t row : rows) {
    keep(index_->memos()[row].offset);
    from = record_end(row);
  }
  keep(heap_.used());
  if (file_ && keep_previous) {
    if (const Status previous = file_->keep_previous(heap_.bytes()); !previous) {
      return std::unexpected(previous.error());
    }
  }
  pieces.push_back(added.bytes());
  if (const Status written = rewrite_without(rows, 0, pieces); !written) {
    return std::unexpected(written.error());
  }
  char* out = heap_.data();
  for (const std::string_view piece : pieces) {  // each moves down or stays
    std::memmove(out, piece.data(), piece.size());
    out += piece.size();
  }
  heap_.set_used(kept + added.bytes().size());
  rebuild();
  tell(rows.empty() ? MemoryChange::What::kAdded : MemoryChange::What::kRemoved, {});
  return kept;
}

Result<std::uint64_t> ContextStore::export_to(const std::string& path) const {
  const std::uint64_t size = bytes_on_disk();
  if (!file_ || size == 0) return Fail(ErrorKind::kNotFound, "no store file");
  // What the heap does not hold of the file: bytes that were dropped, a file of another format.
  const std::uint64_t known = convert_ || foreign_ ? 0 : kMagic.size() + heap_.used();
  std::vector<std::string_view> pieces;
  std::string tail;
  if (known > 0 && known <= size) {
    pieces = {kMagic, heap_.bytes()};
  }
  if (const std::uint64_t from = pieces.empty() ? 0 : known; from < size) {
    auto read = file_->read_from(from);
    if (!read) return std::unexpected(read.error());
    tail = std::move(*read);
    pieces.push_back(tail);
  }
  if (const Status copied = platform::ReplaceFile(*files_, path, pieces); !copied) {
    return std::unexpected(copied.error());
  }
  return size;
}

Status ContextStore::replace(std::uint32_t row, const RecordFields& fields) {
  if (const Status ready = prepare_write(); !ready) return ready;
  RecordBatch batch;
  if (const Status encoded = batch.add(fields); !encoded) return encoded;
  const std::string_view record = batch.bytes();
  const std::uint64_t start = index_->memos()[row].offset;
  const std::uint64_t end = record_end(row);
  const std::uint64_t behind = heap_.used() - end;
  if (const Status room = heap_.reserve(start + record.size() + behind); !room) return room;
  const std::string_view pieces[] = {heap_.text(0, start), record, heap_.text(end, behind)};
  if (const Status written = rewrite_without(std::span(&row, 1), record.size(), pieces); !written) {
    return written;
  }
  std::memmove(heap_.data() + start + record.size(), heap_.data() + end, behind);
  std::ranges::copy(record, heap_.data() + start);
  heap_.set_used(start + record.size() + behind);
  rebuild();
  tell(MemoryChange::What::kUpdated, fields.topic);
  return {};
}

Status ContextStore::save() {
  if (const Status ready = prepare_write(); !ready) return ready;
  const std::string_view whole = heap_.bytes();
  return rewrite(std::span(&whole, 1));
}

}  // namespace mrb::memory
