// From an empty program to a model in the solver's memory: the construction benchmark of modelling layers. Facility
// location with N + 1 points per side and N facilities, and linear-quadratic control on an N by N grid; contenders
// without non-linear expressions build only the linear parts. See docs/tavsolve_speed.md for the formulas.

#include <CoinModel.hpp>
#include <CoinPackedMatrix.hpp>
#include <OsiClpSolverInterface.hpp>
#include <memory>
#include <numbers>
#include <optional>

#include "bench/race.h"
#include "solve/engines/cbc.h"
#include "solve/engines/cbc_stream.h"
#ifdef TAV_HAVE_LEMON
#include <lemon/glpk.h>
#endif

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Writes the facility location problem into a sink: columns by blocks, rows term by term.
template <class Sink>
void facility(int g, bool cones, Sink& sink) {
  const double m = 2 * std::numbers::sqrt2;
  const int points = (g + 1) * (g + 1), pairs = points * g;
  const int y = sink.columns(2 * g, 0, 1), s = sink.columns(pairs, 0, kInfinity), z = sink.whole(pairs),
            r = sink.columns(2 * pairs, -kInfinity, kInfinity), d = sink.columns(1, -kInfinity, kInfinity);
  sink.cost(1, d);
  for (int point = 0; point < points; ++point) {
    sink.row();
    for (int f = 0; f < g; ++f) sink.add(1, z + point * g + f);
    sink.end(1, 1);
    const double at[] = {static_cast<double>(point / (g + 1)) / g, static_cast<double>(point % (g + 1)) / g};
    for (int f = 0; f < g; ++f) {
      const int pair = point * g + f;
      sink.row();
      sink.add(1, s + pair);
      sink.add(-1, d);
      sink.add(m, z + pair);
      sink.end(m, m);
      for (int k = 0; k < 2; ++k) {
        sink.row();
        sink.add(1, r + 2 * pair + k);
        sink.add(1, y + 2 * f + k);
        sink.end(at[k], at[k]);
      }
      if (cones) sink.cone(r + 2 * pair, r + 2 * pair + 1, s + pair);
    }
  }
}

/// Writes the control problem.
template <class Sink>
void control(int n, bool squares, Sink& sink) {
  const double dx = 1.0 / n, dt = 1.58 / n, h = dx * dx, a = 0.001;
  const int y = sink.columns((n + 1) * (n + 1), 0, 1), u = sink.columns(n, -1, 1) - 1;
  const auto at = [&](int i, int j) { return y + i * (n + 1) + j; };
  if (squares) {
    for (int j = 0; j <= n; ++j) {
      const double weight = j == 0 || j == n ? 1 : 2;
      sink.square(0.25 * dx * weight, at(n, j), 0.5 * (1 - (j * dx) * (j * dx)));
    }
    for (int i = 1; i <= n; ++i) sink.square(0.25 * a * dt * (i < n ? 2 : 1), u + i, 0);
  }
  for (int i = 0; i < n; ++i) {
    for (int j = 1; j < n; ++j) {
      sink.row();
      sink.add(1 / dt + 1 / h, at(i + 1, j));
      sink.add(-1 / dt + 1 / h, at(i, j));
      for (const int k : {i, i + 1}) {
        sink.add(-0.5 / h, at(k, j - 1));
        sink.add(-0.5 / h, at(k, j + 1));
      }
      sink.end(0, 0);
    }
  }
  for (int j = 0; j <= n; ++j) {
    sink.row();
    sink.add(1, at(0, j));
    sink.end(0, 0);
  }
  for (int i = 1; i <= n; ++i) {
    sink.row();
    sink.add(1, at(i, 2));
    sink.add(-4, at(i, 1));
    sink.add(3, at(i, 0));
    sink.end(0, 0);
    sink.row();
    sink.add(1, at(i, n - 2));
    sink.add(-4, at(i, n - 1));
    sink.add(3 + 2 * dx, at(i, n));
    sink.add(-2 * dx, u + i);
    sink.end(0, 0);
  }
}

/// A result that must be equal for all contenders: a sum over the matrix and the bounds in the solver's memory.
double figureOf(const OsiClpSolverInterface& solver) {
  const CoinPackedMatrix& matrix = *solver.getMatrixByCol();
  double total = solver.getNumIntegers();
  for (int j = 0; j < matrix.getNumCols(); ++j) {
    for (auto k = matrix.getVectorFirst(j); k < matrix.getVectorLast(j); ++k) {
      total += matrix.getElements()[k] * (1 + matrix.getIndices()[k] % 7) + j % 3;
    }
  }
  for (int i = 0; i < solver.getNumRows(); ++i) total += solver.getRowUpper()[i];
  return total;
}

class Engine final : public tavsolve::CbcEngineI {
 public:
  using CbcEngineI::CbcEngineI;
  const OsiClpSolverInterface& inMemory() const { return solver(); }
};

/// A model in memory, extracted into the engine over CLP, which then follows its modifications.
struct KeptModel {
  TavEnv env() const { return model.getEnv(); }
  int addColumn(TavNumVar column) {
    model.addColumn(column);
    return static_cast<int>(model.columns().size()) - 1;
  }
  TavNumVar column(int place) const { return model.columns()[static_cast<std::size_t>(place)]; }
  void addRow(double lb, TavExpr sum, double ub) { model.addRow(lb, sum, ub); }
  void load(TavExpr objective) {
    model.setObjective(objective, false);
    engine.emplace(model);
    engine->extract();
  }
  const OsiClpSolverInterface& solver() const { return engine->inMemory(); }

  tavsolve::Model model{};
  std::optional<Engine> engine{};
};

/// Rows that are released when the stream has taken their numbers.
struct StreamedRows {
  StreamedRows() = default;
  StreamedRows(const StreamedRows&) = delete;
  StreamedRows& operator=(const StreamedRows&) = delete;
  ~StreamedRows() { environment.end(); }
  TavEnv env() const { return environment; }
  int addColumn(TavNumVar column) { return stream.addColumn(column); }
  TavNumVar column(int place) const { return stream.columns()[static_cast<std::size_t>(place)]; }
  void addRow(double lb, TavExpr sum, double ub) { stream.addRow(lb, sum, ub); }
  void load(TavExpr objective) {
    stream.setObjective(objective, false);
    loaded = stream.load();
  }
  const OsiClpSolverInterface& solver() const { return *loaded; }

  TavEnv environment{};
  tavsolve::RowStream stream{};
  std::unique_ptr<OsiClpSolverInterface> loaded{};
};

/// Variables, sums and squares by the public calls.
template <class Rows>
class Expressions {
 public:
  int columns(int count, double lb, double ub) {
    return append(count, [&] { return TavNumVar(_env, lb, ub); });
  }
  int whole(int count) {
    return append(count, [&] { return TavBoolVar(_env); });
  }
  void cost(double coef, int column) { _objective += coef * _rows.column(column); }
  void row() { _sum = TavExpr(_env); }
  void add(double coef, int column) { _sum += coef * _rows.column(column); }
  void end(double lb, double ub) { _rows.addRow(lb, _sum, ub); }
  void cone(int a, int b, int s) {
    _cones.emplace_back(TavSquare(_rows.column(a)) + TavSquare(_rows.column(b)) - TavSquare(_rows.column(s)));
  }
  void square(double coef, int column, double shift) { _squares += coef * TavSquare(_rows.column(column) - shift); }
  void load() { _rows.load(_objective); }
  double figure() const { return figureOf(_rows.solver()); }

 private:
  template <class Make>
  int append(int count, Make make) {
    int last = -1;
    for (int i = 0; i < count; ++i) last = _rows.addColumn(make());
    return last + 1 - count;
  }

  Rows _rows{};
  TavEnv _env = _rows.env();
  TavExpr _objective{_env}, _sum, _squares{_env};
  std::vector<TavNumExpr> _cones{};
};
using Tavsolve = Expressions<KeptModel>;
using Streamed = Expressions<StreamedRows>;

/// Arrays filled by hand, which the solver copies.
class Arrays {
 public:
  static constexpr const char* kName = "arrays";
  static constexpr long kLargest = 2'000;
  int columns(int count, double lb, double ub) {
    _lower.resize(_lower.size() + static_cast<std::size_t>(count), lb);
    _upper.resize(_lower.size(), ub);
    _cost.resize(_lower.size());
    return static_cast<int>(_lower.size()) - count;
  }
  int whole(int count) {
    const int first = columns(count, 0, 1);
    for (int i = 0; i < count; ++i) _integers.push_back(first + i);
    return first;
  }
  void cost(double coef, int column) { _cost[static_cast<std::size_t>(column)] = coef; }
  void row() {}
  void add(double coef, int column) {
    _column.push_back(column);
    _value.push_back(coef);
  }
  void end(double lb, double ub) {
    _rowLower.push_back(lb);
    _rowUpper.push_back(ub);
    _start.push_back(static_cast<int>(_column.size()));
  }
  void cone(int a, int b, int s) {
    for (const auto& [column, coef] : {std::pair{a, 1.0}, {b, 1.0}, {s, -1.0}}) {
      _squareColumn.push_back(column);
      _squareValue.push_back(coef);
    }
  }
  void square(double coef, int column, double shift) {
    _squareColumn.push_back(column);
    _squareValue.push_back(coef);
    _squareShift.push_back(shift);
  }
  void load() {
    const CoinPackedMatrix matrix(false, static_cast<int>(_cost.size()), static_cast<int>(_rowLower.size()),
                                  static_cast<int>(_value.size()), _value.data(), _column.data(), _start.data(),
                                  nullptr);
    _solver.loadProblem(matrix, _lower.data(), _upper.data(), _cost.data(), _rowLower.data(), _rowUpper.data());
    if (!_integers.empty()) _solver.setInteger(_integers.data(), static_cast<int>(_integers.size()));
  }
  double figure() const { return figureOf(_solver); }

 private:
  std::vector<int> _start{0}, _column, _integers, _squareColumn;
  std::vector<double> _value, _lower, _upper, _cost, _rowLower, _rowUpper, _squareValue, _squareShift;
  OsiClpSolverInterface _solver;
};

/// CoinUtils' model builder.
class Builder {
 public:
  static constexpr const char* kName = "CoinModel";
  static constexpr long kLargest = 2'000;
  int columns(int count, double lb, double ub) {
    const int first = _model.numberColumns();
    for (int i = 0; i < count; ++i) _model.addColumn(0, nullptr, nullptr, lb, ub, 0.0);
    return first;
  }
  int whole(int count) {
    const int first = _model.numberColumns();
    for (int i = 0; i < count; ++i) _model.addColumn(0, nullptr, nullptr, 0.0, 1.0, 0.0, nullptr, true);
    return first;
  }
  void cost(double coef, int column) { _model.setColumnObjective(column, coef); }
  void row() {
    _column.clear();
    _value.clear();
  }
  void add(double coef, int column) {
    _column.push_back(column);
    _value.push_back(coef);
  }
  void end(double lb, double ub) {
    _model.addRow(static_cast<int>(_column.size()), _column.data(), _value.data(), lb, ub);
  }
  void cone(int, int, int) {}
  void square(double, int, double) {}
  void load() { _solver.loadFromCoinModel(_model); }
  double figure() const { return figureOf(_solver); }

 private:
  CoinModel _model;
  std::vector<int> _column;
  std::vector<double> _value;
  OsiClpSolverInterface _solver;
};

#ifdef TAV_HAVE_LEMON
/// LEMON's interface to GLPK.
class Lemon {
 public:
  static constexpr const char* kName = "LEMON";
  static constexpr long kLargest = 1'000;
  int columns(int count, double lb, double ub) {
    for (int i = 0; i < count; ++i) {
      const auto column = _lp.addCol();
      _lp.colLowerBound(column, lb);
      _lp.colUpperBound(column, ub);
      _columns.push_back(column);
    }
    return static_cast<int>(_columns.size()) - count;
  }
  int whole(int count) {
    _whole += count;
    return columns(count, 0, 1);
  }
  void cost(double coef, int column) { _lp.objCoeff(_columns[static_cast<std::size_t>(column)], coef); }
  void row() { _sum.clear(); }
  void add(double coef, int column) { _sum += coef * _columns[static_cast<std::size_t>(column)]; }
  void end(double lb, double ub) { _lp.addRow(lb, _sum, ub); }
  void cone(int, int, int) {}
  void square(double, int, double) {}
  void load() {}
  double figure() const {
    double total = _whole;
    for (lemon::LpBase::RowIt row(_lp); row != lemon::INVALID; ++row) {
      const lemon::LpBase::Expr terms = _lp.row(row);
      for (lemon::LpBase::Expr::ConstCoeffIt term(terms); term != lemon::INVALID; ++term) {
        total += *term * (1 + lemon::LpBase::id(row) % 7) + lemon::LpBase::id(term) % 3;
      }
      total += _lp.rowUpperBound(row);
    }
    return total;
  }

 private:
  lemon::GlpkLp _lp;
  std::vector<lemon::LpBase::Col> _columns{};
  lemon::LpBase::Expr _sum{};
  int _whole = 0;
};
#endif

/// A benchmark of one problem, for one contender.
template <class Sink>
struct Construction {
  static constexpr bool kCold = true;
  void prepare() {
    finish();
    chillMemory();
  }
  double result() { return sink->figure(); }
  void finish() { sink.reset(); }
  std::optional<Sink> sink{};
};

template <bool all, class Sink>
struct FacilityOf : Construction<Sink> {
  explicit FacilityOf(std::size_t size) : g(static_cast<int>(size)) {}
  std::size_t items() const { return static_cast<std::size_t>(2 * g + 4 * (g + 1) * (g + 1) * g + 1); }
  void run() {
    this->sink.emplace();
    facility(g, all, *this->sink);
    this->sink->load();
  }
  int g;
};
template <bool all, class Sink>
struct ControlOf : Construction<Sink> {
  explicit ControlOf(std::size_t size) : n(static_cast<int>(size)) {}
  std::size_t items() const { return static_cast<std::size_t>((n + 1) * (n + 1) + n); }
  void run() {
    this->sink.emplace();
    control(n, all, *this->sink);
    this->sink->load();
  }
  int n;
};
template <class Sink>
using Facility = FacilityOf<true, Sink>;
template <class Sink>
using FacilityRows = FacilityOf<false, Sink>;
template <class Sink>
using Control = ControlOf<true, Sink>;
template <class Sink>
using ControlRows = ControlOf<false, Sink>;

/// `side` is "" or what the names of benchmarks say of the library's side.
template <class Side, class Other>
void registerRows(const std::string& side) {
  registerBenchmark<FacilityRows, Side, Other>(("facilityRows" + side).c_str(), {25, 50, 75, 100});
  registerBenchmark<ControlRows, Side, Other>(("controlRows" + side).c_str(), {500, 1'000, 1'500, 2'000});
}

template <class Side>
void registerAll(const std::string& side) {
  registerBenchmark<Facility, Side, Arrays>(("facility" + side).c_str(), {25, 50, 75, 100});
  registerBenchmark<Control, Side, Arrays>(("control" + side).c_str(), {500, 1'000, 1'500, 2'000});
  registerRows<Side, Arrays>(side);
}

}  // namespace

int main(int argc, char** argv) {
  registerAll<Tavsolve>("");
  registerAll<Streamed>("Streamed");
  registerRows<Tavsolve, Builder>("");
#ifdef TAV_HAVE_LEMON
  registerRows<Tavsolve, Lemon>("");
#endif
  return runRaces(argc, argv);
}
