#include "evaluator/run_block.h"

namespace taveval {

Runner avx512Runner() { return TAV_INSTRUCTION_SET::runBlocks; }

}  // namespace taveval
