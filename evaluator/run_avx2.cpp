#include "evaluator/run_block.h"

namespace taveval {

Runner avx2Runner() { return TAV_INSTRUCTION_SET::runBlocks; }

}  // namespace taveval
