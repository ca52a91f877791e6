#pragma once
/// Class header: which names the LP format can say, and its words.

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <bit>
#include <cstdint>
#include <string_view>

/// What a byte may be in an LP file.
struct TavLpBytes {
  static constexpr std::uint8_t kInName = 1, kBeginsName = 2;
  std::uint8_t of[256] = {};

  constexpr TavLpBytes() {
    for (int c = 'a'; c <= 'z'; ++c) of[c] = of[c - 'a' + 'A'] = kInName | kBeginsName;
    for (int c = 0x80; c <= 0xff; ++c) of[c] = kInName | kBeginsName;
    for (const char c : {'!', '"', '#', '$', '%', '&', '?', '@', '_', '`', '\'', '{', '}', '~', '|'}) {
      of[static_cast<unsigned char>(c)] = kInName | kBeginsName;
    }
    for (int c = '0'; c <= '9'; ++c) of[c] = kInName;
    for (const char c : {'.', ',', ';', '(', ')', '/'}) of[static_cast<unsigned char>(c)] = kInName;
  }
  constexpr bool inName(char c) const noexcept { return (of[static_cast<unsigned char>(c)] & kInName) != 0; }
  constexpr bool beginsName(char c) const noexcept { return (of[static_cast<unsigned char>(c)] & kBeginsName) != 0; }
};
inline constexpr TavLpBytes kTavLpBytes;

/// Sections of an LP file.
enum class TavLpSection : std::uint8_t {
  None,
  Rows,
  Bounds,
  Integer,
  Binary,
  Semi,
  Sets,
  Sets1,
  Sets2,
  End,
  Unsupported
};

/// The section that begins with the words at `at`, and where they end. Words are whole ones, in any case; two of them
/// stand on one line.
TavLpSection TavLpSectionAt(const char* at, const char*& end) noexcept;

/// TavLpNameEnd byte by byte.
const char* TavLpLongNameEnd(const char* at) noexcept;

/// Behind the name that begins at `at`, where a name may begin. Brackets in it are matched: a ] that is not closes
/// something else and ends the name. Sixteen bytes at `at` may be read.
inline const char* TavLpNameEnd(const char* at) noexcept {
#ifdef __SSE2__
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
  const auto is = [&](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
  const auto between = [&](char first, char last) {
    const __m128i from = _mm_sub_epi8(bytes, _mm_set1_epi8(first));
    return _mm_cmpeq_epi8(_mm_min_epu8(from, _mm_set1_epi8(static_cast<char>(last - first))), from);
  };
  const __m128i ends =
      _mm_or_si128(_mm_or_si128(_mm_or_si128(between('\0', ' '), between('*', '+')), _mm_or_si128(is('-'), is(':'))),
                   _mm_or_si128(_mm_or_si128(between('<', '>'), between('[', '^')), is('\x7f')));
  const auto mask = static_cast<unsigned>(_mm_movemask_epi8(ends));
  if (mask != 0 && at[std::countr_zero(mask)] != '[') return at + std::countr_zero(mask);
#endif
  return TavLpLongNameEnd(at);
}

/// Why the text that TavLpNameEnd took as a name is none, or null.
const char* TavLpNameFault(std::string_view name) noexcept;

/// Why the LP format cannot say this name, or null. Names of rows may be words of the format; those of variables not.
const char* TavLpNameProblem(std::string_view name, bool ofVariable);
