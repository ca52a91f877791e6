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
  static constexpr std::uint64_t kTens[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
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

/// The highest bits of the bytes of the word up to the first one that is a blank or a control character; what is above
/// that bit means nothing. None without such a byte.
constexpr std::uint64_t TavBlanksIn(std::uint64_t word) noexcept {
  return (word - 0x2121212121212121) & ~word & 0x8080808080808080;
}

/// The eight bytes at `at`.
inline std::uint64_t TavWordAt(const char* at) noexcept {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

/// Reads a number whose text is the lowest `size` bytes of the word, 0 to 8 of them: digits, perhaps with a minus in
/// front and a point among them. False, and `value` is not set, for every other text. Has no branch that depends on
/// where the point is or how many digits there are.
[[gnu::always_inline]] inline bool TavShortNumber(std::uint64_t word, int size, double& value) noexcept {
  if constexpr (!kTavWordsBeginLow) return false;
  // By the number of digits behind the point; the last where there is no point.
  static constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e0};
  const bool negative = (word & 0xff) == '-';
  word >>= 8 * static_cast<int>(negative);
  size -= static_cast<int>(negative);
  if (size <= 0) return false;
  word = (word ^ 0x3030303030303030) << (64 - 8 * size);   // zeros in front
  const std::uint64_t others = word ^ 0x1e1e1e1e1e1e1e1e;  // a point becomes 0
  const std::uint64_t points = (others - 0x0101010101010101) & ~others & 0x8080808080808080;
  const std::uint64_t point = points & -points;
  const std::uint64_t whole = (point - 1) >> 63;  // 1 where there is no point
  // The digits in front of the point move to where it is.
  const std::uint64_t front = (point >> 7) - 1;
  word = (word & front) << (8 - 8 * whole) | (word & ~(front << 8 | 0xff));
  const bool tooMuch = TavNoDigitsIn(word) != 0 || (point & 0x80) != 0;
  if (tooMuch || size + static_cast<int>(whole) == 1) return false;
  const auto digits = static_cast<double>(static_cast<std::int64_t>(TavNumberOfDigits(word, 8)));
  const double magnitude = digits / kPowers[std::countl_zero(point | 1) / 8];
  value = std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) | std::uint64_t{negative} << 63);
  return true;
}

/// TavScanNumber for every text.
template <bool FortranExponents>
TavScannedNumber TavScanAnyNumber(const char* at);

/// Reads the unsigned decimal number that begins at `at`: digits with or without a point among them, then perhaps an
/// exponent, e or E, and d or D when `FortranExponents`. What follows an e without digits is no exponent. Eight
/// bytes behind the text may be read, and the first is no digit. Gives the double that is nearest.
///
/// Mantissas up to 2^53 with powers of ten up to 10^22 are both doubles without rounding, so one multiplication or
/// division rounds correctly (W. D. Clinger, How to read floating point numbers accurately, 1990).
template <bool FortranExponents = false>
[[gnu::always_inline]] inline TavScannedNumber TavScanNumber(const char* at) {
  const std::uint64_t word = TavWordAt(at);
  const int size = std::countr_zero(TavBlanksIn(word)) / 8;
  double value;
  if (size < 8 && *at != '-' && TavShortNumber(word, size, value)) return {at + size, value, TavNumberFault::None};
  return TavScanAnyNumber<FortranExponents>(at);
}

extern template TavScannedNumber TavScanAnyNumber<false>(const char* at);
extern template TavScannedNumber TavScanAnyNumber<true>(const char* at);

/// Room for the text of any number.
constexpr std::size_t kTavLongestNumber = 32;

/// Writes the shortest text that reads back as the number, which is finite, to `to`, and returns its end.
/// `to` has room for kTavLongestNumber characters.
inline char* TavWriteNumber(char* to, double number) noexcept {
  return std::to_chars(to, to + kTavLongestNumber, number).ptr;
}

#pragma GCC visibility pop
