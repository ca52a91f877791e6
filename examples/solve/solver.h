#pragma once
/// An algorithm over the CLP and CBC solvers: extracts a model, solves it, hears of its modifications.

#include <memory>
#include <vector>

#include "model.h"
#include "progress.h"

class CbcModel;
class CoinPackedMatrix;
class OsiClpSolverInterface;

namespace tavsolve {

enum class Status { Optimal, Infeasible, Unbounded, Violated, TimeLimit, Stopped };

struct Outcome {
  Status status = Status::Stopped;
  /// Whether there is a solution; without an optimum, the best one that was found.
  bool hasSolution = false;
  double objective = 0.0;
  double seconds = 0.0;
};

/// Rows and bounds hold within this much, relative to values above 1.
constexpr double kTolerance = 1e-6;

/// Columns and rows are numbered in order of extraction. The extraction hooks list them, load() hands them to the
/// solver at once; from then on change records and forget() edit the loaded solver.
class SolverAlgorithmI final : public TavAlgorithmI {
 public:
  explicit SolverAlgorithmI(TavEnvI* env);
  ~SolverAlgorithmI() override;

  /// Throws InputError, naming the first row that the solver does not take.
  static void requireLinear(const Model& model);
  /// Extracts the whole model, which is linear, and loads the solver, in time linear in the model's size. Once only.
  void extract(const Model& model);
  /// Solves what is loaded, for at most `seconds`. Throws InputError for a semi-continuous column without a bound that
  /// the solver could use, and SolverError for what the solver throws.
  Outcome solve(double seconds, Progress& progress);
  /// The row's activity as the solver computed it.
  double activityOf(const RangeConstraintI* row) const;

  /// The column's value in the last solution; throws TavAlgorithm::Exception without one.
  double getValue(const TavNumVarI* variable) const override;
  /// 1 when the row holds within the solver's tolerance, else 0.
  double getValue(const TavIntExprI* constraint) const override;
  bool hasExtracted(const TavExtractableI* object) const override { return placeOf(object) != kNowhere; }
  void forget(TavExtractableI* object) override;

  // What the class hooks do (solver_hooks.cpp); each extraction returns the algorithm's object.
  void* addColumn(const TavNumVarI* variable, double threshold);
  void* addRow(const TavNumLinTermI* sum);
  void* boundRow(const RangeConstraintI* constraint);
  void* takeObjective(const ObjectiveI* objective);
  void* relaxColumns(const TavConversionI* conversion);
  void updateColumn(const TavNumVarI* variable);
  void updateThreshold(const TavNumVarI* variable, double threshold);
  void updateCoefficient(const TavNumLinTermI* sum, const TavNumVarI* variable);
  void restoreKind(const TavNumVarI* variable);
  void dropColumn(const TavNumVarI* variable);

 private:
  struct Column {
    const TavNumVarI* variable;
    /// Above 0: the column is 0 or at least this.
    double threshold;
    /// Continuous for the solver although the variable is integer.
    bool relaxed;
  };
  struct Row {
    const TavNumLinTermI* sum;
    double lb, ub;
    /// The sum's constant, which the solver does not know: its bounds and activities lack it.
    double constant;
  };
  static constexpr int kNowhere = -1;
  static constexpr int kObjective = -2;
  /// Extracted, without a column or row of its own.
  static constexpr int kKnown = -3;

  int placeOf(const TavExtractableI* object) const;
  void* setPlace(const TavExtractableI* object, int place);
  /// The coefficients of all rows, column by column, for the solver to own.
  std::unique_ptr<CoinPackedMatrix> gather() const;
  void load();
  void pushColumn(int column);
  void runSearch(CbcModel& search, double seconds, Outcome& outcome);
  void addSemiContinuous(CbcModel& search) const;
  void addSets(CbcModel& search) const;
  /// The greatest value that the rows leave the column; infinite without one.
  double impliedUpper(int column) const;
  /// Whether the last solution keeps rows and bounds.
  bool holds() const;
  void readBack(const CbcModel& search, Outcome& outcome);
  Outcome solveWithoutColumns();

  std::unique_ptr<OsiClpSolverInterface> _solver;
  /// By identifier: the number of the object's column or row, or one of the constants above.
  std::vector<int> _places;
  std::vector<Column> _columns;
  std::vector<Row> _rows;
  std::vector<double> _costs;
  double _costConstant = 0.0;
  bool _maximise = false;
  const std::vector<TavModelSet>* _sets = nullptr;
  /// Coefficients of the rows, for a first reservation.
  std::size_t _nonZeros = 0;
  std::vector<double> _values, _activities;
};

/// Fills the class hooks with this algorithm's functions; called by the constructor.
void installSolverHooks();

}  // namespace tavsolve
