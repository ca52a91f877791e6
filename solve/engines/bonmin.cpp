#include "solve/engines/bonmin.h"

#include <BonBonminSetup.hpp>
#include <BonCbc.hpp>
#include <BonTMINLP.hpp>
#include <CbcEventHandler.hpp>
#include <algorithm>
#include <stdexcept>

#include "solve/engines/ipopt_options.h"

namespace tavsolve {

namespace {

using Bonmin::TMINLP;
using Ipopt::Index;
using Ipopt::Number;

class BonminProblem final : public FunctionCalls<TMINLP, Index, Number> {
 public:
  BonminProblem(Functions& functions, const std::vector<bool>& isWhole) : FunctionCalls(functions), _isWhole(isWhole) {}

  TMINLP::SolverReturn status = TMINLP::MINLP_ERROR;
  PrimalDualPoint solution{};

  bool get_nlp_info(Index& n, Index& m, Index& jacobian, Index& hessian, Ipopt::TNLP::IndexStyleEnum& style) override {
    sizes(n, m, jacobian, hessian, style, Ipopt::TNLP::C_STYLE);
    return true;
  }
  bool get_variables_types(Index n, VariableType* types) override {
    for (std::size_t j = 0; j < static_cast<std::size_t>(n); ++j) {
      const bool isBinary = functions().columnLower[j] == 0.0 && functions().columnUpper[j] == 1.0;
      types[j] = !_isWhole[j] ? CONTINUOUS : isBinary ? BINARY : INTEGER;
    }
    return true;
  }
  bool get_variables_linearity(Index n, Ipopt::TNLP::LinearityType* types) override {
    std::fill_n(types, n, Ipopt::TNLP::LINEAR);
    for (const TavEvaluator::Position& position : functions().evaluator.getHessianStructure()) {
      types[position.row] = types[position.column] = Ipopt::TNLP::NON_LINEAR;
    }
    return true;
  }
  bool get_constraints_linearity(Index m, Ipopt::TNLP::LinearityType* types) override {
    for (Index i = 0; i < m; ++i) {
      const bool isLinear = functions().evaluator.getKind(static_cast<std::size_t>(i)) == TavEvaluator::Kind::Linear;
      types[i] = isLinear ? Ipopt::TNLP::LINEAR : Ipopt::TNLP::NON_LINEAR;
    }
    return true;
  }
  bool eval_gi(Index n, const Number* x, bool isNew, Index i, Number& value) override {
    std::vector<double> all(functions().evaluator.getRowCount());
    const bool good = eval_g(n, x, isNew, static_cast<Index>(all.size()), all.data());
    value = all[static_cast<std::size_t>(i)];
    return good;
  }
  bool eval_grad_gi(Index n, const Number* x, bool, Index i, Index& count, Index* columns, Number* values) override {
    const std::span<const TavEvaluator::Position> structure = functions().evaluator.getJacobianStructure();
    std::vector<double> all(structure.size());
    if (values && !evaluateJacobian(n, x, static_cast<Index>(all.size()), all.data())) return false;
    count = 0;
    for (std::size_t k = 0; k < structure.size(); ++k) {
      if (structure[k].row != i) continue;
      if (columns) columns[count] = structure[k].column;
      if (values) values[count] = all[k];
      ++count;
    }
    return true;
  }
  void finalize_solution(TMINLP::SolverReturn how, Index n, const Number* x, Number) override {
    status = how;
    if (x) solution.values.assign(x, x + n);
  }
  const BranchingInfo* branchingInfo() const override { return nullptr; }
  const SosInfo* sosConstraints() const override { return nullptr; }

 private:
  const std::vector<bool>& _isWhole;
};

/// Reports the tree search and ends it when the time is over. Bonmin works on clones of the handler it is given.
class Events final : public CbcEventHandler {
 public:
  using Tick = std::function<bool(const SolverProgress&)>;
  using Found = std::function<void(double objective, const double* values)>;
  Events(const Tick& tick, const Found& found, double sign) : _tick(&tick), _found(&found), _sign(sign) {}
  CbcEventHandler* clone() const override { return new Events(*this); }

  CbcAction event(CbcEvent what) override {
    const CbcModel* search = getModel();
    if ((what == solution || what == heuristicSolution) && search->bestSolution()) {
      (*_found)(_sign * search->getObjValue(), search->bestSolution());
    }
    SolverProgress progress;
    progress.phase = SolverProgress::Phase::Search;
    progress.nodes = search->getNodeCount();
    progress.iterations = search->getIterationCount();
    if (search->getSolutionCount() > 0) progress.objective = _sign * search->getObjValue();
    return (*_tick)(progress) ? stop : noAction;
  }

 private:
  const Tick* _tick;
  const Found* _found;
  double _sign;
};

Status statusOf(const Bonmin::Bab& search, TMINLP::SolverReturn status, bool isConvex) {
  switch (status) {
    case TMINLP::SUCCESS:
      return isConvex ? Status::Optimal : Status::LocallyOptimal;
    case TMINLP::INFEASIBLE:
      return isConvex ? Status::Infeasible : Status::LocallyInfeasible;
    case TMINLP::CONTINUOUS_UNBOUNDED:
      return Status::Unbounded;
    case TMINLP::LIMIT_EXCEEDED:
      return search.model().isNodeLimitReached() ? Status::NodeLimit : Status::TimeLimit;
    case TMINLP::USER_INTERRUPT:
      return Status::Interrupted;
    case TMINLP::MINLP_ERROR:
      break;
  }
  return Status::Stopped;
}

}  // namespace

void BonminEngineI::setUp(Bonmin::BonminSetup& setup, const Controls& controls, double seconds) const {
  setup.initializeOptionsAndJournalist();
  Ipopt::OptionsList& options = *setup.options();
  setCommonOptions(options, controls);
  const int level = controls.log.empty() ? 0 : 1;
  for (const char* name : {"bonmin.bb_log_level", "bonmin.nlp_log_level", "bonmin.lp_log_level"}) {
    options.SetIntegerValue(name, level);
  }
  if (std::isfinite(seconds)) options.SetNumericValue("bonmin.time_limit", std::max(0.01, seconds));
  if (controls.gap) options.SetNumericValue("bonmin.allowable_fraction_gap", *controls.gap);
  if (controls.absoluteGap) options.SetNumericValue("bonmin.allowable_gap", *controls.absoluteGap);
  if (controls.nodes) options.SetIntegerValue("bonmin.node_limit", static_cast<int>(*controls.nodes));
  if (_careful) {
    for (const char* name :
         {"heuristic_dive_MIP_fractional", "heuristic_dive_MIP_vectorLength", "heuristic_dive_fractional",
          "heuristic_dive_vectorLength", "heuristic_feasibility_pump"}) {
      options.SetStringValue(std::string("bonmin.") + name, "no");
    }
  }
  setOptions(options, *setup.roptions(), controls, "bonmin");
  setup.readOptionsString("");  // instead of bonmin.opt of the current folder, which would override --option
}

void BonminEngineI::prepare(const Controls& controls) {
  NonLinearEngineI::prepare(controls);
  Bonmin::BonminSetup setup;
  setUp(setup, controls, controls.seconds);  // throws for options that there are not
}

void BonminEngineI::run(const Controls& controls, Answer& answer) {
  const std::unique_ptr<Functions> functions = this->functions(controls);
  std::vector<bool> isWhole;
  for (const Column& column : columns()) isWhole.push_back(column.isWhole());
  const Ipopt::SmartPtr<BonminProblem> problem = new BonminProblem(*functions, isWhole);
  Bonmin::BonminSetup setup;
  setUp(setup, controls, secondsLeft());
  Bonmin::Bab search;
  const Events::Tick onTick = [this](const SolverProgress& progress) { return tick(progress); };
  const Events::Found onSolution = [this](double value, const double* values) { foundSolution(value, values); };
  Events events(onTick, onSolution, functions->sign);
  search.model().passInEventHandler(&events);
  try {
    setup.initialize(Ipopt::SmartPtr<TMINLP>(GetRawPtr(problem)));
    search(setup);
  } catch (const Bonmin::TNLPSolver::UnsolvedError* error) {  // thrown by address
    const std::unique_ptr<const Bonmin::TNLPSolver::UnsolvedError> owner(error);
    answer.remark =
        functions->failure.empty() ? "Ipopt could not solve a node: " + error->errorName() : functions->failure;
    return;
  } catch (const Bonmin::OsiTMINLPInterface::SimpleError& error) {
    throw std::runtime_error(error.message());
  } catch (const Ipopt::IpoptException& error) {
    throw std::runtime_error(error.Message());
  } catch (const CoinError& error) {
    throw std::runtime_error(error.message());
  }
  answer.status = statusOf(search, problem->status, isConvex());
  if (shouldStop() && !isSolved(answer.status)) {
    answer.status = secondsLeft() > 0.0 ? Status::Interrupted : Status::TimeLimit;
  }
  answer.evaluationSeconds = functions->seconds;
  answer.nodes = search.numNodes();
  answer.iterations = search.iterationCount();
  answer.bound = functions->sign * search.bestBound();
  if (problem->solution.values.empty() || !search.bestSolution()) return;
  takeSolution(problem->solution, *functions, controls.tolerance, answer);
}

}  // namespace tavsolve
