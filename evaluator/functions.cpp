#include "evaluator/functions.h"

#include "evaluator/functions_block.h"

namespace tavdetail {

const TavFunctions* functionsForAvx2();
const TavFunctions* functionsForAvx512();

TavInstructionSet widestInstructionSet() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq")) return TavInstructionSet::Avx512;
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return TavInstructionSet::Avx2;
#endif
  return TavInstructionSet::Baseline;
}

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
