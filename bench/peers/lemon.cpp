// LEMON's expressions over the columns of a linear program: a map from column to coefficient.

#include <lemon/lp_skeleton.h>

#include "bench/benchmarks.h"

namespace {

class Lemon {
 public:
  static constexpr const char* kName = "LEMON";
  static constexpr long kLargest = 1'000'000;
  using Sum = lemon::LpBase::Expr;

  explicit Lemon(std::size_t variables) : _values(someValues(variables)) { makeOneByOne(variables); }

  std::size_t size() const { return _columns.size(); }
  void makeOneByOne(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) _columns.push_back(_lp.addCol());
  }

  Sum newSum() { return Sum(); }
  void add(Sum& sum, std::size_t i, double coef) { sum += coef * _columns[i]; }
  void clear(Sum& sum) { sum.clear(); }
  void end(Sum& sum) { sum.clear(); }
  double walk(const Sum& sum) const {
    double total = 0.0;
    for (Sum::ConstCoeffIt it(sum); it != lemon::INVALID; ++it) {
      total += *it * static_cast<double>(lemon::LpBase::id(it));
    }
    return total;
  }
  Sum copy(const Sum& sum) { return sum; }
  double eval(const Sum& sum) {
    double total = 0.0;
    for (Sum::ConstCoeffIt it(sum); it != lemon::INVALID; ++it) {
      total += *it * _values[static_cast<std::size_t>(lemon::LpBase::id(it))];
    }
    return *sum + total;
  }
  Sum tenTerms(std::size_t first) {
    const lemon::LpBase::Col* x = &_columns[first];
    return 2.5 * x[0] + 3.5 * x[1] + 4.5 * x[2] + 5.5 * x[3] + 6.5 * x[4] + 7.5 * x[5] + 8.5 * x[6] + 9.5 * x[7] +
           10.5 * x[8] + 11.5 * x[9];
  }
  /// The map is always merged; only zeros remain to be removed.
  double normalize(Sum& sum) {
    sum.simplify();
    return 0.0;
  }
  void setCoefs(Sum& sum) {
    for (std::size_t i = 0; i < _columns.size(); ++i) sum[_columns[i]] = coefAt(i);
  }
  void remove(Sum& sum) {
    for (std::size_t i = 1; i < _columns.size(); i += 2) sum.set(_columns[i], 0.0);
  }
  void makeArrays() {}

 private:
  lemon::LpSkeleton _lp;
  std::vector<lemon::LpBase::Col> _columns{};
  std::vector<double> _values;
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<Lemon>();
  return runRaces(argc, argv);
}
