#include "platform/sha1.h"

#include <bit>
#include <cstddef>
#include <string>

// FIPS 180-4, 6.1, word for word. A handshake hashes 60 bytes, so nothing here is tuned.

namespace mrb::platform {
namespace {

constexpr std::size_t kBlock = 64;

using State = std::array<std::uint32_t, 5>;

std::uint32_t BigEndian(const char* at) {
  std::uint32_t word = 0;
  for (int i = 0; i < 4; ++i) word = (word << 8U) | static_cast<unsigned char>(at[i]);
  return word;
}

std::uint32_t Mix(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  if (round < 20) return ((b & c) | (~b & d)) + 0x5a827999U;
  if (round < 40) return (b ^ c ^ d) + 0x6ed9eba1U;
  if (round < 60) return ((b & c) | (b & d) | (c & d)) + 0x8f1bbcdcU;
  return (b ^ c ^ d) + 0xca62c1d6U;
}

void AddBlock(State& state, const char* block) {
  std::array<std::uint32_t, 80> words{};
  for (std::size_t i = 0; i < 16; ++i) words[i] = BigEndian(block + 4 * i);
  for (std::size_t i = 16; i < words.size(); ++i) {
    words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
  }
  auto [a, b, c, d, e] = state;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::uint32_t next = std::rotl(a, 5) + Mix(i, b, c, d) + e + words[i];
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
  const State added{a, b, c, d, e};
  for (std::size_t i = 0; i < state.size(); ++i) state[i] += added[i];
}

/// The last bytes, a one bit, zeros, and the length in bits: one block or two.
std::string PaddedTail(std::string_view rest, std::uint64_t total_bytes) {
  std::string tail(rest);
  tail += '\x80';
  while (tail.size() % kBlock != kBlock - 8) tail += '\0';
  for (unsigned shift = 64; shift > 0; shift -= 8) {
    tail += static_cast<char>((total_bytes * 8) >> (shift - 8));
  }
  return tail;
}

}  // namespace

Sha1Digest Sha1(std::string_view bytes) {
  State state{0x67452301U, 0xefcdab89U, 0x98badcfeU, 0x10325476U, 0xc3d2e1f0U};
  const std::size_t whole = bytes.size() / kBlock * kBlock;
  for (std::size_t at = 0; at < whole; at += kBlock) AddBlock(state, bytes.data() + at);
  const std::string tail = PaddedTail(bytes.substr(whole), bytes.size());
  for (std::size_t at = 0; at < tail.size(); at += kBlock) AddBlock(state, tail.data() + at);
  Sha1Digest digest{};
  for (std::size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
  }
  return digest;
}

}  // namespace mrb::platform
