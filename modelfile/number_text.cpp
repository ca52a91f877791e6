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
