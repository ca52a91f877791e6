#pragma once
/// Class header for authors of algorithms: index nodes, the parameters over which a modelling language iterates.

#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// A numeric parameter. Its value is fixed before any decision, so expressions over it alone count as linear. Client
/// classes say how it evaluates and prints.
class TavNumIndexI : public TavNode<TavNumIndexI, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "TavNumIndexI";

  TavNumIndexI(TavEnvI* env, TavNameArg name) : TavNode(env, name) {}
  bool isDecisionExpr() const override { return false; }
};

/// An integer parameter.
class TavIntIndexI : public TavNode<TavIntIndexI, TavIntExprI> {
 public:
  static constexpr const char* kTypeName = "TavIntIndexI";

  TavIntIndexI(TavEnvI* env, TavNameArg name) : TavNode(env, name) {}
  bool isDecisionExpr() const override { return false; }
};

/// Whether the node is an index node of either kind.
inline bool TavIsIndex(const TavNumExprI* node) {
  return node->isType(TavNumIndexI::GetTypeInfo()) || node->isType(TavIntIndexI::GetTypeInfo());
}

#pragma GCC visibility pop
