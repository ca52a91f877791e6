#pragma once
/// The engine over CLP and CBC, for linear and mixed-integer models. The loaded solver is edited by each modification;
/// the simplex starts from the basis of the last solve, the search from its solution.

#include <memory>
#include <utility>

#include "solve/engines/engine.h"

class CbcModel;
class ClpSimplex;
class CoinPackedMatrix;
class OsiClpSolverInterface;

namespace tavsolve {

class CbcEngineI : public EngineI {
 public:
  explicit CbcEngineI(const Model& model);
  ~CbcEngineI() override;

  const char* name() const override { return "cbc"; }
  bool isRepeatable(const Controls& controls) const override { return isLinear() && controls.options.empty(); }

 protected:
  /// What is loaded.
  const OsiClpSolverInterface& solver() const { return *_solver; }
  void load() override;
  void columnChanged(int column) override;
  void rowChanged(int row) override;
  void coefficientChanged(int row, int column, double value) override;
  void columnRemoved(int column) override;
  void appended(int firstColumn, int firstRow) override;
  void senseChanged() override;
  void prepare(const Controls& controls) override;
  void run(const Controls& controls, Answer& answer) override;
  bool makeCareful() override { return !std::exchange(_careful, true); }

 private:
  /// -1 where the model maximises. The solver always minimises: its signs of duals and bounds differ by path otherwise.
  double sign() const { return model().objective()->isMaximised() ? -1.0 : 1.0; }
  template <class Visit>
  void visitTerms(const Visit& visit) const;
  /// The coefficients of all rows, column by column, for the solver to own.
  std::unique_ptr<CoinPackedMatrix> gather() const;
  /// The objective, one coefficient a column, as it is minimised.
  void writeCosts(double* costs) const;
  void appendColumns(int firstColumn, int firstRow);
  void appendRows(int firstRow);
  std::string labelOf(int column) const;

  // Linear models (cbc_simplex.cpp).
  void runSimplex(const Controls& controls, Answer& answer);
  bool isLinear() const;
  /// As the solver has them, which minimises.
  void takePrices(const double* reducedCosts, const double* duals);
  void keepBasis(const ClpSimplex& simplex);
  bool restoreBasis(ClpSimplex& simplex) const;
  void extendBasis(int firstColumn, int firstRow);

  // Everything else (cbc_search.cpp).
  void runSearch(const Controls& controls, Answer& answer);
  bool leftNothingToSearch(const Controls& controls, const Answer& answer) const;
  void searchPlainly(const OsiClpSolverInterface& solver, const Controls& controls, double least, Answer& answer);
  void search(CbcModel& search, const Controls& controls, Answer& answer);
  Status confirm(const Controls& controls, Status claimed);
  std::vector<double> impliedUpperBounds() const;
  void addSemiContinuous(OsiClpSolverInterface& solver) const;
  void addSets(CbcModel& search) const;
  void takeIncumbent(const CbcModel& search, const OsiClpSolverInterface& whole);
  void addStart(CbcModel& search, const Controls& controls) const;
  void readBack(const CbcModel& search, Answer& answer);

  std::unique_ptr<OsiClpSolverInterface> _solver;
  /// Of each semi-continuous column, as far as the model has them: the greatest value that it can take.
  std::vector<std::pair<int, double>> _semiContinuous;
  /// Without what the solver is known to break down in: presolve, cuts, heuristics.
  bool _careful = false;
  /// A presolved solution may be completed again when so many seconds of the solve are over; in the child process.
  double _nextCompletion = 0.0;
};

/// The status that CLP claims of a linear model, confirmed where it is that there is no optimum: a solver that has seen
/// one side of it may mistake an unbounded model for an infeasible one, and the other way round. Whether the model is
/// feasible shows without costs; from a feasible point the primal simplex sees whether it is unbounded. May solve
/// `simplex` again.
Status confirmedStatus(ClpSimplex& simplex, Status claimed);

}  // namespace tavsolve
