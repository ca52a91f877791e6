#pragma once
/// Class header of readers and writers: decimal numbers from and to text.

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Exported for the tests and benchmarks of shared builds.
#pragma GCC visibility push(default)

/// What scanning a number found.
enum class TavNumberFault : std::uint8_t {
  None,
  NoNumber,  ///< there is none
  TooLarge,  ///< beyond the largest double
  TooSmall   ///< not zero, but its nearest double is
};

/// A number in a text.
struct TavScannedNumber {
  /// Behind the number; its first byte where there is none.
  const char* end;
  double value;
  TavNumberFault fault;
};

/// Slow path of TavScanNumber: the number from begin to end by std::from_chars; its digits, taken as one whole number,
/// are to be multiplied by ten to the power of `exponent`.
TavScannedNumber TavScanHardNumber(const char* begin, const char* end, std::int64_t exponent);

/// The first bytes of a text where it is cut, eight at a time: a byte that begins a number or a name is in the lowest
/// bits of the word.
constexpr bool kTavWordsBeginLow = std::endian::native == std::endian::little;

/// The highest bits of those bytes of the word that are above 9: '0' has been taken off digits.
constexpr std::uint64_t TavNoDigitsIn(std::uint64_t word) noexcept {
  return ((word + 0x7676767676767676) | word) & 0x8080808080808080;
}

/// The number whose digits, 1 to 8 of them, are the lowest bytes of the word, the first one lowest.
constexpr std::uint64_t TavNumberOfDigits(std::uint64_t word, int count) noexcept {
  word <<= 64 - 8 * count;  // zeros in front
  // Neighbours are added up: digits, then pairs, then fours.
  word = (word * 10 + (word >> 8)) & 0x00ff00ff00ff00ff;
  word = (word * 100 + (word >> 16)) & 0x0000ffff0000ffff;
  return (word * 10000 + (word >> 32)) & 0x00000000ffffffff;
}

/// Appends the decimal digits that begin at `at` to `value`, which wraps where there are too many, and returns their
/// end. Eight bytes behind the digits may be read.
inline const char* TavScanDigits(const char* at, std::uint64_t& value) noexcept {
  if constexpr (!kTavWordsBeginLow) {
    for (; static_cast<unsigned char>(*at - '0') < 10; ++at) value = value * 10 + static_cast<unsigned char>(*at - '0');
    return at;
  }
  constexpr std::uint64_t kTens[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
  for (;;) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    word ^= 0x3030303030303030;  // digits become 0 to 9
    const int count = std::countr_zero(TavNoDigitsIn(word)) / 8;
    if (count == 0) return at;
    value = value * kTens[count] + TavNumberOfDigits(word, count);
    at += count;
    if (count != 8) return at;
  }
}

/// Reads the unsigned decimal number that begins at `at`: digits with or without a point among them, then perhaps an
/// exponent, e or E, and d or D when `FortranExponents`. What follows an e without digits is no exponent. Eight
/// bytes behind the text may be read, and the first is no digit. Gives the double that is nearest.
///
/// Mantissas up to 2^53 with powers of ten up to 10^22 are both doubles without rounding, so one multiplication or
/// division rounds correctly (W. D. Clinger, How to read floating point numbers accurately, 1990).
template <bool FortranExponents = false>
[[gnu::always_inline]] inline TavScannedNumber TavScanNumber(const char* at) {
  constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const auto digit = [](char c) { return static_cast<unsigned>(c) - static_cast<unsigned>('0'); };
  std::uint64_t mantissa = 0;
  const char* end = TavScanDigits(at, mantissa);
  std::int64_t digits = end - at;
  std::int64_t exponent = 0;
  if (*end == '.') {
    const char* const fraction = end + 1;
    end = TavScanDigits(fraction, mantissa);
    exponent = fraction - end;
    digits -= exponent;
  }
  if (digits == 0) return {at, 0.0, TavNumberFault::NoNumber};
  const char letter = static_cast<char>(*end | 0x20);
  if (letter == 'e' || (FortranExponents && letter == 'd')) {
    const char* first = end + 1;
    const bool negative = *first == '-';
    if (negative || *first == '+') ++first;
    if (digit(*first) < 10) {
      constexpr std::int64_t kEnough = 1'000'000'000'000;
      std::int64_t written = 0;
      for (end = first; digit(*end) < 10; ++end) {
        if (written < kEnough) written = written * 10 + digit(*end);
      }
      exponent += negative ? -written : written;
    }
  }
  constexpr std::uint64_t kExact = std::uint64_t{1} << 53;
  if (digits <= 19) {
    if (mantissa == 0) return {end, 0.0, TavNumberFault::None};
    if (mantissa <= kExact && exponent >= -22 && exponent <= 22) {
      const auto value = static_cast<double>(mantissa);
      return {end, exponent < 0 ? value / kPowers[-exponent] : value * kPowers[exponent], TavNumberFault::None};
    }
  }
  return TavScanHardNumber(at, end, exponent);
}

/// Room for the text of any number.
constexpr std::size_t kTavLongestNumber = 32;

/// Writes the shortest text that reads back as the number, which is finite, to `to`, and returns its end.
/// `to` has room for kTavLongestNumber characters.
inline char* TavWriteNumber(char* to, double number) noexcept {
  return std::to_chars(to, to + kTavLongestNumber, number).ptr;
}

#pragma GCC visibility pop
