// Loading a model into tavsolve's solver: by extraction, and from arrays that already exist. Both make the solver.

#include <CoinPackedMatrix.hpp>
#include <OsiClpSolverInterface.hpp>

#include "bench/benchmarks.h"
#include "solve/engines/cbc.h"

namespace {

/// Rows of ten non-zeros over as many columns as there are rows.
TavFileModel someModel(std::size_t nonZeros) {
  const std::size_t rows = nonZeros / kRowLength;
  TavFileModel file;
  file.objectives.emplace_back();
  for (std::size_t r = 0; r < rows; ++r) {
    file.variables.push_back({0.0, 10.0, TavFileKind::Continuous});
    file.objectives[0].linear.push_back({static_cast<std::int32_t>(r), coefAt(r)});
    file.rows.push_back({0.0, 100.0});
    for (std::size_t i = 0; i < kRowLength; ++i) {
      file.linearVariable.push_back(static_cast<std::int32_t>((r * 7 + i * 13) % rows));
      file.linearValue.push_back(coefAt(i));
    }
    file.linearBegin.push_back(file.linearVariable.size());
  }
  return file;
}

class Tavsolve {
 public:
  explicit Tavsolve(const TavFileModel& file) : _model(file) {}
  void prepare() { _engine.emplace(_model); }
  void load() { _engine->extract(); }
  void finish() { _engine.reset(); }

 private:
  tavsolve::Model _model;
  std::optional<tavsolve::CbcEngineI> _engine;
};

class Arrays {
 public:
  static constexpr const char* kName = "arrays";
  static constexpr long kLargest = 10'000'000;

  explicit Arrays(const TavFileModel& file)
      : _start(file.linearBegin.begin(), file.linearBegin.end()),
        _column(file.linearVariable.begin(), file.linearVariable.end()),
        _value(file.linearValue.begin(), file.linearValue.end()) {
    for (const auto& column : file.variables) {
      _columnLower.push_back(column.lower);
      _columnUpper.push_back(column.upper);
    }
    for (const auto& term : file.objectives[0].linear) _cost.push_back(term.value);
    for (const auto& row : file.rows) {
      _rowLower.push_back(row.lower);
      _rowUpper.push_back(row.upper);
    }
  }
  void prepare() {}
  void load() {
    _solver.emplace();
    const CoinPackedMatrix matrix(false, static_cast<int>(_cost.size()), static_cast<int>(_rowLower.size()),
                                  static_cast<int>(_value.size()), _value.data(), _column.data(), _start.data(),
                                  nullptr);
    _solver->loadProblem(matrix, _columnLower.data(), _columnUpper.data(), _cost.data(), _rowLower.data(),
                         _rowUpper.data());
  }
  void finish() { _solver.reset(); }

 private:
  std::vector<int> _start, _column;
  std::vector<double> _value;
  std::vector<double> _columnLower{}, _columnUpper{}, _cost{}, _rowLower{}, _rowUpper{};
  std::optional<OsiClpSolverInterface> _solver;
};

template <class Side>
struct Extract : Plain {
  explicit Extract(std::size_t nonZeros) : count(nonZeros), side(someModel(nonZeros)) {}
  std::size_t items() const { return count; }
  void prepare() { side.prepare(); }
  void run() { side.load(); }
  double result() { return std::nan(""); }
  void finish() { side.finish(); }
  std::size_t count;
  Side side;
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmark<Extract, Tavsolve, Arrays>("extract", {1'000, 100'000, 1'000'000, 10'000'000});
  return runRaces(argc, argv);
}
