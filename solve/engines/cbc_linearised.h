#pragma once
/// The engine over CBC for models whose expressions are linearised first. The linear counterpart follows the model's
/// modifications; it is handed to CBC again after each.

#include <memory>

#include "solve/engines/engine.h"
#include "solve/linearise/linear_model.h"

namespace tavsolve {

class LinearisedEngineI final : public EngineI {
 public:
  explicit LinearisedEngineI(const Model& model) : EngineI(model) {}
  ~LinearisedEngineI() override;

  const char* name() const override { return "cbc"; }
  /// Throws InputError also for a model that a modification has made impossible to linearise.
  Answer solve(const Controls& controls) override;

  void startFrom(const WarmStart& start) override;
  void* addIndicator(const TavNumVarI* variable) override { return addColumn(variable); }

  /// Expressions below the rows are followed as well.
  bool hasExtracted(const TavExtractableI* object) const override;
  void change(const TavChange& change) override;
  void forget(TavExtractableI* object) override;

 protected:
  void load() override;
  void run(const Controls& controls, Answer& answer) override;
  void columnChanged(int column) override;
  void rowChanged(int) override { _solver.reset(); }
  void coefficientChanged(int, int, double) override { _solver.reset(); }
  void columnRemoved(int column) override;
  void appended(int firstColumn, int firstRow) override;
  void senseChanged() override;

 private:
  void makeSolver();
  Controls controlsOf(const Controls& controls) const;
  void takeSolution(Answer& answer);

  std::unique_ptr<LinearModel> _counterpart;
  std::unique_ptr<Model> _linear;
  /// Over _linear; null when the model has changed since.
  std::unique_ptr<EngineI> _solver;
};

}  // namespace tavsolve
