#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace mrb::memory {

inline constexpr std::uint32_t kNoId = 0xFFFFFFFFU;

/// A flat hash table from names to their numbers (open addressing, linear probing). It keeps each
/// name's hash and length only; where equal hashes do not prove equal bytes, the caller is asked.
class NameTable {
 public:
  /// The slot that holds the name, or the free one where it belongs. `same(id)` says whether the
  /// name numbered `id`, of this hash and length, is the one looked for.
  template <typename Same>
  [[nodiscard]] std::size_t probe(std::uint64_t hash, std::uint32_t length, Same same) const {
    for (std::size_t at = hash & mask_;; at = (at + 1) & mask_) {
      const Slot& slot = slots_[at];
      if (slot.id == kNoId || (slot.hash == hash && slot.length == length && same(slot.id))) {
        return at;
      }
    }
  }

  /// kNoId when the slot is free.
  [[nodiscard]] std::uint32_t id_at(std::size_t slot) const { return slots_[slot].id; }

  /// Fills the free slot that probe() returned; slot numbers are void afterwards.
  void place(std::size_t slot, std::uint64_t hash, std::uint32_t length, std::uint32_t id) {
    slots_[slot] = {hash, length, id};
    if (++names_ * 8 > slots_.size() * 5) {  // past 5/8, probes get long
      rehash(slots_.size() * 2);
    }
  }

  /// Room for `names` without another rehash.
  void reserve(std::size_t names) {
    const std::size_t slots = std::bit_ceil(names * 8 / 5 + 1);
    if (slots > slots_.size()) {
      rehash(slots);
    }
  }

  /// Brings the slot of `hash` nearer, ahead of its probe.
  void prefetch(std::uint64_t hash) const { __builtin_prefetch(&slots_[hash & mask_]); }

 private:
  struct Slot {
    std::uint64_t hash = 0;
    std::uint32_t length = 0;
    std::uint32_t id = kNoId;
  };
  static constexpr std::size_t kFirstSlots = 16;

  void rehash(std::size_t size) {
    std::vector<Slot> old(size);
    old.swap(slots_);
    mask_ = size - 1;
    for (const Slot& slot : old) {
      if (slot.id != kNoId) {
        slots_[probe(slot.hash, slot.length, [](std::uint32_t) { return false; })] = slot;
      }
    }
  }

  std::vector<Slot> slots_ = std::vector<Slot>(kFirstSlots);
  std::size_t mask_ = kFirstSlots - 1;
  std::size_t names_ = 0;
};

}  // namespace mrb::memory
