// Gecode's MiniModel: sums are trees of reference-counted nodes. Copies share them, so the copying benchmarks are
// omitted, as are the operations that need a posted expression.

#include <gecode/int.hh>
#include <gecode/minimodel.hh>

#include "bench/benchmarks.h"

namespace {

class MiniModel {
 public:
  static constexpr const char* kName = "Gecode";
  /// Trees are freed by recursion.
  static constexpr long kLargest = 100'000;
  using Sum = Gecode::LinIntExpr;

  explicit MiniModel(std::size_t variables) { makeOneByOne(variables); }

  std::size_t size() const { return static_cast<std::size_t>(_vars.size()); }
  void makeOneByOne(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) _vars << Gecode::IntVar(_space, 0, 10);
  }
  void makeArray(std::size_t count) { _vars = Gecode::IntVarArgs(_space, static_cast<int>(count), 0, 10); }

  Sum newSum() { return Sum(0); }
  void add(Sum& sum, std::size_t i, double coef) { sum = sum + static_cast<int>(coef) * at(i); }
  void clear(Sum& sum) { sum = Sum(0); }
  void end(Sum& sum) { sum = Sum(0); }
  Sum tenTerms(std::size_t first) {
    const Gecode::IntVar* x = &at(first);
    return 2 * x[0] + 3 * x[1] + 4 * x[2] + 5 * x[3] + 6 * x[4] + 7 * x[5] + 8 * x[6] + 9 * x[7] + 10 * x[8] +
           11 * x[9];
  }
  Sum chained() {
    Sum e = static_cast<int>(coefAt(0)) * at(0);
    for (std::size_t i = 1; i < size(); ++i) e = e + static_cast<int>(coefAt(i)) * at(i);
    return e;
  }
  void makeArrays() {
    for (std::size_t i = 0; i < size(); ++i) _coefs << static_cast<int>(coefAt(i));
  }
  Sum scalProd() { return Gecode::sum(_coefs, _vars); }
  Sum sumOfArray() { return Gecode::sum(_vars); }

 private:
  class Space : public Gecode::Space {
   public:
    Space() = default;
    Gecode::Space* copy() override { return new Space(*this); }
  };
  const Gecode::IntVar& at(std::size_t i) const { return _vars[static_cast<int>(i)]; }

  Space _space;
  Gecode::IntVarArgs _vars{};
  Gecode::IntArgs _coefs{};
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<MiniModel>();
  return runRaces(argc, argv);
}
