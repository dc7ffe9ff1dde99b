#include "common/literal_search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "common/text.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace mrb {
namespace {

constexpr unsigned char kCaseBit = 0x20;

unsigned char Folded(char c) {
  return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c | kCaseBit : c);
}

/// How common a byte is in program text and prose; higher is more common.
int Commonness(char c) {
  constexpr std::string_view kRising =
      "~`^%@\\$?!&|+Q#ZJXK[]{}YVjzqWHUGBw\"'kxDMNFOPRL:;*<>/vA"
      "=-CIETSybg9876543210.,()mhfpu_clndsiorate\n ";
  const std::size_t at = kRising.find(c);
  return at == std::string_view::npos ? 0 : static_cast<int>(at) + 1;
}

unsigned char FoldBit(char c, bool ignore_case) {
  return ignore_case && c >= 'a' && c <= 'z' ? kCaseBit : 0;
}

}  // namespace

/// The same scan for every width of instruction. `probe` bytes are compared after their fold bit is
/// set, which makes a few other bytes look equal too: fits() decides.
struct LiteralScans {
  static std::size_t plain(const LiteralSearch& search, const char* text, std::size_t from,
                           std::size_t end) {
    const auto byte1 = static_cast<unsigned char>(search.needle_[search.probe1_]);
    for (std::size_t at = from; at < end; ++at) {
      const auto seen = static_cast<unsigned char>(text[at + search.probe1_]);
      if ((seen | search.fold1_) == byte1 && search.fits(text + at)) return at;
    }
    return std::string_view::npos;
  }

#if defined(__x86_64__)
  static std::size_t sse2(const LiteralSearch& search, const char* text, std::size_t from,
                          std::size_t end) {
    const __m128i byte1 = _mm_set1_epi8(search.needle_[search.probe1_]);
    const __m128i byte2 = _mm_set1_epi8(search.needle_[search.probe2_]);
    const __m128i fold1 = _mm_set1_epi8(static_cast<char>(search.fold1_));
    const __m128i fold2 = _mm_set1_epi8(static_cast<char>(search.fold2_));
    std::size_t at = from;
    for (; at + 16 <= end; at += 16) {
      const __m128i seen1 =
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at + search.probe1_));
      const __m128i seen2 =
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at + search.probe2_));
      const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(_mm_or_si128(seen1, fold1), byte1),
                                         _mm_cmpeq_epi8(_mm_or_si128(seen2, fold2), byte2));
      auto places = static_cast<std::uint32_t>(_mm_movemask_epi8(both));
      for (; places != 0; places &= places - 1) {
        const auto place = at + static_cast<std::size_t>(std::countr_zero(places));
        if (search.fits(text + place)) return place;
      }
    }
    return plain(search, text, at, end);
  }

  __attribute__((target("avx2"))) static std::size_t avx2(const LiteralSearch& search,
                                                          const char* text, std::size_t from,
                                                          std::size_t end) {
    const __m256i byte1 = _mm256_set1_epi8(search.needle_[search.probe1_]);
    const __m256i byte2 = _mm256_set1_epi8(search.needle_[search.probe2_]);
    const __m256i fold1 = _mm256_set1_epi8(static_cast<char>(search.fold1_));
    const __m256i fold2 = _mm256_set1_epi8(static_cast<char>(search.fold2_));
    std::size_t at = from;
    for (; at + 32 <= end; at += 32) {
      const __m256i seen1 =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + at + search.probe1_));
      const __m256i seen2 =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + at + search.probe2_));
      const __m256i both =
          _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_or_si256(seen1, fold1), byte1),
                           _mm256_cmpeq_epi8(_mm256_or_si256(seen2, fold2), byte2));
      auto places = static_cast<std::uint32_t>(_mm256_movemask_epi8(both));
      for (; places != 0; places &= places - 1) {
        const auto place = at + static_cast<std::size_t>(std::countr_zero(places));
        if (search.fits(text + place)) return place;
      }
    }
    return sse2(search, text, at, end);
  }

  static LiteralSearch::Scan best() { return __builtin_cpu_supports("avx2") ? avx2 : sse2; }
#else
  static LiteralSearch::Scan best() { return plain; }
#endif
};

LiteralSearch::LiteralSearch(std::string_view needle, bool ignore_case)
    : needle_(ignore_case ? LowerAscii(needle) : std::string(needle)),
      ignore_case_(ignore_case),
      scan_(LiteralScans::best()) {
  for (std::size_t i = 0; i < needle_.size(); ++i) {
    if (Commonness(needle_[i]) < Commonness(needle_[probe1_])) probe1_ = i;
  }
  probe2_ = probe1_ == 0 && needle_.size() > 1 ? needle_.size() - 1 : 0;
  for (std::size_t i = 0; i < needle_.size(); ++i) {
    if (i != probe1_ && Commonness(needle_[i]) < Commonness(needle_[probe2_])) probe2_ = i;
  }
  if (needle_.empty()) return;
  fold1_ = FoldBit(needle_[probe1_], ignore_case);
  fold2_ = FoldBit(needle_[probe2_], ignore_case);
}

bool LiteralSearch::fits(const char* at) const {
  if (!ignore_case_) return std::memcmp(at, needle_.data(), needle_.size()) == 0;
  for (std::size_t i = 0; i < needle_.size(); ++i) {
    if (Folded(at[i]) != static_cast<unsigned char>(needle_[i])) return false;
  }
  return true;
}

std::size_t LiteralSearch::find(std::string_view text, std::size_t from) const {
  if (text.size() < needle_.size() || from > text.size() - needle_.size()) {
    return std::string_view::npos;
  }
  if (needle_.empty()) return from;
  return scan_(*this, text.data(), from, text.size() - needle_.size() + 1);
}

}  // namespace mrb
