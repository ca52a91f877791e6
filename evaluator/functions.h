#pragma once
/// Elementary functions of arrays, by the widest vectors that the processor has.

#pragma GCC visibility push(default)

namespace tavdetail {

/// The instruction sets that the library has code for, from narrow to wide.
enum class TavInstructionSet {
  Baseline,  ///< what the compiler's target promises; on x86-64 SSE2, two doubles
  Avx2,      ///< AVX2 with FMA, four doubles
  Avx512,    ///< AVX-512 F and DQ, eight doubles
};

/// The functions for one instruction set. Each reads `count` numbers and writes as many; a result may take the place of
/// an argument. The error of a result is at most 2 ulp, for the others below 1; special values are those of the C
/// library.
struct TavFunctions {
  using Unary = void (*)(const double* x, double* result, int count);

  void (*sineCosine)(const double* x, double* sine, double* cosine, int count);
  void (*power)(const double* base, const double* exponent, double* result, int count);
  Unary sine, cosine, tangent, exponent, logarithm, logarithm2, logarithm10;
};

/// The functions for `set`; null where it is wider than the widest.
const TavFunctions* functionsFor(TavInstructionSet set);

/// The widest set that the processor has, up to the limit below.
TavInstructionSet widestInstructionSet();

/// From now on no set wider than `widest` is chosen; for tests and benchmarks. Not to be called beside other threads.
void limitInstructionSet(TavInstructionSet widest);

}  // namespace tavdetail

#pragma GCC visibility pop
