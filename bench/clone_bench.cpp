// Cloning a model of n rows of ten terms into another environment, in new memory.

#include <memory>

#include "bench/race.h"

namespace {

constexpr TavInt kRowLength = 10;

struct LibraryClone {
  TavEnv source;
  std::vector<TavExpr> rows;
  TavEnv target{nullptr};

  void prepare() {
    chillMemory();
    target = TavEnv();
  }
  void run() {
    TavClonePass pass(source.getImpl(), target.getImpl());
    for (const TavExpr& row : rows) benchmark::DoNotOptimize(pass.clone(row.getImpl()));
  }
  void finish() { target.end(); }
};

struct HandClone {
  std::vector<hand::Sum*> rows;
  std::unique_ptr<hand::Env> target;

  void prepare() {
    chillMemory();
    target = std::make_unique<hand::Env>();
  }
  void run() {
    hand::CloneMap map;
    for (const hand::Sum* row : rows) {
      hand::Node* copy = hand::clone(row, target.get(), map);
      map[row] = copy;
    }
  }
  void finish() { target.reset(); }
};

void cloneRows(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Pair pair(state.range(0));
  LibraryClone library{pair.env, {}};
  HandClone byHand;
  for (std::size_t r = 0; r < count; ++r) {
    TavExpr row(pair.env);
    hand::Sum* handRow = hand::newSum(&pair.handEnv, 0.0);
    for (std::size_t i = 0; i < kRowLength; ++i) {
      const std::size_t column = (r * 7 + i * 13) % count;
      row += coefAt(i) * pair.vars[column];
      hand::add(handRow, hand::times(pair.handVars[column], coefAt(i)));
    }
    library.rows.push_back(row);
    byHand.rows.push_back(handRow);
  }
  race(state, kRowLength * state.range(0), library, byHand);
}
BENCHMARK(cloneRows)->Arg(100)->Arg(10'000)->Arg(100'000)->UseManualTime();

}  // namespace
