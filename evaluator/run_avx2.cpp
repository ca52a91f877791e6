#include "evaluator/run_block.h"
#include "evaluator/run_tape.h"

namespace taveval {

BlockRunner avx2Runner() { return TAV_INSTRUCTION_SET::kRunner; }

}  // namespace taveval
