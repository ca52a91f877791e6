#pragma once
/// The benchmarks. Each is written once, as a side of a race, and works with every world that has its operations.

#include "bench/edit_benchmarks.h"
#include "bench/node_benchmarks.h"
#include "bench/row_benchmarks.h"

/// Registers every benchmark whose operations `Other` has.
template <class Other>
void registerBenchmarks() {
  using Sum = typename Other::Sum;
  const std::initializer_list<long> sizes{1'000, 100'000, 1'000'000, 10'000'000};
  // For benchmarks with eight operations per link, and for those in which every term needs its own variable.
  const std::initializer_list<long> toMillion{1'000, 100'000, 1'000'000};
  if constexpr (requires(Other world, Sum sum) { world.clear(sum); }) {
    registerBenchmark<BuildWarm, Library, Other>("buildWarm", sizes);
    registerBenchmark<BuildCold, Library, Other>("buildCold", sizes);
    registerBenchmark<Clear, Library, Other>("clear", sizes);
    registerBenchmark<RowsClear, Library, Other>("rowsClear", sizes);
  }
  if constexpr (requires(Other world) { world.newSum(); }) {
    registerBenchmark<RowsWarm, Library, Other>("rowsWarm", sizes);
    registerBenchmark<RowsCold, Library, Other>("rowsCold", sizes);
    registerBenchmark<RowsEnd, Library, Other>("rowsEnd", sizes);
    if constexpr (requires(Other world, Sum sum) { world.walk(sum); }) {
      registerBenchmark<RowsWalk, Library, Other>("rowsWalk", sizes);
    }
  }
  if constexpr (requires(Other world, Sum sum) { world.copy(sum); }) {
    registerBenchmark<CopySum, Library, Other>("copySum", sizes);
  }
  if constexpr (
      requires(Other world, Sum sum) { world.copy(sum); } || requires(Other world) { world.copyRows(); }) {
    registerBenchmark<RowsCopy, Library, Other>("rowsCopy", sizes);
  }
  if constexpr (requires(Other world) { world.tenTerms(0); }) {
    registerBenchmark<OneStatement, Library, Other>("oneStatement", sizes);
  }
  if constexpr (requires(Other world) { world.chained(); })
    registerBenchmark<Chained, Library, Other>("chained", sizes);
  if constexpr (requires(Other world) { world.scalProd(); })
    registerBenchmark<ScalProd, Library, Other>("scalProd", sizes);
  if constexpr (requires(Other world) { world.sumOfArray(); }) {
    registerBenchmark<SumOfArray, Library, Other>("sumOfArray", sizes);
  }
  if constexpr (requires(Other world, Sum sum) { world.normalize(sum); }) {
    registerBenchmark<BuildAndMerge, Library, Other>("buildAndMerge", sizes);
  }
  if constexpr (requires(Other world) { world.scatter(1); }) {
    registerBenchmark<MergeRecycled, Library, Other>("mergeRecycled", sizes);
    registerBenchmark<MergeFresh, Library, Other>("mergeFresh", sizes);
    registerBenchmark<MergeScattered, Library, Other>("mergeScattered", sizes);
    registerBenchmark<MergeByFields, Library, Other>("mergeByFields", sizes);
  }
  if constexpr (requires(Other world, Sum sum) { world.setCoefs(sum); }) {
    registerBenchmark<SetCoefs, Library, Other>("setCoefs", toMillion);
  }
  if constexpr (requires(Other world, Sum sum) { world.remove(sum); }) {
    registerBenchmark<Remove, Library, Other>("remove", toMillion);
  }
  if constexpr (requires(Other world, Sum sum) { world.eval(sum); }) {
    registerBenchmark<EvalSum, Library, Other>("evalSum", sizes);
  }
  if constexpr (requires(Other world) { world.rosenbrock(); }) {
    registerBenchmark<ChainCold, Library, Other>("chainCold", toMillion);
    registerBenchmark<ChainWarm, Library, Other>("chainWarm", toMillion);
    registerBenchmark<ChainEval, Library, Other>("chainEval", toMillion);
    registerBenchmark<ChainEnd, Library, Other>("chainEnd", toMillion);
  }
  if constexpr (requires(Other world) { world.newTarget(); })
    registerBenchmark<CloneRows, Library, Other>("cloneRows", sizes);
  if constexpr (requires(Other world) { world.makeArray(1); }) {
    registerBenchmark<VariablesArray, Library, Other>("variablesArray", sizes);
  }
  if constexpr (requires(Other world) { world.makeOneByOne(1); }) {
    registerBenchmark<VariablesOneByOne, Library, Other>("variablesOneByOne", sizes);
  }
  if constexpr (requires(Other world) { world.makeNamed(1); }) {
    registerBenchmark<VariablesNamed, Library, Other>("variablesNamed", sizes);
  }
  if constexpr (requires(Other world, Sum sum, std::ostream & os) { world.print(os, sum); }) {
    registerBenchmark<Print, Library, Other>("print", sizes);
    registerBenchmark<PrintFixed, Library, Other>("printFixed", sizes);
  }
}
