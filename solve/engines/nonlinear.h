#pragma once
/// Base of the engines over solvers of non-linear models: the model's functions, compiled by the evaluator, which is
/// notified of modifications of expressions itself.

#include <memory>

#include "solve/engines/engine.h"
#include "solve/engines/functions.h"

namespace tavsolve {

class NonLinearEngineI : public EngineI {
 public:
  using EngineI::EngineI;

 protected:
  void load() override;
  void appended(int firstColumn, int firstRow) override;
  void columnRemoved(int column) override;
  void prepare(const Controls& controls) override;

  TavEvaluator& evaluator() { return *_evaluator; }
  /// The functions with the bounds as they stand, and with values to start from: 0, brought into the bounds, where
  /// there are none.
  std::unique_ptr<Functions> functions(const Controls& controls);
  /// Whether a local optimum is known to be a global one.
  bool isConvex() const;
  /// Takes over a solution; the multipliers become the state and the duals. Ipopt relaxes bounds by a little: the point
  /// is moved back within them where the rows still hold then. The objective is that of the point.
  void takeSolution(const PrimalDualPoint& point, Functions& functions, double tolerance, Answer& answer);
  /// The multipliers of the last solution, when they belong to the values that the solve starts from.
  bool restoreMultipliers(const Controls& controls, PrimalDualPoint& point) const;

 private:
  bool holdsRows(Functions& functions, const std::vector<double>& values, double tolerance) const;

  std::unique_ptr<TavEvaluator> _evaluator;
};

}  // namespace tavsolve
