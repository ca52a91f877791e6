#include "solve/engines/ipopt.h"

#include <IpIpoptApplication.hpp>
#include <IpSolveStatistics.hpp>
#include <IpTNLP.hpp>
#include <algorithm>

#include "solve/engines/ipopt_options.h"

namespace tavsolve {

namespace {

using Ipopt::Index;
using Ipopt::Number;

class IpoptProblem final : public FunctionCalls<Ipopt::TNLP, Index, Number> {
 public:
  using Tick = std::function<bool(const SolverProgress&)>;
  IpoptProblem(Functions& functions, Tick tick) : FunctionCalls(functions), _tick(std::move(tick)) {}

  PrimalDualPoint solution{};

  bool get_nlp_info(Index& n, Index& m, Index& jacobian, Index& hessian, IndexStyleEnum& style) override {
    sizes(n, m, jacobian, hessian, style, C_STYLE);
    return true;
  }
  bool intermediate_callback(Ipopt::AlgorithmMode, Index iteration, Number value, Number infeasibility, Number, Number,
                             Number, Number, Number, Number, Index, const Ipopt::IpoptData*,
                             Ipopt::IpoptCalculatedQuantities*) override {
    SolverProgress progress;
    progress.phase = SolverProgress::Phase::Barrier;
    progress.iterations = iteration;
    progress.objective = functions().sign * value;
    progress.infeasibility = infeasibility;
    return !_tick(progress);
  }
  void finalize_solution(Ipopt::SolverReturn, Index n, const Number* x, const Number* lower, const Number* upper,
                         Index m, const Number*, const Number* lambda, Number, const Ipopt::IpoptData*,
                         Ipopt::IpoptCalculatedQuantities*) override {
    solution = {{x, x + n}, {lower, lower + n}, {upper, upper + n}, {lambda, lambda + m}};
  }

 private:
  Tick _tick;
};

/// Spares the evaluation of what does not change, and starts near the last solution.
void describeProblem(Ipopt::OptionsList& options, const TavEvaluator& evaluator, bool isWarm) {
  bool linearRows = true;
  for (std::size_t i = 0; i < evaluator.getRowCount(); ++i) {
    linearRows = linearRows && evaluator.getKind(i) == TavEvaluator::Kind::Linear;
  }
  if (linearRows) {
    options.SetStringValue("jac_c_constant", "yes");
    options.SetStringValue("jac_d_constant", "yes");
    const bool isConstant = evaluator.getKind(TavEvaluator::kObjective) != TavEvaluator::Kind::NonLinear;
    if (isConstant) options.SetStringValue("hessian_constant", "yes");
  }
  if (!isWarm) return;
  constexpr double kPush = 1e-9;
  options.SetStringValue("warm_start_init_point", "yes");
  for (const char* name : {"warm_start_bound_push", "warm_start_bound_frac", "warm_start_slack_bound_push",
                           "warm_start_slack_bound_frac", "warm_start_mult_bound_push"}) {
    options.SetNumericValue(name, kPush);
  }
  options.SetNumericValue("mu_init", 1e-5);
}

Status statusOf(Ipopt::ApplicationReturnStatus status, bool isConvex, Answer& answer) {
  switch (status) {
    case Ipopt::Solve_Succeeded:
    case Ipopt::Solved_To_Acceptable_Level:
    case Ipopt::Feasible_Point_Found:
      return isConvex ? Status::Optimal : Status::LocallyOptimal;
    case Ipopt::Infeasible_Problem_Detected:
      return isConvex ? Status::Infeasible : Status::LocallyInfeasible;
    case Ipopt::Diverging_Iterates:
      answer.remark = "the iterates diverge; the model may be unbounded";
      break;
    case Ipopt::Maximum_Iterations_Exceeded:
      answer.remark = "the limit of iterations is reached";
      break;
    case Ipopt::Maximum_CpuTime_Exceeded:
      return Status::TimeLimit;
    case Ipopt::Search_Direction_Becomes_Too_Small:
    case Ipopt::Restoration_Failed:
      answer.remark = "no further progress is possible from the last point";
      break;
    case Ipopt::Invalid_Number_Detected:
      answer.remark = "a function or derivative has no finite value at the start";
      break;
    case Ipopt::Error_In_Step_Computation:
      answer.remark = "the linear system for the next step cannot be solved";
      break;
    case Ipopt::Not_Enough_Degrees_Of_Freedom:
      answer.remark = "there are more equations than variables";
      break;
    case Ipopt::Insufficient_Memory:
      answer.remark = "out of memory";
      break;
    default:
      answer.remark = "Ipopt ended with status " + std::to_string(status);
  }
  return Status::Stopped;
}

}  // namespace

struct IpoptEngineI::Solver {
  /// Throws InputError for options that there are not.
  explicit Solver(const Controls& controls) : application(IpoptApplicationFactory()) {
    setCommonOptions(*application->Options(), controls);
    // Instead of ipopt.opt of the current folder, which would override --option unasked.
    application->Options()->SetStringValue("option_file_name", "");
    setOptions(*application->Options(), *application->RegOptions(), controls, "ipopt");
    options = *application->Options();
  }

  Ipopt::SmartPtr<Ipopt::IpoptApplication> application;
  /// As they are before a solve adds its own.
  Ipopt::OptionsList options;
};

IpoptEngineI::IpoptEngineI(const Model& model) : NonLinearEngineI(model) {}

IpoptEngineI::~IpoptEngineI() = default;

void IpoptEngineI::prepare(const Controls& controls) {
  NonLinearEngineI::prepare(controls);
  if (!_solver || !controls.inPlace) _solver = std::make_unique<Solver>(controls);
}

void IpoptEngineI::run(const Controls& controls, Answer& answer) {
  const std::unique_ptr<Functions> functions = this->functions(controls);
  const bool isWarm = restoreMultipliers(controls, functions->start);
  optimise(controls, *functions, isWarm, answer);
  if (isWarm && !isSolved(answer.status) && !shouldStop()) {  // the last solution was no good place to start from
    const long iterations = answer.iterations;
    optimise(controls, *functions, false, answer);
    answer.iterations += iterations;
  }
  answer.evaluationSeconds = functions->seconds;
}

void IpoptEngineI::optimise(const Controls& controls, Functions& functions, bool isWarm, Answer& answer) {
  const Ipopt::SmartPtr<IpoptProblem> problem =
      new IpoptProblem(functions, [this](const SolverProgress& progress) { return tick(progress); });
  const Ipopt::SmartPtr<Ipopt::TNLP> calls = GetRawPtr(problem);
  const Ipopt::SmartPtr<Ipopt::IpoptApplication>& solver = _solver->application;
  *solver->Options() = _solver->options;
  describeProblem(*solver->Options(), functions.evaluator, isWarm);
  Ipopt::ApplicationReturnStatus status = solver->Initialize();
  if (status == Ipopt::Solve_Succeeded) status = solver->OptimizeTNLP(calls);
  if (status == Ipopt::Not_Enough_Degrees_Of_Freedom) {
    solver->Options()->SetStringValue("fixed_variable_treatment", "relax_bounds");
    status = solver->OptimizeTNLP(calls);
  }
  answer.remark.clear();
  answer.status = statusOf(status, isConvex(), answer);
  if (status == Ipopt::User_Requested_Stop || (answer.status == Status::Stopped && shouldStop())) {
    answer.status = secondsLeft() > 0.0 ? Status::Interrupted : Status::TimeLimit;
  }
  if (answer.status == Status::Stopped && !functions.failure.empty()) answer.remark = functions.failure;
  if (IsValid(solver->Statistics())) answer.iterations = solver->Statistics()->IterationCount();
  _reducedCosts.clear();
  _duals.clear();
  const bool isInfeasible = answer.status == Status::Infeasible || answer.status == Status::LocallyInfeasible;
  if (!problem->solution.values.empty() && !isInfeasible)
    takeSolution(problem->solution, functions, controls.tolerance, answer);
}

}  // namespace tavsolve
