#pragma once
/// Class header for authors of algorithms: the variable that stands for a constraint's truth.

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// A 0-1 integer variable for the truth of a constraint, which it does not own and which must outlive it. An algorithm
/// answers for its value as for any variable's.
class TavConstraintIndVarI final : public TavNode<TavConstraintIndVarI, TavNumVarI> {
 public:
  static constexpr const char* kTypeName = "TavConstraintIndVarI";

  /// Unnamed, over the shared integer domain [0, 1].
  TavConstraintIndVarI(TavEnvI* env, TavConstraintI* constraint)
      : TavNode(env, TavNumVar::Int, 0.0, 1.0, nullptr), _constraint(TavImplCast<TavIntExprI>(constraint)) {}

  /// The constraint whose truth it stands for.
  TavConstraintI* getConstraint() const noexcept { return TavImplCast<TavConstraintI>(_constraint); }

  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// A new indicator of the clone that `target` has registered for the constraint; its bounds are [0, 1] whatever these
  /// are by now.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// Prints the constraint and nothing else.
  void display(std::ostream& os) const override { _constraint->display(os); }

 private:
  TavIntExprI* _constraint;  // a TavConstraintI, whose class stands above this file's
};

static_assert(sizeof(TavConstraintIndVarI) == 64);

#pragma GCC visibility pop
