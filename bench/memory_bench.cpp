// Making variables in new memory; and the bytes that variables, terms, rows and nodes take.

#include <unistd.h>

#include <fstream>
#include <memory>

#include "bench/race.h"

namespace {

struct ArrayOfVariables {
  TavInt count;
  TavEnv env{nullptr};
  void prepare() {
    chillMemory();
    env = TavEnv();
  }
  void run() { benchmark::DoNotOptimize(TavNumVarArray(env, count, 0.0, 10.0).getImpl()); }
  void finish() { env.end(); }
};

struct OneByOne {
  TavInt count;
  bool named;
  TavEnv env{nullptr};
  std::vector<TavNumVar> vars{};
  void prepare() {
    chillMemory();
    env = TavEnv();
    vars.clear();
  }
  void run() {
    for (TavInt i = 0; i < count; ++i) {
      vars.emplace_back(env, 0.0, 10.0, TavNumVar::Float, named ? "a_variable" : nullptr);
    }
  }
  void finish() { env.end(); }
};

struct HandVariables {
  TavInt count;
  bool named;
  std::unique_ptr<hand::Env> env{};
  std::vector<hand::Var*> vars{};
  void prepare() {
    chillMemory();
    env = std::make_unique<hand::Env>();
    vars.clear();
  }
  void run() {
    hand::Domain* domain = hand::newDomain(env.get(), 0.0, 10.0);
    for (TavInt i = 0; i < count; ++i) {
      vars.push_back(hand::newVar(env.get(), domain, named ? "a_variable" : nullptr));
    }
  }
  void finish() { env.reset(); }
};

void variablesArray(benchmark::State& state) {
  ArrayOfVariables library{state.range(0)};
  HandVariables byHand{state.range(0), false};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(variablesArray)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

void variablesOneByOne(benchmark::State& state) {
  OneByOne library{state.range(0), false};
  HandVariables byHand{state.range(0), false};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(variablesOneByOne)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

void variablesNamed(benchmark::State& state) {
  OneByOne library{state.range(0), true};
  HandVariables byHand{state.range(0), true};
  race(state, state.range(0), library, byHand);
}
BENCHMARK(variablesNamed)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

// ---- bytes

/// Bytes of the process that are in memory.
double residentBytes() {
  std::ifstream file("/proc/self/statm");
  double size = 0.0, resident = 0.0;
  file >> size >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// Bytes in the environment's blocks and cells.
double blockBytes(TavEnv env) {
  TavEnvI* impl = env.getImpl();
  const auto cells = static_cast<TavInt>(sizeof(TavNumLinExprTermI)) * impl->liveTermCount();
  return static_cast<double>(impl->getMemory()->usedBytes() + cells);
}

/// Reports what `make(env, n)` takes per item: `blocks` in the environment's blocks, `resident` in memory that was
/// touched.
template <class Make>
void countBytes(benchmark::State& state, Make make) {
  const auto items = static_cast<double>(state.range(0));
  for (auto _ : state) {
    chillMemory();
    TavEnv env;
    TavNumVarArray vars(env, 1000, 0.0, 10.0);
    const double blocks = blockBytes(env);
    const double resident = residentBytes();
    make(env, vars, state.range(0));
    state.counters["resident"] = (residentBytes() - resident) / items;
    state.counters["blocks"] = (blockBytes(env) - blocks) / items;
    env.end();
  }
}

void bytesPerVariable(benchmark::State& state) {
  countBytes(state, [](TavEnv env, TavNumVarArray, TavInt n) { TavNumVarArray(env, n, 0.0, 10.0); });
}
BENCHMARK(bytesPerVariable)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->Iterations(1);

void bytesPerTerm(benchmark::State& state) {
  countBytes(state, [](TavEnv env, TavNumVarArray vars, TavInt n) {
    TavExpr sum(env);
    for (TavInt i = 0; i < n; ++i) sum += 2 * vars[i % 1000];
  });
}
BENCHMARK(bytesPerTerm)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->Iterations(1);

void bytesPerTermInRowsOfTen(benchmark::State& state) {
  countBytes(state, [](TavEnv env, TavNumVarArray vars, TavInt n) {
    for (TavInt r = 0; r < n; r += 10) {
      TavExpr row(env);
      for (TavInt i = 0; i < 10; ++i) row += 2 * vars[i];
    }
  });
}
BENCHMARK(bytesPerTermInRowsOfTen)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->Iterations(1);

void bytesPerProduct(benchmark::State& state) {
  countBytes(state, [](TavEnv, TavNumVarArray vars, TavInt n) {
    TavNumExprArg chain = vars[0];
    for (TavInt i = 0; i < n; ++i) chain = chain * vars[1];
  });
}
BENCHMARK(bytesPerProduct)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->Iterations(1);

}  // namespace
