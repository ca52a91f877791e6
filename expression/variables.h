#pragma once
/// Variables: numeric, integer, 0-1 and semi-continuous ones.

#include "expression/expr_args.h"

#pragma GCC visibility push(default)

class TavConstraint;
class TavNumVarI;
class TavSemiContVarI;

/// A variable of any kind. It is a leaf of expressions; its bounds and kind live in a domain that variables with equal
/// bounds share until one of them changes. Copies of the handle name the same variable, which is not counted: it lives
/// until end(), or until its environment ends. Members accept no empty handle unless they say so.
class TavNumVar : public TavNumExprArg {
 public:
  ///@{
  /// The kinds of variable.
  using Type = TavNumVarKind::Type;
  static constexpr Type Int = TavNumVarKind::Int;
  static constexpr Type Float = TavNumVarKind::Float;
  static constexpr Type Bool = TavNumVarKind::Bool;
  ///@}

  TavNumVar() noexcept = default;
  explicit TavNumVar(TavNumVarI* impl) noexcept : TavNumExprArg(TavImplCast<TavNumExprI>(impl)) {}
  /// A new variable. Integer bounds are both rounded up: (0.2, 3.7) gives [1, 4]. Boolean bounds are brought to 0 or 1,
  /// the upper one to 1 from anything above 0; such a variable reports type Int, its domain being the shared [0, 1].
  /// `name` is copied.
  explicit TavNumVar(TavEnv env, double lb = 0.0, double ub = TavGetInfinity(), Type type = Float,
                     TavNameArg name = nullptr);
  /// A new continuous variable.
  TavNumVar(TavEnv env, double lb, double ub, TavNameArg name);
  /// A new variable in the column's environment, then installed into the column. Boolean bounds are truncated first: an
  /// upper bound of 0.5 gives 0. What the column throws leaves no variable behind.
  explicit TavNumVar(const TavAddNumVar& column, double lb = 0.0, double ub = TavGetInfinity(), Type type = Float,
                     TavNameArg name = nullptr);
  /// The same over a list of values; see the form over an environment.
  TavNumVar(const TavAddNumVar& column, TavNumArray values, Type type = Float, TavNameArg name = nullptr);
  /// A new continuous variable with the range's bounds, in its environment.
  explicit TavNumVar(TavNumRange range, TavNameArg name = nullptr);
  /// A new continuous variable over a copy of the values. Throws TavNotSupportedOperation for any other type.
  TavNumVar(TavEnv env, TavNumArray values, Type type = Float, TavNameArg name = nullptr);
  /// A new 0-1 integer variable that stands for the constraint's truth; it prints as the constraint.
  explicit TavNumVar(TavConstraint constraint);
  ///@{
  /// As on TavNumExprArg.
  TavNumVar(const TavNumVar&) noexcept = default;
  TavNumVar& operator=(const TavNumVar&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavNumVar&) && = delete;
  ///@}

  TavNumVarI* getImpl() const noexcept { return TavImplCast<TavNumVarI>(_impl); }
  /// The identifier: an index that is unique among the live objects of the environment.
  TavInt getId() const;
  /// The name, or null.
  const char* getName() const;
  /// Replaces the name by a copy of `name`; null removes it.
  void setName(TavNameArg name) const;
  ///@{
  /// The bounds; they may be infinite.
  double getLB() const;
  double getUB() const;
  ///@}
  ///@{
  /// Set the bounds of this variable alone, a shared domain being copied first, and report the modification
  /// (TavSetNumVarBounds). Nothing checks that lb is not above ub.
  void setLB(double lb) const;
  void setUB(double ub) const;
  void setBounds(double lb, double ub) const;
  ///@}
  /// The kind. Throws TavWrongUsage "Using empty handle TavNumVar::getType".
  Type getType() const;
  /// Appends the value list, if there is one, to `out`. Throws TavWrongUsage "Using empty handle TavNumVar" or "Using
  /// empty TavNumArray handle.".
  void getPossibleValues(TavNumArray out) const;
  /// Replaces the value list by a copy and reports it (TavSetNumVarPossibleValues). Throws TavWrongUsage "Using empty
  /// TavNumVar handle." or "Using empty TavNumArray handle."; TavNotSupportedOperation unless the type is Float.
  void setPossibleValues(TavNumArray values) const;
};

/// An integer variable. Its bounds are whole numbers: floating-point ones do not compile.
class TavIntVar : public TavIntExprArg {
 public:
  /// The default upper bound, 2^53 - 1: the greatest integer up to which doubles are exact.
  static constexpr TavInt kMaxInt = 9007199254740991;

  TavIntVar() noexcept = default;
  explicit TavIntVar(TavNumVarI* impl) noexcept : TavIntExprArg(TavImplCast<TavIntExprI>(impl)) {}
  /// A new variable with bounds [0, kMaxInt].
  explicit TavIntVar(TavEnv env, TavNameArg name = nullptr);
  /// A new variable with these bounds.
  TavIntVar(TavEnv env, TavIntArg lb, TavIntArg ub, TavNameArg name = nullptr);
  /// A new variable with the range's bounds, in its environment.
  explicit TavIntVar(TavIntRange range, TavNameArg name = nullptr);
  /// A new variable over a copy of the values. An empty array handle: TavEmptyHandleException.
  TavIntVar(TavEnv env, TavIntArray values, TavNameArg name = nullptr);
  /// New variables in the column's environment, then installed into the column.
  TavIntVar(const TavAddNumVar& column, TavIntArg lb, TavIntArg ub, TavNameArg name = nullptr);
  TavIntVar(const TavAddNumVar& column, TavIntArray values, TavNameArg name = nullptr);
  /// The same variable. Throws TavBadConversion when its type is Float.
  explicit TavIntVar(TavNumVar variable);
  ///@{
  /// As on TavNumExprArg.
  TavIntVar(const TavIntVar&) noexcept = default;
  TavIntVar& operator=(const TavIntVar&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavIntVar&) && = delete;
  ///@}

  /// The same variable as a numeric one.
  operator TavNumVar() const noexcept { return TavNumVar(getImpl()); }
  TavNumVarI* getImpl() const noexcept { return TavImplCast<TavNumVarI>(_impl); }
  ///@{
  /// As on TavNumVar.
  TavInt getId() const { return TavNumVar(*this).getId(); }
  const char* getName() const { return TavNumVar(*this).getName(); }
  void setName(TavNameArg name) const { TavNumVar(*this).setName(name); }
  ///@}
  ///@{
  /// The bounds, cut toward zero.
  TavInt getMin() const { return TavTrunc(TavNumVar(*this).getLB()); }
  TavInt getMax() const { return TavTrunc(TavNumVar(*this).getUB()); }
  ///@}
  ///@{
  /// Set one bound of this variable alone and report the modification, as TavNumVar's setters do. Throw TavWrongUsage
  /// "Using empty TavIntVar handle.".
  void setMin(TavIntArg lb) const;
  void setMax(TavIntArg ub) const;
  ///@}
  /// Sets both bounds as one modification. Throws TavWrongUsage "Using empty handle TavIntVar".
  void setBounds(TavIntArg lb, TavIntArg ub) const;
  /// The kind. Throws TavWrongUsage "Using empty handle TavIntVar::getType".
  TavNumVar::Type getType() const;
  /// Appends the value list, if there is one, to `out`. Throws TavWrongUsage "Using empty handle TavIntVar" or "Using
  /// empty TavIntArray handle.".
  void getPossibleValues(TavIntArray out) const;
  /// Replaces the value list by a copy and reports it. Throws TavWrongUsage "Using empty TavIntVar handle." or "Using
  /// empty TavIntArray handle.".
  void setPossibleValues(TavIntArray values) const;
};

/// A 0-1 variable. Its type is Int, the shared domain [0, 1] being an integer one; only the column form makes a
/// variable of type Bool.
class TavBoolVar : public TavIntVar {
 public:
  TavBoolVar() noexcept = default;
  explicit TavBoolVar(TavNumVarI* impl) noexcept : TavIntVar(impl) {}
  /// A new variable with bounds [0, 1].
  explicit TavBoolVar(TavEnv env, TavNameArg name = nullptr);
  /// A new variable with these bounds, which are not checked.
  TavBoolVar(TavEnv env, TavIntArg lb, TavIntArg ub, TavNameArg name = nullptr);
  /// A new variable of type Bool in the column's environment, then installed into the column.
  explicit TavBoolVar(const TavAddNumVar& column, TavNameArg name = nullptr);
  /// The same variable. Throws TavWrongUsage "Try to add a float variable to TavBoolVarArray" for type Float, and
  /// TavBadConversion for type Int unless each bound is exactly 0 or 1.
  explicit TavBoolVar(TavNumVar variable);
  /// The same variable. Throws TavBadConversion when a bound lies outside 0 to 1.
  explicit TavBoolVar(TavIntVar variable);
  ///@{
  /// As on TavNumExprArg.
  TavBoolVar(const TavBoolVar&) noexcept = default;
  TavBoolVar& operator=(const TavBoolVar&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavBoolVar&) && = delete;
  ///@}
};

/// A variable that is 0, or between its threshold and its upper bound. Its domain keeps the bounds [0, ub].
class TavSemiContVar : public TavNumVar {
 public:
  TavSemiContVar() noexcept = default;
  explicit TavSemiContVar(TavSemiContVarI* impl) noexcept : TavNumVar(TavImplCast<TavNumVarI>(impl)) {}
  /// A new variable with threshold `sclb` and bounds [0, ub].
  TavSemiContVar(TavEnv env, double sclb, double ub, Type type = Float, TavNameArg name = nullptr);
  /// The same in the column's environment, then installed into the column.
  TavSemiContVar(const TavAddNumVar& column, double sclb, double ub, Type type = Float, TavNameArg name = nullptr);
  ///@{
  /// As on TavNumExprArg.
  TavSemiContVar(const TavSemiContVar&) noexcept = default;
  TavSemiContVar& operator=(const TavSemiContVar&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavSemiContVar&) && = delete;
  ///@}

  TavSemiContVarI* getImpl() const noexcept { return TavImplCast<TavSemiContVarI>(_impl); }
  /// The threshold.
  double getSemiContinuousLb() const;
  /// Sets the threshold and reports it with the old one (TavSetSemiContBound); reports nothing when the value is the
  /// same.
  void setSemiContinuousLb(double sclb) const;
  /// The clone registered for this variable, in its own environment or in `env`.
  TavSemiContVar getClone() const;
  TavSemiContVar getClone(TavEnv env) const;
  /// Registers `clone` as the clone of this variable, in its own environment or in `env`, until the pass ends.
  void setClone(TavSemiContVar clone) const;
  void setClone(TavSemiContVar clone, TavEnv env) const;
};

#pragma GCC visibility pop
