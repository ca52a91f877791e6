// GiNaC's symbolic expressions. A long sum is made from a vector of terms: adding one at a time would copy it each
// time.

#include <ginac/ginac.h>

#include "bench/benchmarks.h"

namespace {

class Ginac {
 public:
  static constexpr const char* kName = "GiNaC";
  static constexpr long kLargest = 100'000;
  struct Sum {
    GiNaC::exvector terms{};
    GiNaC::ex sum{};
  };
  using Node = GiNaC::ex;

  explicit Ginac(std::size_t variables, bool = true) { makeNamed(variables); }

  std::size_t size() const { return _symbols.size(); }
  void makeNamed(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) _symbols.emplace_back(nameOf(i));
  }

  Sum newSum() { return Sum(); }
  void add(Sum& sum, std::size_t i, double coef) { sum.terms.push_back(coef * _symbols[i]); }
  void seal(Sum& sum) {
    sum.sum = GiNaC::add(sum.terms);
    sum.terms.clear();
  }
  void clear(Sum& sum) { sum.sum = 0; }
  void end(Sum& sum) { sum.sum = 0; }
  Sum tenTerms(std::size_t first) {
    const GiNaC::symbol* x = &_symbols[first];
    return {{},
            2.5 * x[0] + 3.5 * x[1] + 4.5 * x[2] + 5.5 * x[3] + 6.5 * x[4] + 7.5 * x[5] + 8.5 * x[6] + 9.5 * x[7] +
                10.5 * x[8] + 11.5 * x[9]};
  }
  double eval(const Sum& sum) { return evalNode(sum.sum); }
  /// Terms are printed in GiNaC's own order, numbers with more digits.
  double print(std::ostream& os, const Sum& sum) {
    os << sum.sum;
    return std::nan("");
  }

  Node rosenbrock() {
    GiNaC::exvector terms;
    for (std::size_t i = 0; i + 1 < size(); ++i) {
      terms.push_back(100 * GiNaC::pow(_symbols[i + 1] - GiNaC::pow(_symbols[i], 2), 2));
      terms.push_back(GiNaC::pow(1 - _symbols[i], 2));
    }
    return GiNaC::add(terms);
  }
  double evalNode(const Node& node) {
    if (_values.empty()) {
      const std::vector<double> values = someValues(size());
      for (std::size_t i = 0; i < size(); ++i) _values[_symbols[i]] = values[i];
    }
    return GiNaC::ex_to<GiNaC::numeric>(node.subs(_values, GiNaC::subs_options::no_pattern).evalf()).to_double();
  }
  void endNode(Node& node) { node = 0; }

 private:
  std::vector<GiNaC::symbol> _symbols{};
  GiNaC::exmap _values{};
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<Ginac>();
  return runRaces(argc, argv);
}
