#pragma once
/// The engine over Ipopt, for models without integers. Optima of models that are not known to be convex are local.
/// A further solve starts from the point and the multipliers of the last one.

#include "solve/engines/nonlinear.h"

namespace tavsolve {

class IpoptEngineI final : public NonLinearEngineI {
 public:
  explicit IpoptEngineI(const Model& model);
  ~IpoptEngineI() override;

  const char* name() const override { return "ipopt"; }
  bool isRepeatable(const Controls&) const override { return true; }

 protected:
  void prepare(const Controls& controls) override;
  void run(const Controls& controls, Answer& answer) override;

 private:
  struct Solver;

  /// One run of the solver; `isWarm` where the start has the multipliers.
  void optimise(const Controls& controls, Functions& functions, bool isWarm, Answer& answer);

  /// With the options of the user; to make one takes as long as to solve a small model.
  std::unique_ptr<Solver> _solver;
};

}  // namespace tavsolve
