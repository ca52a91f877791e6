// Building rows of ten terms, each with a node of its own, in recycled memory and in new memory; and ending them.

#include <memory>

#include "bench/race.h"

namespace {

constexpr TavInt kRowLength = 10;

/// The variable of position i in a row, spread over a thousand.
std::size_t column(std::size_t row, TavInt i) { return (row * 7 + static_cast<std::size_t>(i) * 13) % 1000; }

void fill(TavEnv env, const std::vector<TavNumVar>& vars, std::vector<TavExpr>& rows) {
  for (std::size_t r = 0; r < rows.size(); ++r) {
    TavExpr row(env);
    for (TavInt i = 0; i < kRowLength; ++i) row += coefAt(r) * vars[column(r, i)];
    rows[r] = row;
  }
}

void fill(hand::Env* env, const std::vector<hand::Var*>& vars, std::vector<hand::Sum*>& rows) {
  for (std::size_t r = 0; r < rows.size(); ++r) {
    hand::Sum* row = hand::newSum(env, 0.0);
    ++row->count;
    for (TavInt i = 0; i < kRowLength; ++i) hand::add(row, hand::times(vars[column(r, i)], coefAt(r)));
    rows[r] = row;
  }
}

void end(std::vector<TavExpr>& rows) {
  for (TavExpr& row : rows) row.end();
}

void end(std::vector<hand::Sum*>& rows) {
  for (hand::Sum* row : rows) hand::release(row);
}

struct LibraryRows {
  LibraryRows(Pair& both, TavInt count) : pair(both), rows(static_cast<std::size_t>(count)) {}
  void make() { fill(pair.env, pair.vars, rows); }
  void drop() { end(rows); }
  Pair& pair;
  std::vector<TavExpr> rows;
};

struct HandRows {
  HandRows(Pair& both, TavInt count) : pair(both), rows(static_cast<std::size_t>(count)) {}
  void make() { fill(&pair.handEnv, pair.handVars, rows); }
  void drop() { end(rows); }
  Pair& pair;
  std::vector<hand::Sum*> rows;
};

template <class Rows>
struct Build : Rows {
  using Rows::Rows;
  void prepare() {}
  void run() { this->make(); }
  void finish() { this->drop(); }
};

template <class Rows>
struct Destroy : Rows {
  using Rows::Rows;
  void prepare() { this->make(); }
  void run() { this->drop(); }
  void finish() {}
};

template <template <class> class Work>
void raceRows(benchmark::State& state) {
  Pair pair(1000);
  Work<LibraryRows> library(pair, state.range(0));
  Work<HandRows> byHand(pair, state.range(0));
  race(state, kRowLength * state.range(0), library, byHand);
}
void rowsWarm(benchmark::State& state) { raceRows<Build>(state); }
BENCHMARK(rowsWarm)->Arg(100)->Arg(10'000)->Arg(100'000)->UseManualTime();
void destroyRows(benchmark::State& state) { raceRows<Destroy>(state); }
BENCHMARK(destroyRows)->Arg(100)->Arg(10'000)->Arg(100'000)->UseManualTime();

struct ColdLibrary {
  explicit ColdLibrary(TavInt count) : rows(static_cast<std::size_t>(count)) {}
  void prepare() {
    chillMemory();
    pair = std::make_unique<Pair>(1000);
  }
  void run() { fill(pair->env, pair->vars, rows); }
  void finish() { pair.reset(); }
  std::unique_ptr<Pair> pair;
  std::vector<TavExpr> rows;
};

struct ColdHand {
  explicit ColdHand(TavInt count) : rows(static_cast<std::size_t>(count)) {}
  void prepare() {
    chillMemory();
    pair = std::make_unique<Pair>(1000);
  }
  void run() { fill(&pair->handEnv, pair->handVars, rows); }
  void finish() { pair.reset(); }
  std::unique_ptr<Pair> pair;
  std::vector<hand::Sum*> rows;
};

void rowsCold(benchmark::State& state) {
  ColdLibrary library(state.range(0));
  ColdHand byHand(state.range(0));
  race(state, kRowLength * state.range(0), library, byHand);
}
BENCHMARK(rowsCold)->Arg(100)->Arg(10'000)->Arg(100'000)->UseManualTime();

}  // namespace
