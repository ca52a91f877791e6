#pragma once
/// Class header for authors of algorithms: the variable that represents the truth of a constraint.

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// A 0-1 integer variable for the truth of a constraint, which it does not own and which must outlive it. Its value
/// comes from the algorithm, as that of any variable.
class TavConstraintIndVarI final : public TavNode<TavConstraintIndVarI, TavNumVarI> {
 public:
  static constexpr const char* kTypeName = "TavConstraintIndVarI";

  /// Unnamed, over the shared integer domain [0, 1].
  TavConstraintIndVarI(TavEnvI* env, TavConstraintI* constraint)
      : TavNode(env, TavNumVar::Int, 0.0, 1.0, nullptr), _constraint(TavImplCast<TavIntExprI>(constraint)) {}

  /// The constraint whose truth it represents.
  TavConstraintI* getConstraint() const noexcept { return TavImplCast<TavConstraintI>(_constraint); }

  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// A new indicator of the constraint's clone in `target`. Its bounds are [0, 1], whatever those of this one.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// Prints the constraint and nothing else.
  void display(std::ostream& os) const override { _constraint->display(os); }

 private:
  TavIntExprI* _constraint;  // a TavConstraintI; variables/ does not include constraints/
};

static_assert(sizeof(TavConstraintIndVarI) == 64);

#pragma GCC visibility pop
