// Scenarios of a non-linear model by Ipopt, driven by hand with functions compiled by the evaluator: point and
// multipliers of the base model are the start of each. usage: ipopt_by_hand MODEL.nl START SCENARIOS RESULTS

#include <IpIpoptApplication.hpp>
#include <IpTNLP.hpp>
#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "by_hand.h"
#include "solve/engines/functions.h"
#include "solve/model/model.h"

namespace {

class Problem final : public tavsolve::FunctionCalls<Ipopt::TNLP, Ipopt::Index, Ipopt::Number> {
 public:
  explicit Problem(tavsolve::Functions& functions) : FunctionCalls(functions) {}

  tavsolve::PrimalDualPoint solution{};
  double objective = NAN;

  bool get_nlp_info(Ipopt::Index& n, Ipopt::Index& m, Ipopt::Index& jacobian, Ipopt::Index& hessian,
                    IndexStyleEnum& style) override {
    sizes(n, m, jacobian, hessian, style, C_STYLE);
    return true;
  }
  void finalize_solution(Ipopt::SolverReturn, Ipopt::Index n, const double* x, const double* lower, const double* upper,
                         Ipopt::Index m, const double*, const double* lambda, double value, const Ipopt::IpoptData*,
                         Ipopt::IpoptCalculatedQuantities*) override {
    solution = {{x, x + n}, {lower, lower + n}, {upper, upper + n}, {lambda, lambda + m}};
    objective = value;
  }
};

using Application = Ipopt::SmartPtr<Ipopt::IpoptApplication>;

/// With the options of tavsolve's engine.
Application application(bool isWarm) {
  Application solver = IpoptApplicationFactory();
  Ipopt::OptionsList& options = *solver->Options();
  options.SetIntegerValue("print_level", 0);
  options.SetStringValue("sb", "yes");
  options.SetNumericValue("tol", 1e-8);
  options.SetNumericValue("constr_viol_tol", 1e-6);
  options.SetNumericValue("acceptable_constr_viol_tol", 1e-6);
  options.SetStringValue("honor_original_bounds", "no");
  if (isWarm) {
    options.SetStringValue("warm_start_init_point", "yes");
    for (const char* name : {"warm_start_bound_push", "warm_start_bound_frac", "warm_start_slack_bound_push",
                             "warm_start_slack_bound_frac", "warm_start_mult_bound_push"}) {
      options.SetNumericValue(name, 1e-9);
    }
    options.SetNumericValue("mu_init", 1e-5);
  }
  solver->Initialize();
  return solver;
}

double bounded(double bound) { return std::clamp(bound, -tavsolve::kSolverInfinity, tavsolve::kSolverInfinity); }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  tavsolve::Model model(TavReadModel(argv[1]));
  std::vector<TavNumExprArg> bodies;
  for (const tavsolve::RangeConstraintI* row : model.rows()) bodies.emplace_back(row->getSum().getImpl());
  TavEvaluator evaluator(model.getEnv(), model.objective()->getSum(), bodies, model.columns(), TavEvaluator::Options());
  tavsolve::Functions functions(evaluator, false);
  std::unordered_map<std::string, std::size_t> columns, rows;
  for (const TavNumVar column : model.columns()) {
    columns[column.getName() ? column.getName() : ""] = functions.columnLower.size();
    functions.columnLower.push_back(bounded(column.getLB()));
    functions.columnUpper.push_back(bounded(column.getUB()));
    functions.start.values.push_back(std::min(std::max(0.0, column.getLB()), column.getUB()));
  }
  for (const tavsolve::RangeConstraintI* row : model.rows()) {
    rows[row->getName()] = functions.rowLower.size();
    functions.rowLower.push_back(bounded(row->getLB()));
    functions.rowUpper.push_back(bounded(row->getUB()));
  }
  std::ifstream start(argv[2]);
  for (std::string word, name, value; start >> word >> name >> value;) {
    functions.start.values[columns.at(name)] = std::stod(value);
  }
  const Application cold = application(false), warm = application(true);
  const auto solve = [&](const Application& solver, tavsolve::PrimalDualPoint* solution, double& objective) {
    const Ipopt::SmartPtr<Problem> problem = new Problem(functions);
    const Ipopt::ApplicationReturnStatus status = solver->OptimizeTNLP(GetRawPtr(problem));
    if (solution) *solution = problem->solution;
    objective = problem->objective;
    return status == Ipopt::Solve_Succeeded || status == Ipopt::Solved_To_Acceptable_Level;
  };
  double objective = NAN;
  tavsolve::PrimalDualPoint base;
  solve(cold, &base, objective);
  by_hand::run(by_hand::read(argv[3]), argv[4], [&](const by_hand::Scenario& scenario) {
    std::vector<std::pair<double, double>> before;
    const auto set = [&](const by_hand::NewBounds& edit, double lb, double ub) {
      auto& lower = edit.isRow ? functions.rowLower : functions.columnLower;
      auto& upper = edit.isRow ? functions.rowUpper : functions.columnUpper;
      const std::size_t place = (edit.isRow ? rows : columns).at(edit.name);
      before.emplace_back(lower[place], upper[place]);
      lower[place] = bounded(lb);
      upper[place] = bounded(ub);
    };
    for (const by_hand::NewBounds& edit : scenario.edits) set(edit, edit.lb, edit.ub);
    functions.start = base;
    if (!solve(warm, nullptr, objective)) solve(cold, nullptr, objective);
    for (std::size_t k = 0; k < scenario.edits.size(); ++k) {
      set(scenario.edits[k], before[k].first, before[k].second);
    }
    return objective;
  });
}
