#include "search/class_search.h"

#include <bit>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace mrb::search {

struct ClassScans {
  static std::size_t Plain(const ClassSearch& search, const char* text, std::size_t from,
                           std::size_t end) {
    for (std::size_t at = from; at < end; ++at) {
      if (search.fits(text + at)) return at;
    }
    return std::string_view::npos;
  }

#if defined(__x86_64__)
  __attribute__((target("avx2"))) static __m256i Twice(const std::uint8_t* table) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table)));
  }

  template <std::size_t kSets>
  __attribute__((target("avx2"))) static std::size_t Avx2(const ClassSearch& search,
                                                          const char* text, std::size_t from,
                                                          std::size_t end) {
    static constexpr std::uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                               1, 2, 4, 8, 16, 32, 64, 128};
    const __m256i bits = Twice(kBits);
    const __m256i half = _mm256_set1_epi8(0x0f);
    __m256i low[ClassSearch::kMostSets];
    for (std::size_t i = 0; i < kSets; ++i) low[i] = Twice(search.halves_[i].low.data());
    std::size_t at = from;
    // Every load ends inside the text: kSets - 1 bytes stand behind place `end` - 1.
    for (; at + 32 <= end; at += 32) {
      __m256i none = _mm256_setzero_si256();
      for (std::size_t i = 0; i < kSets; ++i) {
        const __m256i seen = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + at + i));
        const __m256i of_low = _mm256_shuffle_epi8(low[i], _mm256_and_si256(seen, half));
        const __m256i of_high =
            _mm256_shuffle_epi8(bits, _mm256_and_si256(_mm256_srli_epi16(seen, 4), half));
        none = _mm256_or_si256(
            none, _mm256_cmpeq_epi8(_mm256_and_si256(of_low, of_high), _mm256_setzero_si256()));
      }
      auto places = ~static_cast<std::uint32_t>(_mm256_movemask_epi8(none));
      for (; places != 0; places &= places - 1) {
        const auto place = at + static_cast<std::size_t>(std::countr_zero(places));
        if (search.fits(text + place)) return place;
      }
    }
    return Plain(search, text, at, end);
  }

  static ClassSearch::Scan Best(std::size_t sets) {
    if (!__builtin_cpu_supports("avx2")) return Plain;
    return sets == 1 ? Avx2<1> : sets == 2 ? Avx2<2> : Avx2<3>;
  }
#else
  static ClassSearch::Scan Best(std::size_t /*sets*/) { return Plain; }
#endif
};

ClassSearch::ClassSearch(const std::vector<ByteSet>& sets)
    : count_(sets.size()), scan_(ClassScans::Best(sets.size())) {
  for (std::size_t i = 0; i < count_; ++i) {
    sets_[i] = sets[i];
    for (unsigned byte = 0; byte < 256; ++byte) {
      if (!sets[i][byte]) continue;
      std::uint8_t& low = halves_[i].low[byte & 15U];
      low = static_cast<std::uint8_t>(low | 1U << (byte >> 4U & 7U));
    }
  }
}

bool ClassSearch::fits(const char* at) const {
  for (std::size_t i = 0; i < count_; ++i) {
    if (!sets_[i][static_cast<unsigned char>(at[i])]) return false;
  }
  return true;
}

std::size_t ClassSearch::find(std::string_view text, std::size_t from) const {
  if (text.size() < count_ || from > text.size() - count_) return std::string_view::npos;
  return scan_(*this, text.data(), from, text.size() - count_ + 1);
}

}  // namespace mrb::search
