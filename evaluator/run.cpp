#include "evaluator/run.h"

#include "evaluator/functions.h"
#include "evaluator/run_block.h"
#include "evaluator/run_tape.h"

namespace taveval {

BlockRunner avx2Runner();
BlockRunner avx512Runner();

[[gnu::flatten]] void runSingles(const Shape& shape, const Program& program, const Task& task, std::uint32_t first,
                                 std::uint32_t end) {
  TAV_INSTRUCTION_SET::Machine<TAV_INSTRUCTION_SET::Single>(shape, program, task).run(first, end);
}

BlockRunner blockRunner() {
  switch (tavdetail::widestInstructionSet()) {
    case tavdetail::TavInstructionSet::Avx512:
      return avx512Runner();
    case tavdetail::TavInstructionSet::Avx2:
      return avx2Runner();
    default:
      return TAV_INSTRUCTION_SET::kRunner;
  }
}

}  // namespace taveval
