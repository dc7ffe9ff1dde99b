#include "vfs/search/class_search.h"

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
  // Sixteen at a time: wider registers gain little here, and not every compiler keeps the stack
  // aligned for them.
  template <std::size_t kSets>
  __attribute__((target("ssse3"))) static std::size_t Ssse3(const ClassSearch& search,
                                                            const char* text, std::size_t from,
                                                            std::size_t end) {
    static constexpr std::uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                               1, 2, 4, 8, 16, 32, 64, 128};
    const __m128i bits = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kBits));
    const __m128i half = _mm_set1_epi8(0x0f);
    __m128i low[kSets];
    for (std::size_t i = 0; i < kSets; ++i) {
      low[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(search.halves_[i].low.data()));
    }
    std::size_t at = from;
    // Every load ends inside the text: kSets - 1 bytes stand behind place `end` - 1.
    for (; at + 16 <= end; at += 16) {
      __m128i none = _mm_setzero_si128();
      for (std::size_t i = 0; i < kSets; ++i) {
        const __m128i seen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at + i));
        const __m128i of_low = _mm_shuffle_epi8(low[i], _mm_and_si128(seen, half));
        const __m128i of_high =
            _mm_shuffle_epi8(bits, _mm_and_si128(_mm_srli_epi16(seen, 4), half));
        none =
            _mm_or_si128(none, _mm_cmpeq_epi8(_mm_and_si128(of_low, of_high), _mm_setzero_si128()));
      }
      auto places = static_cast<std::uint32_t>(_mm_movemask_epi8(none)) ^ 0xffffU;
      for (; places != 0; places &= places - 1) {
        const auto place = at + static_cast<std::size_t>(std::countr_zero(places));
        if (search.fits(text + place)) return place;
      }
    }
    return Plain(search, text, at, end);
  }

  static ClassSearch::Scan Best(std::size_t sets) {
    if (!__builtin_cpu_supports("ssse3")) return Plain;
    return sets == 1 ? Ssse3<1> : sets == 2 ? Ssse3<2> : Ssse3<3>;
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
