#pragma once
/// Elementary functions of vectors. Every lane is within the bound that stands at its function, for all arguments:
/// NaN, infinities, zeros of both signs, subnormal numbers and results. Lanes outside a function's fast domain are
/// computed by the C library, one by one.
///
/// The bounds are those of the analysis; tests/evaluator/functions_test.cpp measures them.

#include <cmath>

#include "evaluator/vectors.h"

namespace tavdetail::TAV_INSTRUCTION_SET {

inline constexpr double kLn2High = 0x1.62e42feep-1, kLn2Low = 0x1.a39ef35793c76p-33;  // the first of 32 bits

/// `value`, whose lanes under `bad` are replaced by function(x).
inline Doubles repaired(Mask bad, Doubles value, Doubles x, double (*function)(double)) {
  if (any(bad)) [[unlikely]] {
    for (int lane = 0; lane < kLanes; ++lane) {
      if (bad[lane]) value[lane] = function(x[lane]);
    }
  }
  return value;
}

/// Sine and cosine of the part of an angle within a quarter turn, and how many quarters it is away.
struct ReducedAngle {
  Pair sine, cosine;
  Bits quarters;
  Mask bad;  // beyond 2^16, or nearer to a multiple of pi/2 than 119 bits of it can tell
};

/// Cody and Waite's reduction with pi/2 in three parts (33, 33 and 53 bits; Software Manual for the Elementary
/// Functions, 1980), then the minimax polynomials of fdlibm's kernels (k_sin.c, k_cos.c; error below 2^-58). Up to 2^16
/// the last part of the angle is so small that its derivative may be taken as 1.
inline ReducedAngle reduceAngle(Doubles x) {
  const Whole n = nearestWhole(x * 0x1.45f306dc9c883p-1);
  const Doubles first = x - n.value * 0x1.921fb544p+0, second = n.value * 0x1.0b4611a6p-34;  // both products are exact
  const Doubles r = first - second;
  const Doubles low = fma(n.value, all(-0x1.3198a2e037073p-69), (first - r) - second);
  const Doubles z = r * r;
  constexpr double kSine[] = {-1.66666666666666324348e-01, 8.33333333332248946124e-03,  -1.98412698298579493134e-04,
                              2.75573137070700676789e-06,  -2.50507602534068634195e-08, 1.58969099521155010221e-10};
  constexpr double kCosine[] = {4.16666666666666019037e-02,  -1.38888888888741095749e-03, 2.48015872894767294178e-05,
                                -2.75573143513906633035e-07, 2.08757232129817482790e-09,  -1.13596475577881948265e-11};
  const Doubles half = 0.5 * z, rest = 1.0 - half;
  return {{r, fma(z * r, polynomial(z, kSine), low)},
          {rest, ((1.0 - rest) - half) + fma(z * z, polynomial(z, kCosine), -(r * low))},
          n.bits,
          ~(absolute(x) <= 0x1p16) | (absolute(r) < absolute(n.value) * 0x1p-64)};
}

struct SineCosine {
  Doubles sine, cosine;
};

/// Sine and cosine, each within 1 ulp.
inline SineCosine sineCosine(Doubles x) {
  const ReducedAngle angle = reduceAngle(x);
  // The sum of a zero and its correction would lose the sign.
  const Doubles sine = select(x == 0.0, x, angle.sine.high + angle.sine.low);
  const Doubles cosine = angle.cosine.high + angle.cosine.low;
  const Mask odd = (Mask)(angle.quarters & 1) != 0;
  const Bits sineSign = (angle.quarters & 2) << 62, cosineSign = ((angle.quarters + 1) & 2) << 62;
  return {repaired(angle.bad, doublesOf(bitsOf(select(odd, cosine, sine)) ^ sineSign), x, ::sin),
          repaired(angle.bad, doublesOf(bitsOf(select(odd, sine, cosine)) ^ cosineSign), x, ::cos)};
}

inline Doubles sine(Doubles x) { return sineCosine(x).sine; }
inline Doubles cosine(Doubles x) { return sineCosine(x).cosine; }

/// The tangent within 1 ulp: the quotient of sine and cosine, each with the part that rounding took, corrected by its
/// remainder.
inline Doubles tangent(Doubles x) {
  const ReducedAngle angle = reduceAngle(x);
  const Pair s = fastTwoSum(angle.sine.high, angle.sine.low), c = fastTwoSum(angle.cosine.high, angle.cosine.low);
  const Mask odd = (Mask)(angle.quarters & 1) != 0;
  const Pair above{select(odd, -c.high, s.high), select(odd, -c.low, s.low)};
  const Pair below{select(odd, s.high, c.high), select(odd, s.low, c.low)};
  const Doubles inverse = 1.0 / below.high, quotient = above.high * inverse;
  const Pair product = twoProduct(quotient, below.high);
  const Doubles remainder = ((above.high - product.high) - product.low) + above.low - quotient * below.low;
  // Tiny arguments are their tangents; their products could underflow.
  const Doubles value = select(absolute(x) < 0x1p-27, x, fma(remainder, inverse, quotient));
  return repaired(angle.bad, value, x, ::tan);
}

/// e to the sum of a pair whose high part lies between -750 and 712: 2^n e^r by Cody and Waite's reduction with ln 2 in
/// two parts. The polynomial of (e^r - 1 - r) / r^2 interpolates at the Chebyshev points of |r| <= ln(2) / 2, which is
/// minimax but for a small factor (Muller, Elementary Functions, 3.2); its error is below 2^-61.
inline Doubles exponentOfPair(Pair x) {
  constexpr double kCoefficients[] = {0.5,
                                      0x1.5555555555557p-3,
                                      0x1.5555555555556p-5,
                                      0x1.11111111100dcp-7,
                                      0x1.6c16c16c162d4p-10,
                                      0x1.a01a01abe7fe1p-13,
                                      0x1.a01a01a6d889cp-16,
                                      0x1.71de0231960ebp-19,
                                      0x1.27e4db646b17ep-22,
                                      0x1.af4de97ca4194p-26,
                                      0x1.1f730349868cep-29};
  const Whole n = nearestWhole(x.high * 0x1.71547652b82fep+0);
  const Doubles r = (x.high - n.value * kLn2High) - (n.value * kLn2Low - x.low);
  const Doubles power = 1.0 + fma(r * r, polynomial(r, kCoefficients), r);
  // In two steps, so that each power of two is a normal number; only the second rounds, where it underflows.
  const Whole half = nearestWhole(0.5 * n.value), other = nearestWhole(n.value - half.value);
  return (power * powerOfTwo(half.bits)) * powerOfTwo(other.bits);
}

/// e^x within 1 ulp.
inline Doubles exponent(Doubles x) {
  const Doubles bounded = select(x > 712.0, all(712.0), select(x < -750.0, all(-750.0), x));
  return exponentOfPair({bounded, Doubles{}});
}

/// A positive normal number as 2^k (1 + f), with sqrt(1/2) <= 1 + f < sqrt(2).
struct Binary {
  Doubles k, f;
  Mask bad;  // not a positive normal number
};

inline Binary binaryOf(Doubles x) {
  constexpr unsigned long long kOne = 0x3ff0000000000000ULL, kRootOfHalf = 0x3fe6a09e667f3bcdULL;
  const Bits biased = (bitsOf(x) + (kOne - kRootOfHalf)) >> 52;
  const Doubles k = doublesOf(biased | 0x4330000000000000ULL) - (0x1p52 + 1023.0);
  const Doubles f = doublesOf(bitsOf(x) - (biased << 52) + kOne) - 1.0;
  return {k, f, ~((x >= 0x1p-1022) & (x <= 0x1.fffffffffffffp1023))};
}

/// log(1 + f) = f - f^2/2 + rest, as fdlibm does (e_log.c: s = f / (2 + f) and a minimax polynomial in s^2, error
/// below 2^-58).
struct LogParts {
  Doubles halfSquare, rest;
};

inline LogParts logParts(Doubles f) {
  constexpr double kCoefficients[] = {6.666666666666735130e-01, 3.999999999940941908e-01, 2.857142874366239149e-01,
                                      2.222219843214978396e-01, 1.818357216161805012e-01, 1.531383769920937332e-01,
                                      1.479819860511658591e-01};
  const Doubles halfSquare = 0.5 * f * f, s = f / (2.0 + f), z = s * s;
  return {halfSquare, s * fma(z, polynomial(z, kCoefficients), halfSquare)};
}

/// The natural logarithm within 1 ulp.
inline Doubles logarithm(Doubles x) {
  const Binary b = binaryOf(x);
  const LogParts parts = logParts(b.f);
  const Doubles value = b.k * kLn2High - ((parts.halfSquare - fma(b.k, all(kLn2Low), parts.rest)) - b.f);
  return repaired(b.bad, value, x, ::log);
}

/// k * unit + log(1 + f) / ln(base), both factors in two parts of which the first has 32 bits (FreeBSD, e_log2.c and
/// e_log10.c).
inline Doubles scaledLogarithm(const Binary& b, double unitHigh, double unitLow, double factorHigh, double factorLow) {
  const LogParts parts = logParts(b.f);
  const Doubles high = doublesOf(bitsOf(b.f - parts.halfSquare) & 0xffffffff00000000ULL);
  const Doubles low = ((b.f - high) - parts.halfSquare) + parts.rest;
  const Doubles whole = b.k * unitHigh, fraction = high * factorHigh;
  const Pair sum = fastTwoSum(whole, fraction);
  return sum.high + (sum.low + (b.k * unitLow + ((low + high) * factorLow + low * factorHigh)));
}

/// The logarithm to base 2 within 1 ulp; exact for powers of two.
inline Doubles logarithm2(Doubles x) {
  const Binary b = binaryOf(x);
  return repaired(b.bad, scaledLogarithm(b, 1.0, 0.0, 1.4426950407214463, 1.6751713164886512e-10), x, ::log2);
}

/// The logarithm to base 10 within 1 ulp.
inline Doubles logarithm10(Doubles x) {
  const Binary b = binaryOf(x);
  const Doubles value =
      scaledLogarithm(b, 0.3010299955494702, 1.1451100898021838e-10, 0.4342944818781689, 2.5082946711645275e-11);
  return repaired(b.bad, value, x, ::log10);
}

/// The natural logarithm of 2^k (1 + f) with a relative error below 2^-64: 2 artanh(s) for s = f / (2 + f), with s, s^2
/// and the first two terms in pairs (Dekker); the rest interpolates at Chebyshev points, error below 2^-66.
inline Pair logarithmInPairs(const Binary& b) {
  constexpr double kCoefficients[] = {0x1.999999999999ap-2, 0x1.2492492492521p-2, 0x1.c71c71c6eaa10p-3,
                                      0x1.745d177a96056p-3, 0x1.3b1395d2190c1p-3, 0x1.1118c7e4b0917p-3,
                                      0x1.df7cc8e5fa539p-4, 0x1.e02e6fff27908p-4};
  constexpr double kTwoThirds = 2.0 / 3.0, kTwoThirdsLow = 3.700743415417188e-17;
  const Doubles sum = b.f + 2.0, sumLow = b.f - (sum - 2.0), inverse = 1.0 / sum;
  const Doubles s = b.f * inverse;
  const Pair back = twoProduct(s, sum);
  const Doubles sLow = (((b.f - back.high) - back.low) - s * sumLow) * inverse;
  Pair square = twoProduct(s, s);
  square.low += 2.0 * s * sLow;
  Pair factor = fastTwoSum(all(kTwoThirds), square.high * polynomial(square.high, kCoefficients));
  factor.low += kTwoThirdsLow;
  Pair term = twoProduct(square.high, factor.high);
  term.low += square.high * factor.low + square.low * factor.high;
  Pair cubic = twoProduct(s, term.high);
  cubic.low += s * term.low + sLow * term.high;
  const Pair whole = fastTwoSum(b.k * kLn2High, 2.0 * s), value = fastTwoSum(whole.high, cubic.high);
  return fastTwoSum(value.high, value.low + (whole.low + (b.k * kLn2Low + (2.0 * sLow + cubic.low))));
}

/// x^y within 2 ulp: e^(y log x) with the logarithm and the product in pairs. Bases that are not positive normal
/// numbers and exponents that are not finite go to the C library.
inline Doubles power(Doubles x, Doubles y) {
  const Binary b = binaryOf(x);
  const Pair logarithm = logarithmInPairs(b);
  Pair product = twoProduct(y, logarithm.high);
  const Mask inside = absolute(product.high) < 750.0;
  product.low = select(inside, fma(y, logarithm.low, product.low), Doubles{});
  product.high = select(product.high > 712.0, all(712.0), select(product.high < -750.0, all(-750.0), product.high));
  Doubles value = exponentOfPair(product);
  const Mask bad = b.bad | ~(absolute(y) <= 0x1.fffffffffffffp1023);
  if (any(bad)) [[unlikely]] {
    for (int lane = 0; lane < kLanes; ++lane) {
      if (bad[lane]) value[lane] = ::pow(x[lane], y[lane]);
    }
  }
  return value;
}

}  // namespace tavdetail::TAV_INSTRUCTION_SET
