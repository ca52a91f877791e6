#pragma once
/// Internal header of the readers: where the blanks of a line are, many bytes at a time.

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstdint>

/// Bit i is set where byte i at `at` is a blank or a control character, for the first 16 * kBlocks bytes, which may be
/// read. None is set on processors without SSE2; there, lines are read byte by byte.
template <int kBlocks>
inline std::uint64_t TavBlankBytes([[maybe_unused]] const char* at) noexcept {
  static_assert(kBlocks >= 1 && kBlocks <= 4);
  std::uint64_t blanks = 0;
#ifdef __SSE2__
  for (int i = 0; i < kBlocks; ++i) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 16 * i));
    const __m128i small = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(' ')), bytes);
    blanks |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(small))) << 16 * i;
  }
#endif
  return blanks;
}
