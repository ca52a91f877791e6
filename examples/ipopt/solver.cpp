#include "examples/ipopt/solver.h"

#include <IpIpoptApplication.hpp>
#include <IpSolveStatistics.hpp>
#include <IpTNLP.hpp>
#include <algorithm>
#include <chrono>
#include <span>

namespace {

using Ipopt::Index;
using Ipopt::Number;

constexpr double kInfinity = 2e19;  // what Ipopt takes for infinite

double seconds() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

template <class T>
std::span<T> spanOf(T* first, Index count) {
  return {first, static_cast<std::size_t>(count)};
}

class Problem final : public Ipopt::TNLP {
 public:
  Problem(TavEvaluator& evaluator, const std::vector<Range>& limits, const std::vector<double>& start)
      : _evaluator(evaluator), _evaluation(evaluator), _limits(limits), _start(start) {}

  Solution solution;

  bool get_nlp_info(Index& n, Index& m, Index& jacobian, Index& hessian, IndexStyleEnum& style) override {
    n = static_cast<Index>(_evaluator.getColumnCount());
    m = static_cast<Index>(_evaluator.getRowCount());
    jacobian = static_cast<Index>(_evaluator.getJacobianStructure().size());
    hessian = static_cast<Index>(_evaluator.getHessianStructure().size());
    style = C_STYLE;
    return true;
  }
  bool get_bounds_info(Index n, Number* lower, Number* upper, Index m, Number* least, Number* most) override {
    for (Index i = 0; i < n; ++i) {
      const TavNumVar column = _evaluator.getColumn(static_cast<std::size_t>(i));
      lower[i] = std::max(column.getLB(), -kInfinity);
      upper[i] = std::min(column.getUB(), kInfinity);
    }
    for (Index i = 0; i < m; ++i) {
      least[i] = std::max(_limits[static_cast<std::size_t>(i)].least, -kInfinity);
      most[i] = std::min(_limits[static_cast<std::size_t>(i)].most, kInfinity);
    }
    return true;
  }
  bool get_starting_point(Index, bool, Number* x, bool, Number*, Number*, Index, bool, Number*) override {
    std::copy(_start.begin(), _start.end(), x);
    return true;
  }
  bool eval_f(Index n, const Number* x, bool, Number& value) override {
    return timed([&] { value = _evaluation.objective(spanOf(x, n)); });
  }
  bool eval_grad_f(Index n, const Number* x, bool, Number* gradient) override {
    return timed([&] { _evaluation.gradient(spanOf(x, n), spanOf(gradient, n)); });
  }
  bool eval_g(Index n, const Number* x, bool, Index m, Number* g) override {
    return timed([&] { _evaluation.constraints(spanOf(x, n), spanOf(g, m)); });
  }
  bool eval_jac_g(Index n, const Number* x, bool, Index, Index entries, Index* rows, Index* columns,
                  Number* values) override {
    if (values == nullptr) return copyStructure(_evaluator.getJacobianStructure(), rows, columns);
    return timed([&] { _evaluation.jacobian(spanOf(x, n), spanOf(values, entries)); });
  }
  bool eval_h(Index n, const Number* x, bool, Number factor, Index m, const Number* lambda, bool, Index entries,
              Index* rows, Index* columns, Number* values) override {
    if (values == nullptr) return copyStructure(_evaluator.getHessianStructure(), rows, columns);
    return timed([&] { _evaluation.hessian(spanOf(x, n), factor, spanOf(lambda, m), spanOf(values, entries)); });
  }
  void finalize_solution(Ipopt::SolverReturn, Index n, const Number* x, const Number*, const Number*, Index,
                         const Number*, const Number*, Number value, const Ipopt::IpoptData*,
                         Ipopt::IpoptCalculatedQuantities*) override {
    solution.values.assign(x, x + n);
    solution.objective = value;
  }

 private:
  template <class Work>
  bool timed(Work work) {
    const double begin = seconds();
    work();
    solution.evaluatorSeconds += seconds() - begin;
    return true;
  }
  static bool copyStructure(std::span<const TavEvaluator::Position> structure, Index* rows, Index* columns) {
    for (const TavEvaluator::Position& position : structure) {
      *rows++ = position.row;
      *columns++ = position.column;
    }
    return true;
  }

  TavEvaluator& _evaluator;
  TavEvaluation _evaluation;
  const std::vector<Range>& _limits;
  const std::vector<double>& _start;
};

}  // namespace

Solution solve(TavEvaluator& evaluator, const std::vector<Range>& limits, const std::vector<double>& start,
               double tolerance) {
  const Ipopt::SmartPtr<Problem> problem = new Problem(evaluator, limits, start);
  const Ipopt::SmartPtr<Ipopt::IpoptApplication> solver = IpoptApplicationFactory();
  solver->Options()->SetIntegerValue("print_level", 0);
  solver->Options()->SetStringValue("sb", "yes");  // no banner
  solver->Options()->SetNumericValue("tol", tolerance);
  const double begin = seconds();
  Ipopt::ApplicationReturnStatus status = solver->Initialize();
  if (status == Ipopt::Solve_Succeeded) status = solver->OptimizeTNLP(Ipopt::SmartPtr<Ipopt::TNLP>(GetRawPtr(problem)));
  Solution& solution = problem->solution;
  solution.seconds = seconds() - begin;
  solution.solved = status == Ipopt::Solve_Succeeded;
  if (!solution.solved) solution.failure = "Ipopt ended with status " + std::to_string(status);
  if (IsValid(solver->Statistics())) solution.iterations = solver->Statistics()->IterationCount();
  return solution;
}
