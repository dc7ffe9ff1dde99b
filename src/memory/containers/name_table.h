#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "common/little_endian.h"

namespace mrb::memory {

/// Up to this length two names of equal length and equal hash are equal: the hash is then a
/// one-to-one function of the bytes.
inline constexpr std::size_t kExactHashBytes = 8;

/// Up to this length the same holds once their tails are equal too: every step of the hash can be
/// undone when its word is known. So hardly any word needs a second look at its bytes.
inline constexpr std::size_t kExactTailBytes = 16;

namespace name_hash_internal {

/// A bijection of 64-bit words that spreads every input bit over the output (odd multiplications
/// and xor-shifts are each reversible).
[[nodiscard]] inline std::uint64_t Mix(std::uint64_t word) {
  word ^= word >> 32;
  word *= 0x9E3779B97F4A7C15U;
  word ^= word >> 29;
  word *= 0xBF58476D1CE4E5B9U;
  word ^= word >> 32;
  return word;
}

/// The bytes of a name of at most eight, zero-padded, as one word.
[[nodiscard]] inline std::uint64_t ShortWord(const char* bytes, std::size_t size) {
  if (size >= 4) {  // two overlapping halves instead of a loop
    const std::uint64_t low = LoadU32(bytes);
    const std::uint64_t high = LoadU32(bytes + size - 4);
    return low | high << (8 * (size - 4));
  }
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < size; ++i) {
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return word;
}

}  // namespace name_hash_internal

/// The hash of a keyword. Values are never stored, so the function may change.
[[nodiscard]] inline std::uint64_t HashName(std::string_view name) {
  using name_hash_internal::Mix;
  const char* bytes = name.data();
  std::size_t size = name.size();
  if (size <= kExactHashBytes) return Mix(name_hash_internal::ShortWord(bytes, size));
  std::uint64_t hash = size;
  for (; size > 8; bytes += 8, size -= 8) {
    hash = Mix(hash ^ LoadU64(bytes));
  }
  return Mix(hash ^ LoadU64(bytes + size - 8));  // overlaps the words before it
}

/// The last eight bytes of a longer name; 0 where the hash says it all.
[[nodiscard]] inline std::uint64_t NameTail(std::string_view name) {
  return name.size() <= kExactHashBytes ? 0 : LoadU64(name.data() + name.size() - 8);
}

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
    if (slots > slots_.size()) rehash(slots);
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
