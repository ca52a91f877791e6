#pragma once
/// The functions of a model as solvers of non-linear models ask for them.

#include <chrono>
#include <cmath>
#include <exception>
#include <span>
#include <string>
#include <vector>

#include "evaluator/tavevaluator.h"

namespace tavsolve {

/// What Ipopt and Bonmin take for infinite.
constexpr double kSolverInfinity = 2e19;

/// A point, with the multipliers of its bounds and rows where they are known.
struct PrimalDualPoint {
  std::vector<double> values{};
  /// Of the columns' bounds, not negative, and of the rows; empty where they are not known.
  std::vector<double> lower{}, upper{}, rows{};
};

/// Values and derivatives of a minimised objective and of rows, with bounds and a start.
struct Functions {
  Functions(TavEvaluator& compiled, bool maximise)
      : evaluator(compiled), evaluation(compiled), sign(maximise ? -1.0 : 1.0) {}

  TavEvaluator& evaluator;
  TavEvaluation evaluation;
  /// -1 where the model maximises: the solvers minimise.
  double sign;
  std::vector<double> columnLower{}, columnUpper{}, rowLower{}, rowUpper{};
  PrimalDualPoint start{};
  /// Time spent in evaluation.
  double seconds = 0.0;
  /// What the last evaluation threw; empty when it did not.
  std::string failure{};
};

/// Implements the calls that Ipopt's TNLP and Bonmin's TMINLP, the Base, declare alike.
template <class Base, class Index, class Number>
class FunctionCalls : public Base {
 public:
  explicit FunctionCalls(Functions& functions) : _functions(functions) {}

  template <class Style>
  void sizes(Index& n, Index& m, Index& jacobian, Index& hessian, Style& style, Style fromZero) const {
    n = static_cast<Index>(_functions.evaluator.getColumnCount());
    m = static_cast<Index>(_functions.evaluator.getRowCount());
    jacobian = static_cast<Index>(_functions.evaluator.getJacobianStructure().size());
    hessian = static_cast<Index>(_functions.evaluator.getHessianStructure().size());
    style = fromZero;
  }
  bool get_bounds_info(Index, Number* lower, Number* upper, Index, Number* least, Number* most) override {
    copy(_functions.columnLower, lower);
    copy(_functions.columnUpper, upper);
    copy(_functions.rowLower, least);
    copy(_functions.rowUpper, most);
    return true;
  }
  bool get_starting_point(Index n, bool wantsValues, Number* x, bool wantsBounds, Number* lower, Number* upper, Index m,
                          bool wantsRows, Number* lambda) override {
    if (wantsValues) copy(_functions.start.values, x);
    if (wantsBounds) copyOr(_functions.start.lower, lower, n, 1.0);
    if (wantsBounds) copyOr(_functions.start.upper, upper, n, 1.0);
    if (wantsRows) copyOr(_functions.start.rows, lambda, m, 0.0);
    return true;
  }
  bool eval_f(Index n, const Number* x, bool, Number& value) override {
    return timed([&] { value = _functions.sign * _functions.evaluation.objective(spanOf(x, n)); }, &value, 1);
  }
  bool eval_grad_f(Index n, const Number* x, bool, Number* gradient) override {
    const auto evaluate = [&] {
      _functions.evaluation.gradient(spanOf(x, n), spanOf(gradient, n));
      if (_functions.sign < 0) {
        for (Number& value : spanOf(gradient, n)) value = -value;
      }
    };
    return timed(evaluate, gradient, n);
  }
  bool eval_g(Index n, const Number* x, bool, Index m, Number* g) override {
    return timed([&] { _functions.evaluation.constraints(spanOf(x, n), spanOf(g, m)); }, g, m);
  }
  bool eval_jac_g(Index n, const Number* x, bool, Index, Index entries, Index* rows, Index* columns,
                  Number* values) override {
    if (values == nullptr) return copyStructure(_functions.evaluator.getJacobianStructure(), rows, columns);
    return evaluateJacobian(n, x, entries, values);
  }
  bool eval_h(Index n, const Number* x, bool, Number factor, Index m, const Number* lambda, bool, Index entries,
              Index* rows, Index* columns, Number* values) override {
    if (values == nullptr) return copyStructure(_functions.evaluator.getHessianStructure(), rows, columns);
    const auto evaluate = [&] {
      _functions.evaluation.hessian(spanOf(x, n), _functions.sign * factor, spanOf(lambda, m), spanOf(values, entries));
    };
    return timed(evaluate, values, entries);
  }

 protected:
  bool evaluateJacobian(Index n, const Number* x, Index entries, Number* values) {
    return timed([&] { _functions.evaluation.jacobian(spanOf(x, n), spanOf(values, entries)); }, values, entries);
  }
  template <class T>
  static std::span<T> spanOf(T* first, Index count) {
    return {first, static_cast<std::size_t>(count)};
  }
  Functions& functions() const { return _functions; }

 private:
  /// False, for which a solver shortens its step, where the work throws or a result is not finite.
  template <class Work>
  bool timed(Work work, const Number* results, Index count) {
    const auto begin = std::chrono::steady_clock::now();
    bool good = true;
    try {
      work();
    } catch (const std::exception& error) {
      _functions.failure = error.what();
      good = false;
    }
    _functions.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    for (Index i = 0; good && i < count; ++i) good = std::isfinite(results[i]);
    return good;
  }
  static void copy(const std::vector<double>& numbers, Number* to) { std::copy(numbers.begin(), numbers.end(), to); }
  static void copyOr(const std::vector<double>& numbers, Number* to, Index count, Number otherwise) {
    numbers.empty() ? void(std::fill_n(to, count, otherwise)) : copy(numbers, to);
  }
  static bool copyStructure(std::span<const TavEvaluator::Position> structure, Index* rows, Index* columns) {
    for (const TavEvaluator::Position& position : structure) {
      *rows++ = position.row;
      *columns++ = position.column;
    }
    return true;
  }

  Functions& _functions;
};

}  // namespace tavsolve
