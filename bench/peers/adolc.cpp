// ADOL-C's tapes: an expression is recorded as it is computed, and evaluated by replaying the record.

#include <adolc/adouble.h>
#include <adolc/drivers/drivers.h>
#include <adolc/interfaces.h>
#include <adolc/taping.h>

#include "bench/benchmarks.h"

namespace {

class Adolc {
 public:
  static constexpr const char* kName = "ADOL-C";
  static constexpr long kLargest = 1'000'000;
  /// No sums; a tape's number.
  struct Sum {};
  using Node = short;

  explicit Adolc(std::size_t variables) : _values(someValues(variables)) {}

  std::size_t size() const { return _values.size(); }
  Node rosenbrock() {
    // Buffers for the whole tape in memory: ADOL-C writes what does not fit to files.
    const auto room = static_cast<unsigned>(64 * size() + 1000);
    trace_on(kTape, 0, room, room, room, room, 1);
    std::vector<adouble> x(size());
    for (std::size_t i = 0; i < size(); ++i) x[i] <<= _values[i];
    adouble total = 0.0;
    for (std::size_t i = 0; i + 1 < size(); ++i) {
      const adouble gap = x[i + 1] - x[i] * x[i];
      const adouble rest = 1.0 - x[i];
      total += 100.0 * (gap * gap);
      total += rest * rest;
    }
    double value = 0.0;
    total >>= value;
    trace_off();
    return kTape;
  }
  double evalNode(Node tape) {
    double value = 0.0;
    ::function(tape, 1, static_cast<int>(size()), _values.data(), &value);
    return value;
  }
  void endNode(Node tape) { removeTape(tape, ADOLC_REMOVE_COMPLETELY); }

 private:
  static constexpr short kTape = 1;
  std::vector<double> _values;
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<Adolc>();
  return runRaces(argc, argv);
}
