#include "fit.h"

#include <IpIpoptApplication.hpp>
#include <IpTNLP.hpp>
#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace {

using Ipopt::Index;
using Ipopt::Number;

/// The point at which the residuals are evaluated.
class Point final : public TavAlgorithmI {
 public:
  Point(TavEnv env, const std::vector<TavNumVar>& parameters)
      : TavAlgorithmI(env.getImpl()), values(parameters.size()) {
    for (std::size_t i = 0; i < parameters.size(); ++i) _place[parameters[i].getImpl()] = i;
  }
  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override { return values[_place.at(variable)]; }

  std::vector<double> values;

 private:
  std::unordered_map<const TavNumVarI*, std::size_t> _place;
};

/// The problem as Ipopt asks for it: no constraints, no bounds.
class Problem final : public Ipopt::TNLP {
 public:
  Problem(TavEnv env, const LeastSquares& problem, const std::vector<double>& start)
      : _residuals(problem.residuals), _start(start), _point(env, problem.parameters) {}

  Fit result;

  bool get_nlp_info(Index& n, Index& m, Index& jacobian, Index& hessian, IndexStyleEnum& style) override {
    n = size();
    m = jacobian = 0;
    hessian = n * (n + 1) / 2;
    style = C_STYLE;
    return true;
  }
  bool get_bounds_info(Index n, Number* lower, Number* upper, Index, Number*, Number*) override {
    std::fill_n(lower, n, -2e19);  // what Ipopt takes for infinite
    std::fill_n(upper, n, 2e19);
    return true;
  }
  bool get_starting_point(Index, bool, Number* x, bool, Number*, Number*, Index, bool, Number*) override {
    std::copy(_start.begin(), _start.end(), x);
    return true;
  }
  bool eval_f(Index n, const Number* x, bool, Number& value) override {
    value = 0;
    for (double residual : residualsAt({x, x + n})) value += residual * residual;
    return true;
  }
  bool eval_grad_f(Index n, const Number* x, bool, Number* gradient) override {
    const std::vector<double> residuals = residualsAt({x, x + n});
    const auto slopes = slopesAt({x, x + n});
    for (std::size_t i = 0; i < slopes.size(); ++i) gradient[i] = 2 * product(slopes[i], residuals);
    return true;
  }
  bool eval_g(Index, const Number*, bool, Index, Number*) override { return true; }
  bool eval_jac_g(Index, const Number*, bool, Index, Index, Index*, Index*, Number*) override { return true; }
  bool eval_h(Index n, const Number* x, bool, Number factor, Index, const Number*, bool, Index, Index* rows,
              Index* columns, Number* values) override {
    const auto slopes = values ? slopesAt({x, x + n}) : std::vector<std::vector<double>>();
    Index entry = 0;
    for (Index i = 0; i < n; ++i) {
      for (Index j = 0; j <= i; ++j, ++entry) {
        if (values) {
          values[entry] =
              2 * factor * product(slopes[static_cast<std::size_t>(i)], slopes[static_cast<std::size_t>(j)]);
        } else {
          rows[entry] = i;
          columns[entry] = j;
        }
      }
    }
    return true;
  }
  void finalize_solution(Ipopt::SolverReturn, Index n, const Number* x, const Number*, const Number*, Index,
                         const Number*, const Number*, Number value, const Ipopt::IpoptData*,
                         Ipopt::IpoptCalculatedQuantities*) override {
    result.parameters.assign(x, x + n);
    result.sumOfSquares = value;
  }

 private:
  Index size() const { return static_cast<Index>(_start.size()); }

  static double product(const std::vector<double>& a, const std::vector<double>& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
  }
  std::vector<double> residualsAt(std::vector<double> x) {
    _point.values = std::move(x);
    std::vector<double> values;
    for (const TavNumExpr& residual : _residuals) values.push_back(residual.eval(&_point));
    return values;
  }
  /// For each parameter the derivatives of all residuals.
  std::vector<std::vector<double>> slopesAt(const std::vector<double>& x) {
    std::vector<std::vector<double>> slopes;
    for (std::size_t i = 0; i < x.size(); ++i) {
      // The third root of the precision balances rounding against the third derivative.
      const double step = 6e-6 * std::max(std::fabs(x[i]), 1e-6);
      std::vector<double> above = x, below = x;
      above[i] += step;
      below[i] -= step;
      std::vector<double> slope = residualsAt(above);
      const std::vector<double> low = residualsAt(below);
      for (std::size_t k = 0; k < slope.size(); ++k) slope[k] = (slope[k] - low[k]) / (above[i] - below[i]);
      slopes.push_back(std::move(slope));
    }
    return slopes;
  }

  std::vector<TavNumExpr> _residuals;
  std::vector<double> _start;
  Point _point;
};

}  // namespace

Fit fit(TavEnv env, const LeastSquares& problem, const std::vector<double>& start) {
  const Ipopt::SmartPtr<Problem> nlp = new Problem(env, problem, start);
  const Ipopt::SmartPtr<Ipopt::IpoptApplication> solver = IpoptApplicationFactory();
  solver->Options()->SetIntegerValue("print_level", 0);
  solver->Options()->SetStringValue("sb", "yes");  // no banner
  solver->Options()->SetNumericValue("tol", 1e-11);
  Ipopt::ApplicationReturnStatus status = solver->Initialize();
  if (status == Ipopt::Solve_Succeeded) status = solver->OptimizeTNLP(Ipopt::SmartPtr<Ipopt::TNLP>(GetRawPtr(nlp)));
  nlp->result.converged = status == Ipopt::Solve_Succeeded;
  if (!nlp->result.converged) nlp->result.failure = "Ipopt ended with status " + std::to_string(status);
  return nlp->result;
}
