// The evaluator against the same values and derivatives written by hand, and against the expressions as objects.

#include "bench/evaluator/benchmarks.h"
#include "bench/evaluator/library.h"

namespace {

/// The work by hand, raced against evaluator code for the instruction sets that every x86-64 has.
template <class Problem>
struct BesideBaseline : ByHand<Problem> {
  static constexpr const char* kName = "hand_sse2";
  using ByHand<Problem>::ByHand;
};

template <class Problem>
using Baseline = Evaluator<Problem, tavdetail::TavInstructionSet::Baseline>;

template <class Problem>
struct BesideAvx2 : ByHand<Problem> {
  static constexpr const char* kName = "hand_avx2";
  using ByHand<Problem>::ByHand;
};

template <class Problem>
using Avx2 = Evaluator<Problem, tavdetail::TavInstructionSet::Avx2>;

template <class Problem>
void registerProblem(const std::string& name, std::initializer_list<long> sizes) {
  using Library = Evaluator<Problem>;
  using Hand = ByHand<Problem>;
  registerBenchmark<AllFive, Library, Hand>(name.c_str(), sizes);
  registerBenchmark<AllFive, Avx2<Problem>, BesideAvx2<Problem>>(name.c_str(), sizes);
  registerBenchmark<AllFive, Baseline<Problem>, BesideBaseline<Problem>>(name.c_str(), sizes);
  registerBenchmark<Fused, Library, Hand>((name + "Fused").c_str(), sizes);
  registerBenchmark<Values, Library, Hand>((name + "Values").c_str(), sizes);
  registerBenchmark<Values, Library, Objects<Problem>>((name + "Values").c_str(), sizes);
  if (Problem(2).rows() > 0) registerBenchmark<Jacobian, Library, Hand>((name + "Jacobian").c_str(), sizes);
  registerBenchmark<Hessian, Library, Hand>((name + "Hessian").c_str(), sizes);
  registerBenchmark<Compile, Library, Hand>((name + "Compile").c_str(), sizes);
}

}  // namespace

int main(int argc, char** argv) {
  registerProblem<PowerFlow>("powerFlow", {118, 1354, 10'000});
  registerProblem<Beam>("beam", {5'000, 50'000});
  registerProblem<Rosenbrock>("rosenbrock", {10'000, 100'000});
  registerBenchmark<AllFive, Evaluator<RandomRows>, ByHand<RandomRows>>("random", {RandomRows::kRows});
  registerBenchmark<Values, Evaluator<RandomRows>, ByHand<RandomRows>>("randomValues", {RandomRows::kRows});
  registerBenchmark<Compile, Evaluator<RandomRows>, ByHand<RandomRows>>("randomCompile", {RandomRows::kRows});
  registerBenchmark<Values, Evaluator<RandomRows>, Objects<RandomRows>>("randomValues", {RandomRows::kRows});
  return runRaces(argc, argv);
}
