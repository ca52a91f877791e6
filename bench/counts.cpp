// Runs each hot path of the library once under callgrind, which writes a file of counts for each: bench/counts.py reads
// them.

#include <valgrind/callgrind.h>

#include <string>

#include "bench/benchmarks.h"

namespace {

constexpr std::size_t kSize = 1000;

template <template <class> class Benchmark>
void count(const std::string& name) {
  Benchmark<Library> bench(kSize);
  const std::string title = name + "/" + std::to_string(bench.items());
  // The first run grows the pools and registers the types.
  bench.prepare();
  bench.run();
  bench.finish();
  bench.prepare();
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  bench.run();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(title.c_str());  // read after this statement
  bench.finish();
}

}  // namespace

int main() {
  count<BuildWarm>("buildWarm");
  count<RowsWarm>("rowsWarm");
  count<RowsWalk>("rowsWalk");
  count<RowsCopy>("rowsCopy");
  count<RowsClear>("rowsClear");
  count<RowsEnd>("rowsEnd");
  count<OneStatement>("oneStatement");
  count<Chained>("chained");
  count<ScalProd>("scalProd");
  count<SumOfArray>("sumOfArray");
  count<CopySum>("copySum");
  count<MergeRecycled>("mergeRecycled");
  count<MergeByFields>("mergeByFields");
  count<SetCoefs>("setCoefs");
  count<Remove>("remove");
  count<EvalSum>("evalSum");
  count<ChainWarm>("chainWarm");
  count<ChainEval>("chainEval");
  count<ChainEnd>("chainEnd");
  count<CloneRows>("cloneRows");
  count<VariablesArray>("variablesArray");
  count<VariablesOneByOne>("variablesOneByOne");
  count<VariablesNamed>("variablesNamed");
  count<Print>("print");
  count<PrintFixed>("printFixed");
}
