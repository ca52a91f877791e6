#pragma once
/// Class header for authors of algorithms: the base of integer expressions.

#include "expression/core/num_expr.h"

#pragma GCC visibility push(default)

class TavIntLinTermI;

/// An expression whose value is known to be integral.
class TavIntExprI : public TavNode<TavIntExprI, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "TavIntExprI";

  /// Enrols the node in its environment; classes without a kind of their own leave `kind` out.
  TavIntExprI(TavEnvI* env, TavNameArg name, TavKind kind = TavKind::Other) : TavNode(env, name, kind) {}

  bool isInteger() const override { return true; }
  TavNumExprI* copy() override { return intCopy(); }

  /// The result of copy(), as an integer expression.
  virtual TavIntExprI* intCopy() { return this; }
  /// The expression as an integer linear node; by default a new one with this node as its only part.
  virtual TavIntLinTermI* toIntLinTermI();
};

#pragma GCC visibility pop
