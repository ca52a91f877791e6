// Compiled for AVX2 and FMA where the target is x86-64; elsewhere this is the baseline once more, and nobody calls it.

#include "evaluator/functions_block.h"

namespace tavdetail {
const TavFunctions* functionsForAvx2() { return &TAV_INSTRUCTION_SET::kFunctions; }
}  // namespace tavdetail
