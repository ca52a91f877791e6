#pragma once
/// Class header for authors of algorithms: the base of constraints and the constant constraint.

#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// Adds a constraint to, or removes it from, an algorithm.
using TavConstraintHook = void (*)(TavAlgorithm, const TavExtractableI*, void*);

/// A constraint: an integer expression whose value is its truth. Concrete kinds derive from it; they are not counted
/// and live until they are ended.
class TavConstraintI : public TavNode<TavConstraintI, TavIntExprI> {
 public:
  static constexpr const char* kTypeName = "TavConstraintI";
  ///@{
  /// Shared by constraints of every class.
  static TavConstraintHook _addToCP;
  static TavConstraintHook _removeFromCP;
  ///@}

  TavConstraintI(TavEnvI* env, TavNameArg name) : TavNode(env, name) {}

  /// The value of the model evaluator if it is active; its TavModelEvaluator::Unbound is rethrown. If it is not active,
  /// or throws anything else, the algorithm's own value.
  double eval(TavAlgorithm algorithm) const override;
  bool isRefCountedExpr() const override { return false; }
  void end() override { TavExtractableI::end(); }
  void release() override {}
  ///@{
  /// Throw TavAlgorithm::ExtractFailure when their hook is not installed.
  void whenAddedToCP(TavAlgorithm algorithm, void* data) const override;
  void whenRemovedFromCP(TavAlgorithm algorithm, void* data) const override;
  ///@}
};

/// A constraint that always holds or never does. Prints "TrueConstraint " or "FalseConstraint " in both syntaxes.
class TavConstConstraintI final : public TavNode<TavConstConstraintI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "TavConstConstraintI";

  /// `truth` is 0 for one that never holds.
  TavConstConstraintI(TavEnvI* env, TavNameArg name, TavInt truth) : TavNode(env, name), _truth(truth) {}

  /// Whether it always holds.
  virtual bool isTrue() const { return _truth != 0; }
  double eval(TavAlgorithm) const override { return isTrue() ? 1.0 : 0.0; }
  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// An unnamed copy in this constraint's own environment, whatever the target.
  TavExtractableI* makeClone(TavEnvI* target) const override;
  void display(std::ostream& os) const override;

 private:
  TavInt _truth;
};

#pragma GCC visibility pop
