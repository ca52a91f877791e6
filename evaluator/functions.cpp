#include "evaluator/functions.h"

#include <algorithm>

#include "evaluator/functions_block.h"

namespace tavdetail {

const TavFunctions* functionsForAvx2();
const TavFunctions* functionsForAvx512();

namespace {

TavInstructionSet widestOfProcessor() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq")) return TavInstructionSet::Avx512;
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return TavInstructionSet::Avx2;
#endif
  return TavInstructionSet::Baseline;
}

TavInstructionSet limit = TavInstructionSet::Avx512;

}  // namespace

TavInstructionSet widestInstructionSet() { return std::min(widestOfProcessor(), limit); }

void limitInstructionSet(TavInstructionSet widest) { limit = widest; }

const TavFunctions* functionsFor(TavInstructionSet set) {
  if (set > widestInstructionSet()) return nullptr;
  switch (set) {
    case TavInstructionSet::Avx512:
      return functionsForAvx512();
    case TavInstructionSet::Avx2:
      return functionsForAvx2();
    default:
      return &TAV_INSTRUCTION_SET::kFunctions;
  }
}

}  // namespace tavdetail
