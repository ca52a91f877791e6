#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "expression/number_text.h"

bool TavNumIsInteger(double x) noexcept {
  if (!std::isfinite(x)) return false;
  return (x > 0 ? std::floor(x) : std::ceil(x)) == x;
}

int convertTavNum(char* out, double x, int precision, int* status) {
  const int p = precision > 14 || precision == -1 ? 14 : precision <= 0 ? 1 : precision;
  *status = 0;
  char scratch[64];
  std::snprintf(scratch, sizeof scratch, "%22.*e", p, x);
  const char* e = std::strrchr(scratch, 'e');
  if (!e || e == scratch) {  // an infinity or NaN
    std::strcpy(out, "?");
    *status = -1;
    return 1;
  }
  const int exponent = std::atoi(e + 1);
  char digits[24];  // the mantissa without sign and decimal point (which depends on the locale)
  int count = 0;
  for (const char* c = scratch; c != e; ++c) {
    if (*c >= '0' && *c <= '9') digits[count++] = *c;
  }
  // Digits beyond `whole` follow the point. Drop trailing zeros among them, and the point if all are zeros.
  const bool exponentForm = exponent > p || exponent < -6;
  const int whole = exponentForm || exponent < 0 ? 1 : exponent + 1;
  while (count > whole && digits[count - 1] == '0') --count;
  char* to = out;
  if (!exponentForm && exponent < 0) {
    to += std::sprintf(to, "0.%.*s%.*s", -exponent - 1, "00000", count, digits);
  } else {
    to += std::sprintf(to, "%.*s", whole, digits);
    if (count > whole) to += std::sprintf(to, ".%.*s", count - whole, digits + whole);
    if (exponentForm) to += std::sprintf(to, "e%c%d", exponent < 0 ? '-' : '+', std::abs(exponent));
  }
  return static_cast<int>(to - out);
}
