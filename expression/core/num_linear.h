#pragma once
/// Class header for authors of algorithms: the numeric linear node and the records of its modifications.

#include "expression/core/linear.h"

#pragma GCC visibility push(default)

class TavNumLinTermI;

/// A coefficient was set for a variable that was absent.
class TavNumLinTermAddVar final : public TavTermChange<TavNumLinTermAddVar, TavNumLinTermI> {
 public:
  using TavTermChange::TavTermChange;
  static constexpr const char* kTypeName = "TavNumLinTermAddVar";
};

/// The coefficient of a variable has changed, or its term was dropped.
class TavNumLinTermRemoveVar final : public TavTermChange<TavNumLinTermRemoveVar, TavNumLinTermI> {
 public:
  using TavTermChange::TavTermChange;
  static constexpr const char* kTypeName = "TavNumLinTermRemoveVar";
};

/// A linear sum of numeric expressions: the node of every TavExpr.
class TavNumLinTermI final
    : public TavLinearI<TavNumLinTermI, TavNumExprI, double, TavNumExprI, TavNumLinTermRemoveVar> {
 public:
  static constexpr const char* kTypeName = "TavNumLinTermI";
  /// The kind of every node of this class.
  static constexpr TavKind kKind = TavKind::NumLinear;

  /// A sum of this constant alone.
  TavNumLinTermI(TavEnvI* env, double constant) : TavLinearI(env, constant) {}
  /// The term's cell as the one term.
  explicit TavNumLinTermI(TavNumLinExprTerm term);
  explicit TavNumLinTermI(TavIntLinExprTerm term);

  ///@{
  /// Multiply or divide coefficients, constant and every part by d; no value of d is special.
  void multiply(double d);
  void divide(double d);
  ///@}
  /// Merges the terms of each variable into its last one and drops the terms with a coefficient of exactly 0; O(n). The
  /// others keep their order. Returns the number of terms merged; dropped zeros do not count.
  TavInt normalize();
  /// Normalises, then sets one coefficient: 0 unlinks the term, an absent variable is appended. Reports
  /// TavNumLinTermAddVar for an absent variable, TavNumLinTermRemoveVar for any change of a non-zero coefficient.
  /// Returns the old coefficient, 0 for an absent variable. O(n).
  double setCoef(TavNumVar variable, double coef);
  /// Normalises, then sets many coefficients, `coefs` being at least as long as `variables`: O(n + m). Terms stay
  /// linked at 0. Reports only a coefficient that becomes zero (TavNumLinTermRemoveVar) or non-zero
  /// (TavNumLinTermAddVar). An absent variable that is listed twice gets two terms. Writes the old coefficients to
  /// `previous` unless it is empty.
  void setCoef(TavNumVarArray variables, TavNumArray coefs, TavNumArray previous);
  /// Whether normalize() has run since the last cell was added.
  bool isNormalized() const noexcept { return _normalized; }
  /// Whether the value is linear in the decisions: true without parts, or when every part is a parameter.
  bool isLinear() const;
  /// Called for every added cell.
  void termsChanged() noexcept { _normalized = false; }

  bool isInteger() const override;
  TavNumLinTermI* toNumLinTermI() override { return this; }
  /// A new node; parts are shared.
  TavNumExprI* copy() override { return copyLinear(); }
  /// The copy as a linear node.
  TavNumLinTermI* copyLinear() const;

 private:
  friend class TavIntLinTermI;
  friend class TavCoefEdit;
  friend class TavCoefsEdit;
  /// Merges with `markOf(cell)` being the representative of the cell's variable.
  template <class MarkOf>
  TavInt merge(MarkOf markOf) noexcept;

  bool _normalized = false;
};

#pragma GCC visibility pop
