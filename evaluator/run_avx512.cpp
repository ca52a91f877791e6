#include "evaluator/run_block.h"

namespace taveval {

BlockRunner avx512Runner() { return TAV_INSTRUCTION_SET::kBlockRunner; }

}  // namespace taveval
