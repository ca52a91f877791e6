#pragma once
/// Loops over arrays around the vector functions; included once by a translation unit for each instruction set.

#include "evaluator/functions.h"
#include "evaluator/vector_functions.h"

namespace tavdetail::TAV_INSTRUCTION_SET {

// What is left when `count` is no multiple of the width is copied into a vector.

template <auto Function>
void mapUnary(const double* x, double* result, int count) {
  int i = 0;
  for (; i + kLanes <= count; i += kLanes) store(result + i, Function(load(x + i)));
  if (i == count) return;
  Doubles rest{};
  for (int k = i; k < count; ++k) rest[k - i] = x[k];
  rest = Function(rest);
  for (int k = i; k < count; ++k) result[k] = rest[k - i];
}

inline void mapSineCosine(const double* x, double* sines, double* cosines, int count) {
  int i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    const SineCosine value = sineCosine(load(x + i));
    store(sines + i, value.sine);
    store(cosines + i, value.cosine);
  }
  Doubles rest{};
  for (int k = i; k < count; ++k) rest[k - i] = x[k];
  const SineCosine value = sineCosine(rest);
  for (int k = i; k < count; ++k) {
    sines[k] = value.sine[k - i];
    cosines[k] = value.cosine[k - i];
  }
}

inline void mapPower(const double* bases, const double* exponents, double* result, int count) {
  int i = 0;
  for (; i + kLanes <= count; i += kLanes) store(result + i, power(load(bases + i), load(exponents + i)));
  Doubles restOfBases = all(1.0), restOfExponents{};
  for (int k = i; k < count; ++k) {
    restOfBases[k - i] = bases[k];
    restOfExponents[k - i] = exponents[k];
  }
  const Doubles value = power(restOfBases, restOfExponents);
  for (int k = i; k < count; ++k) result[k] = value[k - i];
}

inline constexpr TavFunctions kFunctions{
    mapSineCosine,        mapPower,           mapUnary<sine>,      mapUnary<cosine>,
    mapUnary<tangent>,    mapUnary<exponent>, mapUnary<logarithm>, mapUnary<logarithm2>,
    mapUnary<logarithm10>};

}  // namespace tavdetail::TAV_INSTRUCTION_SET
