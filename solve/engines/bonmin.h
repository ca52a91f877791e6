#pragma once
/// The engine over Bonmin, for non-linear models with integers: branch and bound over Ipopt. Optima of models whose
/// relaxation is not known to be convex are local.

#include <utility>

#include "solve/engines/nonlinear.h"

namespace Bonmin {
class BonminSetup;
}

namespace tavsolve {

class BonminEngineI final : public NonLinearEngineI {
 public:
  using NonLinearEngineI::NonLinearEngineI;

  const char* name() const override { return "bonmin"; }

 protected:
  void prepare(const Controls& controls) override;
  void run(const Controls& controls, Answer& answer) override;
  bool makeCareful() override { return !std::exchange(_careful, true); }

 private:
  void setUp(Bonmin::BonminSetup& setup, const Controls& controls, double seconds) const;

  /// Without the heuristics, whose assertions do not always hold.
  bool _careful = false;
};

}  // namespace tavsolve
