#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "memory/embedding/embed_settings.h"
#include "memory/overlay/overlay.h"
#include "memory/record/record_heap.h"
#include "platform/files.h"

namespace mrb::memory {

/// The overlays of one context with their files, and the settings of its semantic lane. What a
/// change method answers without error is on the disk. Not thread-safe: it lives in a store.
///
/// A rewrite of the store moves records, and the store file and the overlays' files cannot be
/// replaced in one step. So the overlays to come are written beside the present ones first, with a
/// note that tells by which store they are right; once the store file is replaced they take their
/// places. A load finds the note when that was cut short: if the store is the one noted it finishes
/// the change, else it drops what was prepared.
class OverlaySet {
 public:
  /// Of nothing: a context that is in memory only.
  OverlaySet() = default;
  OverlaySet(platform::FileSystem& files, std::string folder)
      : files_(&files), folder_(std::move(folder)) {}

  /// Reads everything; the heap and the table are those of the store beside it. A file that is
  /// damaged is left alone and named in damaged().
  [[nodiscard]] Status load(const RecordHeap& heap, const MemoTable& memos);

  /// A write failed so late that the disk may have it nevertheless: only a fresh load can tell.
  [[nodiscard]] bool uncertain() const { return uncertain_; }

  [[nodiscard]] const std::vector<Overlay>& all() const { return overlays_; }
  [[nodiscard]] const std::vector<std::string>& damaged() const { return damaged_; }

  /// The overlay of a model type in any letter case; nothing when it is not registered.
  [[nodiscard]] const Overlay* find(std::string_view type) const;

  [[nodiscard]] const EmbedSettings& settings() const { return settings_; }
  [[nodiscard]] Status set_settings(const EmbedSettings& settings);

  /// Makes `overlay` the one of its type.
  [[nodiscard]] Status put(Overlay overlay);

  /// Forgets a type that is registered.
  [[nodiscard]] Status drop(std::string_view type);

  /// A change of the store that is to come.
  struct Move {
    /// Where the record at an offset goes; nothing for one that goes away or never was.
    std::function<std::optional<std::uint64_t>(std::uint64_t)> moved;
    std::uint64_t heap_bytes = 0;  ///< of the heap to come
    std::uint64_t changed_at = 0;  ///< up to here both heaps are the same
    /// `bytes` bytes of the heap to come from `offset` on.
    std::function<std::string(std::uint64_t offset, std::uint64_t bytes)> read;
  };

  /// Before the store is rewritten. After an error nothing has changed.
  [[nodiscard]] Status prepare(const Move& move);

  /// After it was: the prepared overlays become the present ones. An error means that a load will
  /// have to finish it.
  [[nodiscard]] Status commit(const RecordHeap& heap, const MemoTable& memos);

  /// The store was not rewritten after all.
  void abandon();

  /// The heap's end has moved without a record.
  void settle_marks(const RecordHeap& heap, const MemoTable& memos);

 private:
  friend class IndexSpoiler;

  [[nodiscard]] std::string path_of(std::string_view type) const;
  [[nodiscard]] Status recover(const RecordHeap& heap);
  [[nodiscard]] Status write(const std::string& path, std::string_view bytes);

  platform::FileSystem* files_ = nullptr;
  std::string folder_;
  std::vector<Overlay> overlays_;  // by name
  std::vector<std::string> damaged_;
  std::vector<Overlay> prepared_;
  bool uncertain_ = false;
  bool prepared_for_move_ = false;
  bool pending_ = false;  // the disk may hold prepared overlays
  EmbedSettings settings_;
};

}  // namespace mrb::memory
