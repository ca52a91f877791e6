#pragma once
/// The engine over Bonmin, for non-linear models with integers: branch and bound over Ipopt. Optima of models whose
/// relaxation is not known to be convex are local.

#include "solve/engines/nonlinear.h"

namespace tavsolve {

class BonminEngineI final : public NonLinearEngineI {
 public:
  using NonLinearEngineI::NonLinearEngineI;

  const char* name() const override { return "bonmin"; }

 protected:
  void prepare(const Controls& controls) override;
  void run(const Controls& controls, Answer& answer) override;
};

}  // namespace tavsolve
