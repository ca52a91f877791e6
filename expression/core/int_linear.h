#pragma once
/// Class header for authors of algorithms: the integer linear node and the record of a removed variable.

#include "expression/core/linear.h"

#pragma GCC visibility push(default)

class TavIntLinTermI;

/// The term of a variable was dropped.
class TavIntLinTermRemoveVar final : public TavTermChange<TavIntLinTermRemoveVar, TavIntLinTermI> {
 public:
  using TavTermChange::TavTermChange;
  static constexpr const char* kTypeName = "TavIntLinTermRemoveVar";
};

/// A linear sum of integer expressions. Coefficients are doubles that hold whole numbers; it is never normalised.
class TavIntLinTermI final
    : public TavLinearI<TavIntLinTermI, TavIntExprI, TavInt, TavIntExprI, TavIntLinTermRemoveVar> {
 public:
  static constexpr const char* kTypeName = "TavIntLinTermI";
  /// The kind of every node of this class.
  static constexpr TavKind kKind = TavKind::IntLinear;

  /// A sum of this constant alone.
  TavIntLinTermI(TavEnvI* env, TavInt constant) : TavLinearI(env, constant) {}
  /// The term's cell as the one term.
  explicit TavIntLinTermI(TavIntLinExprTerm term);

  /// Multiplies coefficients, constant (wrapping around) and every part; 0 keeps every term.
  void multiply(TavInt k);
  /// Called for every added cell. Does nothing.
  void termsChanged() noexcept {}

  /// A new numeric node of the same terms, parts and constant; this one stays as it is.
  TavNumLinTermI* toNumLinTermI() override;
  TavIntLinTermI* toIntLinTermI() override { return this; }
  /// A new node; parts are shared.
  TavIntExprI* intCopy() override { return copyLinear(); }
  /// The copy as a linear node.
  TavIntLinTermI* copyLinear() const;
};

#pragma GCC visibility pop
