#include "modelfile/nl_plain_terms.h"

#ifdef __x86_64__

#include <immintrin.h>

#include <array>
#include <bit>

#include "modelfile/blank_bytes.h"
#include "modelfile/number_text.h"

namespace {

/// How a number whose last eight bytes are in the upper half of a vector loses its point: by the byte of the point, 0
/// to 7, and 8 without a point.
struct PointTables {
  /// The bytes in front of the point move to where it is.
  alignas(16) std::array<std::array<std::uint8_t, 16>, 9> shuffle{};
  /// What the digits without the point are divided by.
  std::array<double, 9> divisor{};
};

constexpr PointTables pointTables() {
  constexpr std::uint8_t kZero = 0x80;
  PointTables tables;
  for (std::uint8_t point = 0; point <= 8; ++point) {
    for (std::uint8_t i = 0; i < 16; ++i) {
      const bool moves = point < 8 && i >= 8 && i <= 8 + point;
      tables.shuffle[point][i] = !moves ? i : i == 8 ? kZero : static_cast<std::uint8_t>(i - 1);
    }
  }
  tables.divisor[8] = tables.divisor[7] = 1.0;
  for (std::size_t point = 7; point > 0; --point) tables.divisor[point - 1] = tables.divisor[point] * 10.0;
  return tables;
}

constexpr PointTables kTables = pointTables();

/// The text of 1 to 8 bytes at `at`, less '0' in each byte, with zeros in front.
std::uint64_t digitsAt(const char* at, int size) noexcept {
  return (TavWordAt(at) ^ 0x3030303030303030) << (64 - 8 * size);
}

bool isSize(int size) noexcept { return static_cast<unsigned>(size - 1) < 8; }

/// Index and number are converted together, the index in the lower half of the vector.
[[gnu::target("sse4.1")]] std::int64_t takeByVectors(const char*& from, const char* end, std::int64_t count,
                                                     std::int32_t size, std::int32_t* indices,
                                                     double* values) noexcept {
  const char* at = from;
  std::int64_t taken = 0;
  std::uint64_t blanks = TavBlankBytes<2>(at);
  for (; taken != count && at != end; ++taken) {
    const int middle = std::countr_zero(blanks);
    const int last = std::countr_zero(blanks & (blanks - 1));
    if (!isSize(middle) || last > 31 || at[middle] != ' ' || at[last] != '\n') break;
    // Read in front of the stores: processors that suspect the same memory let a read behind them wait.
    const std::uint64_t ahead = TavBlankBytes<2>(at + last + 1);
    const bool negative = at[middle + 1] == '-';
    const int digits = last - middle - 1 - static_cast<int>(negative);
    if (!isSize(digits)) break;
    __m128i text = _mm_set_epi64x(static_cast<std::int64_t>(digitsAt(at + last - digits, digits)),
                                  static_cast<std::int64_t>(digitsAt(at, middle)));
    const auto points = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(text, _mm_set1_epi8('.' ^ '0'))));
    const auto point = static_cast<std::size_t>(std::countr_zero(points >> 8 | 0x100));
    text = _mm_shuffle_epi8(text, _mm_load_si128(reinterpret_cast<const __m128i*>(kTables.shuffle[point].data())));
    const __m128i others = _mm_subs_epu8(text, _mm_set1_epi8(9));
    if (!_mm_testz_si128(others, others) || (digits == 1 && point != 8)) break;
    // Neighbours are added up: digits, then pairs, then fours.
    text = _mm_maddubs_epi16(text, _mm_set1_epi16(0x010a));
    text = _mm_madd_epi16(text, _mm_set1_epi32(0x0001'0000 + 100));
    text = _mm_madd_epi16(_mm_packus_epi32(text, text), _mm_set1_epi32(0x0001'0000 + 10000));
    const std::int32_t index = _mm_cvtsi128_si32(text);
    if (index >= size) break;
    const double magnitude = _mm_extract_epi32(text, 1) / kTables.divisor[point];
    indices[taken] = index;
    values[taken] =
        std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) | static_cast<std::uint64_t>(negative) << 63);
    at += last + 1;
    blanks = ahead;
  }
  from = at;
  return taken;
}

}  // namespace

std::int64_t TavTakePlainTerms(const char*& at, const char* end, std::int64_t count, std::int32_t size,
                               std::int32_t* indices, double* values) noexcept {
  if (!__builtin_cpu_supports("sse4.1")) return 0;
  return takeByVectors(at, end, count, size, indices, values);
}

#else

std::int64_t TavTakePlainTerms(const char*&, const char*, std::int64_t, std::int32_t, std::int32_t*, double*) noexcept {
  return 0;
}

#endif
