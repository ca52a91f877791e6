#pragma once
/// Constraints of any kind and conversions of variables. Comparisons that make constraints belong to the layer that
/// defines the kinds of constraint.

#include "expression/arrays.h"

#pragma GCC visibility push(default)

class TavConstConstraintI;
class TavConstraintI;
class TavConversionI;

/// A constraint of any kind: an integer expression whose value is its truth. Not counted; it lives until end().
class TavConstraint : public TavExtractable {
 public:
  TavConstraint() noexcept = default;
  explicit TavConstraint(TavConstraintI* impl) noexcept : TavExtractable(TavImplCast<TavExtractableI>(impl)) {}
  ///@{
  /// As on TavNumExprArg.
  TavConstraint(const TavConstraint&) noexcept = default;
  TavConstraint& operator=(const TavConstraint&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavConstraint&) && = delete;
  ///@}

  TavConstraintI* getImpl() const noexcept { return TavImplCast<TavConstraintI>(_impl); }
  operator TavIntExprArg() const noexcept { return TavIntExprArg(TavImplCast<TavIntExprI>(_impl)); }
  /// Its truth under `algorithm`, 1 or 0 as its kind defines it. Throws TavEmptyHandleException, and what the model
  /// evaluator or the algorithm throws.
  double eval(TavAlgorithm algorithm) const { return TavNumExprArg(TavImplCast<TavNumExprI>(_impl)).eval(algorithm); }
  explicit operator bool() const noexcept { return _impl != nullptr; }
};

inline TavNumExpr::TavNumExpr(const TavConstraint& constraint)
    : TavNumExpr(static_cast<TavNumExprArg>(static_cast<TavIntExprArg>(constraint))) {}
inline TavExpr::TavExpr(const TavConstraint& constraint)
    : TavExpr(static_cast<TavNumExprArg>(static_cast<TavIntExprArg>(constraint))) {}
inline TavIntExpr::TavIntExpr(const TavConstraint& constraint) : TavIntExpr(static_cast<TavIntExprArg>(constraint)) {}

/// Array of constraints.
class TavConstraintArray : public TavHandleArray<TavConstraint, TavConstraintI> {
 public:
  using TavHandleArray::TavHandleArray;
  /// The listed constraints, one to ten. Throws TavWrongUsage "TavConstraintArray::TavConstraintArray: n !=2" when n is
  /// not their number; the array made for them then stays with the environment.
  template <class... E>
  requires TavElementsOf<TavConstraint, E...> TavConstraintArray(TavEnv env, TavInt n, E... elements)
      : TavHandleArray(listOf(TavListOf::Constraint, env, n, elements...)) {}
};

/// A conversion in the model: variables and the type that an algorithm is to give them. The variables stay as they are.
class TavConversion : public TavExtractable {
 public:
  TavConversion() noexcept = default;
  explicit TavConversion(TavConversionI* impl) noexcept : TavExtractable(TavImplCast<TavExtractableI>(impl)) {}
  /// A new conversion of one variable, in the variable's environment. An empty variable: TavEmptyHandleException.
  TavConversion(TavEnv env, TavNumVar variable, TavNumVar::Type type, TavNameArg name = nullptr);
  /// A new conversion of a copy of the array, in the array's environment. An empty handle: TavEmptyHandleException.
  TavConversion(TavEnv env, TavNumVarArray variables, TavNumVar::Type type, TavNameArg name = nullptr);
  TavConversion(TavEnv env, TavIntVarArray variables, TavNumVar::Type type, TavNameArg name = nullptr);

  TavConversionI* getImpl() const noexcept { return TavImplCast<TavConversionI>(_impl); }
  /// Takes every occurrence of the variable out, last first, and reports each (TavConversionRemoveVar).
  void removeVar(TavNumVar variable) const;
};

#pragma GCC visibility pop
