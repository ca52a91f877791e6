// The evaluator against ADOL-C. As Debian builds it, without ColPack, its own sparse drivers stop the program. This
// program therefore takes the patterns from the work by hand, colours them, and uses ADOL-C's compressed products
// (fov_forward, hess_mat). The multipliers are parameters of the Lagrangian's tape.

#include <adolc/adolc.h>
#include <adolc/param.h>

#include <algorithm>
#include <filesystem>

#include "bench/evaluator/benchmarks.h"
#include "bench/evaluator/library.h"

/// Found by its argument.
inline adouble sqr(const adouble& a) { return a * a; }

namespace {

/// A dense matrix by rows, as the drivers require it.
struct Matrix {
  Matrix(int rows, int columns) : values(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns)) {
    for (int i = 0; i < rows; ++i)
      at.push_back(values.data() + static_cast<std::size_t>(i) * static_cast<std::size_t>(columns));
  }
  std::vector<double> values;
  std::vector<double*> at;
};

/// Groups of columns of which no two have an entry in the same row, found greedily.
class Colouring {
 public:
  Colouring(int rows, int columns, const Places& places) : colours(static_cast<std::size_t>(columns), -1) {
    std::vector<std::vector<int>> byRow(static_cast<std::size_t>(rows)), byColumn(colours.size());
    for (const auto& [row, column] : places) {
      byRow[static_cast<std::size_t>(row)].push_back(column);
      byColumn[static_cast<std::size_t>(column)].push_back(row);
    }
    std::vector<int> takenBy;
    for (int column = 0; column < columns; ++column) {
      for (const int row : byColumn[static_cast<std::size_t>(column)]) {
        for (const int other : byRow[static_cast<std::size_t>(row)]) {
          const int colour = colours[static_cast<std::size_t>(other)];
          if (colour >= 0) takenBy[static_cast<std::size_t>(colour)] = column;
        }
      }
      const auto free = std::find_if(takenBy.begin(), takenBy.end(), [&](int by) { return by != column; });
      colours[static_cast<std::size_t>(column)] = static_cast<int>(free - takenBy.begin());
      if (free == takenBy.end()) takenBy.push_back(-1);
    }
    count = std::max(1, static_cast<int>(takenBy.size()));
    seeds = std::make_unique<Matrix>(columns, count);
    for (std::size_t i = 0; i < colours.size(); ++i) seeds->at[i][colours[i]] = 1;
  }

  std::vector<int> colours;
  int count = 0;
  std::unique_ptr<Matrix> seeds;
};

/// Receives a problem's description while a tape records.
struct Recorder {
  std::vector<adouble> columns, rows;  // the objective comes first
  adouble x(int column) const { return columns[static_cast<std::size_t>(column)]; }
  void constant(int row, double value) { rows[static_cast<std::size_t>(row + 1)] += value; }
  void linear(int row, double coefficient, int column) { add(row, coefficient * x(column)); }
  void add(int row, const adouble& term) { rows[static_cast<std::size_t>(row + 1)] += term; }
};

Places bothTriangles(const Places& lower) {
  Places both = lower;
  for (const auto& [row, column] : lower) {
    if (row != column) both.emplace_back(column, row);
  }
  return both;
}

template <class ProblemType>
class AdolcWorld {
 public:
  static constexpr const char* kName = "ADOL-C";
  static constexpr long kLargest = 100'000;
  using Problem = ProblemType;

  explicit AdolcWorld(const Problem& problem) : AdolcWorld(problem, ByHand<Problem>(problem)) {}

  double objective(const double* x) {
    double value = 0;
    function(kObjectiveTape, 1, _n, const_cast<double*>(x), &value);
    return value;
  }
  void gradient(const double* x, double* values) { ::gradient(kObjectiveTape, _n, x, values); }
  void constraints(const double* x, double* g) {
    if (_m > 0) function(kRowsTape, _m, _n, const_cast<double*>(x), g);
  }
  void jacobian(const double* x, double* values) {
    if (_m == 0) return;
    fov_forward(kRowsTape, _m, _n, _jacobianColours.count, x, _jacobianColours.seeds->at.data(), _rows.data(),
                _jacobianProducts.at.data());
    for (std::size_t k = 0; k < jacobianPlaces.size(); ++k) {
      const auto [row, column] = jacobianPlaces[k];
      values[k] = _jacobianProducts
                      .at[static_cast<std::size_t>(row)][_jacobianColours.colours[static_cast<std::size_t>(column)]];
    }
  }
  void hessian(const double* x, double sigma, const double* lambda, double* values) {
    _weights[0] = sigma;
    std::copy(lambda, lambda + _m, _weights.begin() + 1);
    set_param_vec(kLagrangianTape, static_cast<std::size_t>(_m) + 1, _weights.data());
    hess_mat(kLagrangianTape, _n, _hessianColours.count, const_cast<double*>(x), _hessianColours.seeds->at.data(),
             _hessianProducts.at.data());
    for (std::size_t k = 0; k < hessianPlaces.size(); ++k) {
      const auto [row, column] = hessianPlaces[k];
      values[k] =
          _hessianProducts.at[static_cast<std::size_t>(row)][_hessianColours.colours[static_cast<std::size_t>(column)]];
    }
  }

  Places jacobianPlaces, hessianPlaces;

 private:
  static constexpr short kObjectiveTape = 1, kRowsTape = 2, kLagrangianTape = 3;

  AdolcWorld(const Problem& problem, const ByHand<Problem>& byHand)
      : jacobianPlaces(byHand.jacobianPlaces),
        hessianPlaces(byHand.hessianPlaces),
        _n(problem.columns()),
        _m(problem.rows()),
        _jacobianColours(_m, _n, jacobianPlaces),
        _hessianColours(_n, _n, bothTriangles(hessianPlaces)),
        _jacobianProducts(_m, _jacobianColours.count),
        _hessianProducts(_n, _hessianColours.count),
        _rows(static_cast<std::size_t>(_m)),
        _weights(static_cast<std::size_t>(_m) + 1, 1.0) {
    // Sorted without duplicates: the lists by hand may repeat a position, ADOL-C computes its whole value once.
    for (Places* places : {&jacobianPlaces, &hessianPlaces}) {
      std::sort(places->begin(), places->end());
      places->erase(std::unique(places->begin(), places->end()), places->end());
    }
    for (const short tape : {kObjectiveTape, kRowsTape, kLagrangianTape}) record(problem, tape);
  }

  void record(const Problem& problem, short tape) {
    const std::vector<double> start = problem.start();
    double value = 0;
    // Buffers for the whole tape in memory: ADOL-C writes what does not fit to files.
    const auto room = static_cast<unsigned>(200 * (_n + _m) + 1000);
    trace_on(tape, 0, room, room, room, room, 1);
    {
      Recorder recorder{std::vector<adouble>(start.size()), std::vector<adouble>(static_cast<std::size_t>(_m) + 1)};
      for (std::size_t i = 0; i < start.size(); ++i) recorder.columns[i] <<= start[i];
      for (adouble& row : recorder.rows) row = 0.0;
      problem.describe(recorder);
      if (tape == kObjectiveTape) recorder.rows[0] >>= value;
      if (tape == kRowsTape) {
        for (std::size_t i = 1; i < recorder.rows.size(); ++i) recorder.rows[i] >>= value;
      }
      if (tape == kLagrangianTape) {
        adouble sum = recorder.rows[0] * mkparam(1.0);
        for (std::size_t i = 1; i < recorder.rows.size(); ++i) sum += recorder.rows[i] * mkparam(1.0);
        sum >>= value;
      }
    }
    trace_off();
  }

  int _n, _m;
  Colouring _jacobianColours, _hessianColours;
  Matrix _jacobianProducts, _hessianProducts;
  std::vector<double> _rows, _weights;
};

}  // namespace

int main(int argc, char** argv) {
  // ADOL-C writes what does not fit into its buffers to files in the current folder.
  std::filesystem::current_path(std::filesystem::temp_directory_path());
  registerBenchmark<AllFive, Evaluator<PowerFlow>, AdolcWorld<PowerFlow>>("powerFlow", {1354});
  registerBenchmark<AllFive, Evaluator<Beam>, AdolcWorld<Beam>>("beam", {5'000});
  registerBenchmark<AllFive, Evaluator<Rosenbrock>, AdolcWorld<Rosenbrock>>("rosenbrock", {10'000});
  registerBenchmark<Values, Evaluator<Rosenbrock>, AdolcWorld<Rosenbrock>>("rosenbrockValues", {10'000});
  return runRaces(argc, argv);
}
