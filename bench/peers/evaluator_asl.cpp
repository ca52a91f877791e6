// The evaluator against the solver library of AMPL's authors (ASL), which reads .nl files. Its partially separable mode
// finds groups of equal structure. Its orders of columns and rows differ, so points, rows and multipliers are permuted
// here, which takes about a nanosecond per number.

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "bench/evaluator/benchmarks.h"
#include "bench/evaluator/library.h"
#include "bench/evaluator/nl_file.h"

extern "C" {
#include "asl_pfgh.h"
}
#undef f

namespace {

template <class ProblemType>
class AslWorld {
 public:
  static constexpr const char* kName = "ASL";
  static constexpr long kLargest = 100'000;
  using Problem = ProblemType;

  explicit AslWorld(const Problem& problem)
      : _n(problem.columns()),
        _m(problem.rows()),
        _file(_n, _m),
        _x(size(_n)),
        _lambda(size(_m) + 1),
        _values(size(std::max(_n, _m)) + 1) {
    std::string path = (std::filesystem::temp_directory_path() / "tavbenchXXXXXX.nl").string();
    close(mkstemps(path.data(), 3));
    problem.describe(_file);
    _file.write(path);
    read(path);
    unlink(path.c_str());
  }
  ~AslWorld() { ASL_free(&asl); }

  double objective(const double* x) {
    fint error = 0;
    _objectiveAt = x;
    return objval(0, permuted(x), &error);
  }
  void gradient(const double* x, double* values) {
    fint error = 0;
    objgrd(0, permuted(x), _values.data(), &error);
    for (int i = 0; i < _n; ++i) values[column(i)] = _values[size(i)];
  }
  void constraints(const double* x, double* g) {
    if (_m == 0) return;
    fint error = 0;
    _rowsAt = x;
    conval(permuted(x), _values.data(), &error);
    for (int i = 0; i < _m; ++i) g[row(i)] = _values[size(i)];
  }
  void jacobian(const double* x, double* values) {
    fint error = 0;
    if (_m > 0) jacval(permuted(x), values, &error);
  }
  /// ASL computes second derivatives at the point of the last values.
  void hessian(const double* x, double sigma, const double* lambda, double* values) {
    if (_objectiveAt != x) objective(x);
    if (_m > 0 && _rowsAt != x) constraints(x, _unused.data());
    for (int i = 0; i < _m; ++i) _lambda[size(i)] = lambda[row(i)];
    sphes(values, -1, &sigma, _m > 0 ? _lambda.data() : nullptr);
  }

  Places jacobianPlaces, hessianPlaces;

 private:
  static std::size_t size(int value) { return static_cast<std::size_t>(value); }
  int column(int place) const { return _file.columnAt[size(place)]; }
  int row(int place) const { return _file.rowAt[size(place)]; }
  double* permuted(const double* x) {
    for (int i = 0; i < _n; ++i) _x[size(i)] = x[column(i)];
    return _x.data();
  }
  void read(std::string path) {
    asl = ASL_alloc(ASL_read_pfgh);
    std::FILE* const nl = jac0dim(path.data(), static_cast<fint>(path.size() - 3));
    pfgh_read(nl, ASL_findgroups);
    sphsetup(-1, 1, _m > 0, 1);
    jacobianPlaces.resize(size(static_cast<int>(nzc)));
    for (int i = 0; i < _m; ++i) {
      for (const cgrad* c = Cgrad[i]; c != nullptr; c = c->next)
        jacobianPlaces[size(c->goff)] = {row(i), column(c->varno)};
    }
    for (int c = 0; c < _n; ++c) {
      for (auto k = sputinfo->hcolstarts[c]; k < sputinfo->hcolstarts[c + 1]; ++k) {
        const int a = column(c), b = column(static_cast<int>(sputinfo->hrownos[k]));
        hessianPlaces.emplace_back(std::max(a, b), std::min(a, b));
      }
    }
    _unused.resize(size(_m));
  }

  int _n, _m;
  NlFile _file;
  ASL* asl = nullptr;  // the macros of ASL's header require this name
  std::vector<double> _x, _lambda, _values, _unused;
  const double *_objectiveAt = nullptr, *_rowsAt = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmark<AllFive, Evaluator<PowerFlow>, AslWorld<PowerFlow>>("powerFlow", {1354});
  registerBenchmark<AllFive, Evaluator<Beam>, AslWorld<Beam>>("beam", {5'000});
  registerBenchmark<AllFive, Evaluator<Rosenbrock>, AslWorld<Rosenbrock>>("rosenbrock", {10'000});
  return runRaces(argc, argv);
}
