#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "common/fnv1a.h"
#include "memory/containers/list_arena.h"
#include "memory/containers/name_table.h"
#include "memory/record/record_heap.h"

namespace mrb::memory {

/// Topics hash by 64-bit FNV-1a; where the hashes are equal the bytes are compared.
struct TopicHashing {
  static constexpr bool kProves = false;
  static std::uint64_t hash(std::string_view name) { return Fnv1a(name); }
};

/// Keywords, of which a load looks up millions, hash so that short ones need no comparison.
struct KeywordHashing {
  static constexpr bool kProves = true;
  static std::uint64_t hash(std::string_view name) { return HashName(name); }
};

/// Names that lie on a record heap, numbered from 0 in order of their first appearance, each with
/// an ascending list of memo rows. A name is kept as a place on the heap, never as a string of its
/// own, so the heap must outlive the object and keep its bytes. Not thread-safe.
template <typename Hashing>
class PostingTable {
 public:
  struct Entry {
    std::uint64_t name_offset = 0;
    std::uint32_t name_length = 0;
    std::uint32_t spare = 0;  ///< for the owner; 0 at first
    ListBlock rows;
  };

  explicit PostingTable(const RecordHeap& heap) : heap_(&heap) {}

  [[nodiscard]] static std::uint64_t hash(std::string_view name) { return Hashing::hash(name); }

  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(entries_.size()); }

  [[nodiscard]] std::string_view name(std::uint32_t id) const {
    const Entry& entry = entries_[id];
    return {heap_->bytes().data() + entry.name_offset, entry.name_length};
  }

  [[nodiscard]] std::span<const std::uint32_t> rows(std::uint32_t id) const {
    return arena_.list(entries_[id].rows);
  }

  /// kNoId when the name is not there.
  [[nodiscard]] std::uint32_t find(std::string_view name) const {
    return table_.id_at(probe(Hashing::hash(name), name));
  }

  /// The number of `name`, a view into the heap; a new one when it was not there.
  std::uint32_t intern(std::string_view name) { return intern(Hashing::hash(name), name); }

  std::uint32_t intern(std::uint64_t hash, std::string_view name) {
    const std::size_t slot = probe(hash, name);
    const std::uint32_t found = table_.id_at(slot);
    return found != kNoId ? found : add(slot, hash, name);
  }

  /// What very likely is the name's number, or kNoId, without a look at its bytes: for a caller
  /// that fetches memory ahead and makes sure with is() later.
  [[nodiscard]] std::uint32_t guess(std::uint64_t hash, std::size_t length) const {
    const auto any = [](std::uint32_t) { return true; };
    return table_.id_at(table_.probe(hash, static_cast<std::uint32_t>(length), any));
  }

  /// Whether a guess for `wanted` was right.
  [[nodiscard]] bool is(std::uint32_t id, std::string_view wanted) const {
    if constexpr (Hashing::kProves) {
      if (wanted.size() <= kExactHashBytes) return true;
      if (tails_[id] != NameTail(wanted)) return false;
      if (wanted.size() <= kExactTailBytes) return true;
    }
    return name(id) == wanted;
  }

  void prefetch(std::uint64_t hash) const { table_.prefetch(hash); }

  void push(std::uint32_t id, std::uint32_t row) { arena_.push(entries_[id].rows, row); }

  [[nodiscard]] Entry& entry(std::uint32_t id) { return entries_[id]; }
  [[nodiscard]] const Entry& entry(std::uint32_t id) const { return entries_[id]; }
  [[nodiscard]] ListArena& arena() { return arena_; }

 private:
  [[nodiscard]] std::size_t probe(std::uint64_t hash, std::string_view wanted) const {
    return table_.probe(hash, static_cast<std::uint32_t>(wanted.size()),
                        [&](std::uint32_t id) { return is(id, wanted); });
  }

  std::uint32_t add(std::size_t slot, std::uint64_t hash, std::string_view name) {
    Entry entry;
    entry.name_offset = static_cast<std::uint64_t>(name.data() - heap_->bytes().data());
    entry.name_length = static_cast<std::uint32_t>(name.size());
    entries_.push_back(entry);
    if constexpr (Hashing::kProves) {
      tails_.push_back(NameTail(name));
    }
    table_.place(slot, hash, entry.name_length, size() - 1);
    return size() - 1;
  }

  const RecordHeap* heap_;
  std::vector<Entry> entries_;
  std::vector<std::uint64_t> tails_;  // one per entry where the hashing makes use of them
  NameTable table_;
  ListArena arena_;
};

using TopicTable = PostingTable<TopicHashing>;      ///< rows: the topic's memos in append order
using KeywordIndex = PostingTable<KeywordHashing>;  ///< rows: the memos that hold the keyword

}  // namespace mrb::memory
