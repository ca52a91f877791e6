#include "modelfile/number_text.h"

#include <string>
#include <system_error>

TavScannedNumber TavScanHardNumber(const char* begin, const char* end, std::int64_t exponent) {
  double value = 0.0;
  std::from_chars_result result = std::from_chars(begin, end, value);
  if (result.ptr != end) {  // at the letter of a Fortran exponent
    std::string text(begin, end);
    text[static_cast<std::size_t>(result.ptr - begin)] = 'e';
    result = std::from_chars(text.data(), text.data() + text.size(), value);
  }
  if (result.ec == std::errc()) return {end, value, TavNumberFault::None};
  // The number's size is that of its first digit which is not zero.
  bool leading = true;
  for (const char* at = begin; at != end && (*at == '.' || (*at >= '0' && *at <= '9')); ++at) {
    if (*at == '.') continue;
    leading = leading && *at == '0';
    if (!leading) ++exponent;
  }
  return {end, 0.0, exponent > 0 ? TavNumberFault::TooLarge : TavNumberFault::TooSmall};
}

template <bool FortranExponents>
TavScannedNumber TavScanAnyNumber(const char* at) {
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
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

template TavScannedNumber TavScanAnyNumber<false>(const char* at);
template TavScannedNumber TavScanAnyNumber<true>(const char* at);
