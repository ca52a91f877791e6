#pragma once
/// Takes notice of modifications of a model for its compiled program.

#include "evaluator/compiled.h"

namespace taveval {

/// The algorithm that the environment notifies.
class Follower final : public TavAlgorithmI {
 public:
  Follower(TavEnvI* env, Compiled& compiled) : TavAlgorithmI(env), _compiled(compiled) {}

  using TavAlgorithmI::getValue;
  /// It knows no values: a workspace does.
  double getValue(const TavNumVarI* variable) const override;
  bool hasExtracted(const TavExtractableI* object) const override;
  void change(const TavChange& change) override;
  void forget(TavExtractableI* object) override;

 private:
  void modify(const TavExtractableI* object) noexcept;

  Compiled& _compiled;
};

}  // namespace taveval
