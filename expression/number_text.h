#pragma once
/// Whole numbers, and numbers as text.

#pragma GCC visibility push(default)

/// Whether x has no fractional part; false for infinities and not-a-numbers.
bool TavNumIsInteger(double x) noexcept;

/// Writes |x| as null-terminated decimal text and returns its length; the caller prints the sign. `precision` digits
/// follow the first one: above 14 or -1 counts as 14, any other value below 1 as 1. Exponents above the precision
/// or below -6 give the exponent form ("1.5e+20", "1e-7"), all others positional text without trailing zeros. An
/// infinity or not-a-number gives "?" and status -1, everything else status 0. `out` has room for 24
/// characters.
int convertTavNum(char* out, double x, int precision, int* status);

#pragma GCC visibility pop
