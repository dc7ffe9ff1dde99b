#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/context/memory_change.h"
#include "memory/context/store_loader.h"
#include "memory/index/context_index.h"
#include "memory/overlay/overlay_set.h"
#include "memory/record/record_batch.h"
#include "memory/record/record_heap.h"
#include "memory/record/store_file.h"

namespace mrb::memory {

/// The memories of one context: the heap, its index, and the store file that equals the heap after
/// every operation.
///
///     ContextStore store(files, folder);
///     store.load();
///     store.append(fields);     // on the disk when it returns
///
/// A write that fails leaves memory and disk as they were. Where the two may differ (a whole
/// rewrite whose last flush failed, a file that someone else changed), stale() turns true: the
/// object is then good for nothing but to be thrown away and loaded anew. Readers share it, writers
/// need it alone.
class ContextStore {
 public:
  /// A store of nothing, in memory only: what a context that does not exist holds.
  ContextStore();
  ContextStore(const ContextStore&) = delete;
  ContextStore& operator=(const ContextStore&) = delete;

  /// The store in `folder`, nothing of it loaded yet. `files` outlives it.
  ContextStore(platform::FileSystem& files, std::string folder);

  /// Who is told of each change that is on the disk; the context's name is left for them to fill
  /// in.
  void set_observer(std::function<void(MemoryChange)> changed) { changed_ = std::move(changed); }

  /// Reads the store file, or the legacy one where there is no other, and indexes it; no file is an
  /// empty store. Returns the number of memos. An error means that nothing is known of the
  /// contents. A file that is no store loads as empty, but refuses to be written: see writable().
  [[nodiscard]] Result<std::uint64_t> load(std::size_t threads = 0);

  [[nodiscard]] const ContextIndex& index() const { return *index_; }
  [[nodiscard]] const RecordHeap& heap() const { return heap_; }

  /// The row of memo `n` (from 1) of a topic.
  [[nodiscard]] std::optional<std::uint32_t> find_memo(std::string_view topic,
                                                       std::uint64_t n) const;

  /// Bytes at the end of the file that the last load left out because no whole record was there.
  [[nodiscard]] std::uint64_t dropped_bytes() const { return dropped_; }

  /// Size of the store file; 0 when there is none.
  [[nodiscard]] std::uint64_t bytes_on_disk() const;

  /// What is wrong with the store file beside what is in memory; empty when nothing is.
  [[nodiscard]] std::string check_disk() const;

  /// Why writes are refused, if they are.
  [[nodiscard]] Status writable() const;
  [[nodiscard]] bool stale() const { return stale_ || overlays_.uncertain(); }

  /// Adds one memo at the end; returns its offset.
  [[nodiscard]] Result<std::uint64_t> append(const RecordFields& fields);

  /// Takes out the memos of `rows` (ascending), then adds those of `added`, in one rewrite: all of
  /// it happens or nothing. Offsets and rows behind the first one taken out change. With
  /// `keep_previous` the store as it was stays beside the new one. Returns the offset of the first
  /// memo added, or the new end of the heap.
  [[nodiscard]] Result<std::uint64_t> exchange(std::span<const std::uint32_t> rows,
                                               const RecordBatch& added, bool keep_previous);

  /// Puts another record in the place of row `row`; the rows stay, offsets behind it change.
  [[nodiscard]] Status replace(std::uint32_t row, const RecordFields& fields);

  /// Copies the store file, byte for byte, to `path`, replacing what is there; returns its size.
  /// kNotFound when there is no store file yet.
  [[nodiscard]] Result<std::uint64_t> export_to(const std::string& path) const;

  /// What model types keep of this context. Offsets in it follow every rewrite.
  [[nodiscard]] const OverlaySet& overlays() const { return overlays_; }
  [[nodiscard]] OverlaySet& overlays() { return overlays_; }

  /// Writes the whole heap out as the store file.
  [[nodiscard]] Status save();

 private:
  friend class IndexSpoiler;  // tests that want to see damage found

  [[nodiscard]] Result<LoadedStore> read_files(std::size_t threads);
  [[nodiscard]] Status prepare_write();
  [[nodiscard]] Status rewrite(std::span<const std::string_view> pieces);
  [[nodiscard]] Status rewrite_without(std::span<const std::uint32_t> rows, std::uint64_t in_place,
                                       std::span<const std::string_view> pieces);
  [[nodiscard]] Status append_to_file(std::string_view bytes);
  [[nodiscard]] std::uint64_t record_end(std::uint32_t row) const;
  void rebuild();
  void tell(MemoryChange::What what, std::string_view topic) const;

  std::unique_ptr<StoreFile> file_;  // nothing: in memory only
  platform::FileSystem* files_ = nullptr;
  std::string folder_;
  RecordHeap heap_;
  std::unique_ptr<ContextIndex> index_;
  OverlaySet overlays_;
  std::function<void(MemoryChange)> changed_;  // may be empty
  std::uint64_t dropped_ = 0;
  bool foreign_ = false;  // the file is no store; it is not ours to write
  bool convert_ = false;  // the heap comes from a legacy file: the next write writes it whole
  bool vector_missing_ = false;  // the last record lacks its dimension word
  bool stale_ = false;
};

}  // namespace mrb::memory
