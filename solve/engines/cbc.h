#pragma once
/// The engine over CLP and CBC, for linear and mixed-integer models. The loaded solver is edited by each modification,
/// and the simplex starts from the basis of the last solve.

#include <memory>

#include "solve/engines/engine.h"

class CbcModel;
class CoinPackedMatrix;
class OsiClpSolverInterface;

namespace tavsolve {

class CbcEngineI final : public EngineI {
 public:
  explicit CbcEngineI(const Model& model);
  ~CbcEngineI() override;

  const char* name() const override { return "cbc"; }

 protected:
  void load() override;
  void run(const Controls& controls, Answer& answer) override;
  void columnChanged(int column) override;
  void rowChanged(int row) override;
  void coefficientChanged(int row, int column, double value) override;
  void columnRemoved(int column) override;
  void appended(int firstColumn, int firstRow) override;
  void senseChanged() override;

 private:
  /// The coefficients of all rows, column by column, for the solver to own.
  std::unique_ptr<CoinPackedMatrix> gather() const;
  std::string labelOf(int column) const;
  void addSemiContinuous(CbcModel& search) const;
  void addSets(CbcModel& search) const;
  /// The greatest value that the rows leave the column; infinite without one.
  double impliedUpper(int column) const;
  void readBack(const CbcModel& search, Answer& answer);
  void answerWithoutColumns(Answer& answer);

  std::unique_ptr<OsiClpSolverInterface> _solver;
};

}  // namespace tavsolve
