#pragma once
/// Vectors of doubles in the width of the instruction set that this translation unit is compiled for.
///
/// Everything here lies in a namespace named for the instruction set: one program holds a copy for each, and the linker
/// never takes the code of one for another. For the same reason a unit of a wider instruction set calls no inline
/// function of the standard library.

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#if defined(__AVX512F__) && defined(__AVX512DQ__)
#define TAV_INSTRUCTION_SET avx512
#define TAV_VECTOR_BYTES 64
#elif defined(__AVX2__) && defined(__FMA__)
#define TAV_INSTRUCTION_SET avx2
#define TAV_VECTOR_BYTES 32
#else
#define TAV_INSTRUCTION_SET baseline
#define TAV_VECTOR_BYTES 16
#endif

namespace tavdetail::TAV_INSTRUCTION_SET {

using Doubles [[gnu::vector_size(TAV_VECTOR_BYTES)]] = double;
/// The type of comparisons: all bits of a lane are set where the comparison holds.
using Mask = decltype(Doubles{} < Doubles{});
using Bits [[gnu::vector_size(TAV_VECTOR_BYTES)]] = unsigned long long;

inline constexpr int kLanes = TAV_VECTOR_BYTES / 8;
/// Whether `fma` rounds once.
inline constexpr bool kFused = TAV_VECTOR_BYTES > 16;

inline Doubles all(double value) { return value - Doubles{}; }
inline Bits bitsOf(Doubles value) { return (Bits)value; }
inline Bits allBits(unsigned long long value) { return value | Bits{}; }
inline Doubles doublesOf(Bits value) { return (Doubles)value; }

/// a where the mask holds, b elsewhere.
inline Doubles select(Mask mask, Doubles a, Doubles b) { return mask ? a : b; }

inline Doubles absolute(Doubles value) { return doublesOf(bitsOf(value) & 0x7fffffffffffffffULL); }

inline Doubles load(const double* from) {
  Doubles value;
  __builtin_memcpy(&value, from, sizeof value);
  return value;
}

inline void store(double* to, Doubles value) { __builtin_memcpy(to, &value, sizeof value); }

/// a * b + c; rounded once where the processor can.
inline Doubles fma(Doubles a, Doubles b, Doubles c) {
#if TAV_VECTOR_BYTES == 64
  return (Doubles)_mm512_fmadd_pd((__m512d)a, (__m512d)b, (__m512d)c);
#elif TAV_VECTOR_BYTES == 32
  return (Doubles)_mm256_fmadd_pd((__m256d)a, (__m256d)b, (__m256d)c);
#else
  return a * b + c;
#endif
}

/// Whether the mask holds in any lane.
inline bool any(Mask mask) {
#if TAV_VECTOR_BYTES == 64
  return _mm512_movepi64_mask((__m512i)mask) != 0;
#elif TAV_VECTOR_BYTES == 32
  return _mm256_movemask_pd((__m256d)mask) != 0;
#elif defined(__x86_64__)
  return _mm_movemask_pd((__m128d)mask) != 0;
#else
  return (mask[0] | mask[1]) != 0;
#endif
}

/// A value and what rounding has taken from it: high + low, with |low| at most half an ulp of high.
struct Pair {
  Doubles high, low;
};

/// a + b without error, for |a| >= |b| or a == 0 (Dekker, A floating-point technique for extending the available
/// precision, 1971).
inline Pair fastTwoSum(Doubles a, Doubles b) {
  const Doubles sum = a + b;
  return {sum, b - (sum - a)};
}

/// a * b without error, or with one of at most 2^-106 of it without fused operations (Veltkamp's splitting, by bits).
inline Pair twoProduct(Doubles a, Doubles b) {
  const Doubles product = a * b;
  if constexpr (kFused) return {product, fma(a, b, -product)};
  constexpr unsigned long long kUpperBits = 0xfffffffff8000000ULL;
  const Doubles aHigh = doublesOf(bitsOf(a) & kUpperBits), aLow = a - aHigh;
  const Doubles bHigh = doublesOf(bitsOf(b) & kUpperBits), bLow = b - bHigh;
  return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

/// c[0] + c[1] x + ... + c[N - 1] x^(N - 1), by Horner's rule.
template <int N>
inline Doubles polynomial(Doubles x, const double (&c)[N]) {
  Doubles sum = all(c[N - 1]);
  for (int k = N - 2; k >= 0; --k) sum = fma(sum, x, all(c[k]));
  return sum;
}

/// The nearest whole number to a value of less than 2^51, as a double and in the low bits of `bits`.
struct Whole {
  Doubles value;
  Bits bits;
};

inline Whole nearestWhole(Doubles value) {
  constexpr double kShift = 0x1.8p52;  // numbers of this size have no fraction
  const Doubles shifted = value + kShift;
  return {shifted - kShift, bitsOf(shifted)};
}

/// 2 to a whole power within the exponents of normal numbers.
inline Doubles powerOfTwo(Bits exponent) { return doublesOf((exponent + 1023) << 52); }

}  // namespace tavdetail::TAV_INSTRUCTION_SET
