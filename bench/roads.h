#pragma once
/// The roads: each is written once, as the sides of a race, for every world that has its operations.

#include "bench/edit_roads.h"
#include "bench/node_roads.h"
#include "bench/row_roads.h"

/// Enters every road that Other has the operations for.
template <class Other>
void enterRoads() {
  using Sum = typename Other::Sum;
  const std::initializer_list<long> sizes{1'000, 100'000, 1'000'000, 10'000'000};
  // For links of eight operations each, and where every term needs a variable of its own.
  const std::initializer_list<long> toMillion{1'000, 100'000, 1'000'000};
  if constexpr (requires(Other world, Sum sum) { world.clear(sum); }) {
    enterRoad<BuildWarm, Library, Other>("buildWarm", sizes);
    enterRoad<BuildCold, Library, Other>("buildCold", sizes);
    enterRoad<Clear, Library, Other>("clear", sizes);
    enterRoad<RowsClear, Library, Other>("rowsClear", sizes);
  }
  if constexpr (requires(Other world) { world.newSum(); }) {
    enterRoad<RowsWarm, Library, Other>("rowsWarm", sizes);
    enterRoad<RowsCold, Library, Other>("rowsCold", sizes);
    enterRoad<RowsEnd, Library, Other>("rowsEnd", sizes);
    if constexpr (requires(Other world, Sum sum) { world.walk(sum); }) {
      enterRoad<RowsWalk, Library, Other>("rowsWalk", sizes);
    }
  }
  if constexpr (requires(Other world, Sum sum) { world.copy(sum); }) {
    enterRoad<CopySum, Library, Other>("copySum", sizes);
  }
  if constexpr (
      requires(Other world, Sum sum) { world.copy(sum); } || requires(Other world) { world.copyRows(); }) {
    enterRoad<RowsCopy, Library, Other>("rowsCopy", sizes);
  }
  if constexpr (requires(Other world) { world.tenTerms(0); }) {
    enterRoad<OneStatement, Library, Other>("oneStatement", sizes);
  }
  if constexpr (requires(Other world) { world.chained(); }) enterRoad<Chained, Library, Other>("chained", sizes);
  if constexpr (requires(Other world) { world.scalProd(); }) enterRoad<ScalProd, Library, Other>("scalProd", sizes);
  if constexpr (requires(Other world) { world.sumOfArray(); }) {
    enterRoad<SumOfArray, Library, Other>("sumOfArray", sizes);
  }
  if constexpr (requires(Other world, Sum sum) { world.normalize(sum); }) {
    enterRoad<BuildAndMerge, Library, Other>("buildAndMerge", sizes);
  }
  if constexpr (requires(Other world) { world.scatter(1); }) {
    enterRoad<MergeRecycled, Library, Other>("mergeRecycled", sizes);
    enterRoad<MergeFresh, Library, Other>("mergeFresh", sizes);
    enterRoad<MergeScattered, Library, Other>("mergeScattered", sizes);
    enterRoad<MergeByFields, Library, Other>("mergeByFields", sizes);
  }
  if constexpr (requires(Other world, Sum sum) { world.setCoefs(sum); }) {
    enterRoad<SetCoefs, Library, Other>("setCoefs", toMillion);
  }
  if constexpr (requires(Other world, Sum sum) { world.remove(sum); }) {
    enterRoad<Remove, Library, Other>("remove", toMillion);
  }
  if constexpr (requires(Other world, Sum sum) { world.eval(sum); }) {
    enterRoad<EvalSum, Library, Other>("evalSum", sizes);
  }
  if constexpr (requires(Other world) { world.rosenbrock(); }) {
    enterRoad<ChainCold, Library, Other>("chainCold", toMillion);
    enterRoad<ChainWarm, Library, Other>("chainWarm", toMillion);
    enterRoad<ChainEval, Library, Other>("chainEval", toMillion);
    enterRoad<ChainEnd, Library, Other>("chainEnd", toMillion);
  }
  if constexpr (requires(Other world) { world.newTarget(); }) enterRoad<CloneRows, Library, Other>("cloneRows", sizes);
  if constexpr (requires(Other world) { world.makeArray(1); }) {
    enterRoad<VariablesArray, Library, Other>("variablesArray", sizes);
  }
  if constexpr (requires(Other world) { world.makeOneByOne(1); }) {
    enterRoad<VariablesOneByOne, Library, Other>("variablesOneByOne", sizes);
  }
  if constexpr (requires(Other world) { world.makeNamed(1); }) {
    enterRoad<VariablesNamed, Library, Other>("variablesNamed", sizes);
  }
  if constexpr (requires(Other world, Sum sum, std::ostream & os) { world.print(os, sum); }) {
    enterRoad<Print, Library, Other>("print", sizes);
    enterRoad<PrintFixed, Library, Other>("printFixed", sizes);
  }
}
