#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "memory/containers/name_table.h"
#include "memory/record/memo_table.h"

namespace mrb::memory {

/// The model type that is a context's own embedder: its keys are vectors.
inline constexpr std::string_view kLocalModelType = "local";

/// One model type's own table over a context's memos: labels with the memos keyed under each, or,
/// of the local embedder, a vector for each keyed memo. Memos are named by their offsets. Readers
/// share it; changes need a writer alone.
///
/// The mark is where the longest run of keyed memos from the start of the heap ends: the memos
/// above it are the type's worklist.
class Overlay {
 public:
  struct Key {
    std::uint64_t offset = 0;
    std::uint32_t label = 0;
  };
  struct Label {
    std::string name;
    std::vector<std::uint64_t> memos;  ///< ascending
  };
  struct Vector {
    std::uint64_t offset = 0;
    std::uint64_t start = 0;  ///< in the flat array
    std::uint32_t dimension = 0;
  };

  explicit Overlay(std::string name) : name_(std::move(name)) {}

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] bool is_local() const { return name_ == kLocalModelType; }
  [[nodiscard]] const std::vector<Label>& labels() const { return labels_; }
  [[nodiscard]] const std::vector<Key>& keys() const { return keys_; }           ///< by offset
  [[nodiscard]] const std::vector<Vector>& vectors() const { return vectors_; }  ///< by offset
  [[nodiscard]] std::span<const float> floats(const Vector& vector) const {
    return std::span(floats_).subspan(vector.start, vector.dimension);
  }

  /// Memos that are keyed.
  [[nodiscard]] std::size_t keyed() const { return is_local() ? vectors_.size() : keys_.size(); }
  [[nodiscard]] bool is_keyed(std::uint64_t offset) const;
  [[nodiscard]] std::uint64_t mark() const { return mark_; }

  /// The number of a label of exactly this name; a new one when it is not there.
  std::uint32_t intern(std::string_view label);

  /// Adds a label at the table's end, whatever is in it: for whoever reads a file.
  void append_label(std::string_view label) { labels_.push_back({std::string(label), {}}); }

  enum class Keyed { kNew, kSame, kMoved };
  /// Keys the memo at `offset` under a label of the table, instead of the one it had.
  Keyed set_key(std::uint64_t offset, std::uint32_t label);

  /// Keys the memo at `offset` by a vector, instead of the one it had.
  void set_vector(std::uint64_t offset, std::span<const float> vector);

  /// Moves the mark to where the keyed memos from the first on end: the offset of the first that is
  /// not keyed, or `end`.
  void settle_mark(const MemoTable& memos, std::uint64_t end);

  /// The rows above the mark that are not keyed, at most `limit`.
  [[nodiscard]] std::vector<std::uint32_t> worklist(const MemoTable& memos,
                                                    std::size_t limit) const;

  /// How many memos above the mark are not keyed.
  [[nodiscard]] std::size_t behind(const MemoTable& memos) const;

  /// The overlay after a rewrite of the heap: `moved(offset)` tells where the record at an offset
  /// has gone, nothing for one that is dead or never was. Labels stay, in use or not.
  template <typename Moved>
  [[nodiscard]] Overlay after(Moved moved) const {
    Overlay out(name_);
    for (const Label& label : labels_) {
      out.labels_.push_back({label.name, {}});
    }
    for (const Key& key : keys_) {
      if (const std::optional<std::uint64_t> to = moved(key.offset)) {
        (void)out.set_key(*to, key.label);
      }
    }
    for (const Vector& vector : vectors_) {
      if (const std::optional<std::uint64_t> to = moved(vector.offset)) {
        out.set_vector(*to, floats(vector));
      }
    }
    return out;
  }

 private:
  friend class IndexSpoiler;  // tests that want to see damage found

  std::string name_;
  std::vector<Label> labels_;
  std::vector<Key> keys_;
  std::vector<Vector> vectors_;
  std::vector<float> floats_;
  std::uint64_t mark_ = 0;
};

/// The overlay as its file has it; docs/memory-store.md has the layout.
[[nodiscard]] std::string EncodeOverlay(const Overlay& overlay);

/// Reads a file's bytes; kCorrupt when they are not exactly an overlay. Keys may name offsets at
/// which there is no memo: only whoever knows the memos can tell.
[[nodiscard]] Result<Overlay> DecodeOverlay(std::string_view bytes);

}  // namespace mrb::memory
