// Printing a sum of n terms over named variables, against inserting the same pieces into the stream.

#include <sstream>

#include "bench/race.h"

namespace {

/// A stream that keeps its buffer from one round to the next.
struct Sink {
  std::ostringstream os;
  void prepare() { os.seekp(0); }
  void finish() {}
};

struct LibraryPrint : Sink {
  explicit LibraryPrint(const TavExpr& expression) : sum(expression) {}
  TavExpr sum;
  void run() { os << sum; }
};

struct HandPrint : Sink {
  explicit HandPrint(const hand::Sum* expression) : sum(expression) {}
  const hand::Sum* sum;
  void run() { hand::print(os, sum); }
};

void printSum(benchmark::State& state) {
  Pair pair(state.range(0), true);
  TavExpr sum(pair.env);
  hand::Sum* handSum = hand::newSum(&pair.handEnv, 0.0);
  for (std::size_t i = 0; i < pair.vars.size(); ++i) {
    const double coef = static_cast<double>(i) / 7.0;
    sum += (1.0 + coef) * pair.vars[i];
    hand::add(handSum, hand::times(pair.handVars[i], 1.0 + coef));
  }
  LibraryPrint library(sum);
  HandPrint byHand(handSum);
  race(state, state.range(0), library, byHand);
  if (library.os.str() != byHand.os.str()) state.SkipWithError("the two texts differ");
}
BENCHMARK(printSum)->Arg(1'000)->Arg(100'000)->Arg(1'000'000)->UseManualTime();

}  // namespace
