#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

namespace mrb {

/// Integers as files hold them, whatever the host's own order. No alignment is needed;
/// the caller has checked that the bytes are there.

template <typename Word>
[[nodiscard]] inline Word LoadLittleEndian(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  if constexpr (std::endian::native == std::endian::big) {
    word = std::byteswap(word);
  }
  return word;
}

template <typename Word>
inline void StoreLittleEndian(char* bytes, Word word) {
  if constexpr (std::endian::native == std::endian::big) {
    word = std::byteswap(word);
  }
  std::memcpy(bytes, &word, sizeof word);
}

/// The word that `bytes`, of exactly its size, hold.
template <typename Word>
[[nodiscard]] inline Word LoadLittleEndian(std::span<const char, sizeof(Word)> bytes) {
  return LoadLittleEndian<Word>(bytes.data());
}

[[nodiscard]] inline std::uint32_t LoadU32(const char* bytes) {
  return LoadLittleEndian<std::uint32_t>(bytes);
}

[[nodiscard]] inline std::uint64_t LoadU64(const char* bytes) {
  return LoadLittleEndian<std::uint64_t>(bytes);
}

}  // namespace mrb
