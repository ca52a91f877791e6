#pragma once
/// Class header for authors of algorithms: the kinds of node that operators tell apart.

#include "expression/core/int_linear.h"
#include "expression/core/num_linear.h"

#pragma GCC visibility push(default)

/// What operators make of an operand.
enum class TavKind { Variable, NumLinear, IntLinear, Other };

/// One virtual call and a few compares; only subclasses of variables and other nodes take a second call.
inline TavKind TavKindOf(const TavNumExprI* node) {
  const TavTypeInfo type = node->getTypeInfo();
  if (type == TavNumVarI::GetTypeInfo()) return TavKind::Variable;
  if (type == TavNumLinTermI::GetTypeInfo()) return TavKind::NumLinear;
  if (type == TavIntLinTermI::GetTypeInfo()) return TavKind::IntLinear;
  return node->isType(TavNumVarI::GetTypeInfo()) ? TavKind::Variable : TavKind::Other;
}

/// A linear node of either kind without terms and parts.
inline bool TavIsConstant(const TavNumExprI* node) {
  const TavTypeInfo type = node->getTypeInfo();
  if (type == TavNumLinTermI::GetTypeInfo()) return static_cast<const TavNumLinTermI*>(node)->isConstant();
  return type == TavIntLinTermI::GetTypeInfo() && static_cast<const TavIntLinTermI*>(node)->isConstant();
}

/// A linear node of either kind without parts.
inline bool TavIsLinearWithoutParts(const TavNumExprI* node) {
  const TavTypeInfo type = node->getTypeInfo();
  if (type == TavNumLinTermI::GetTypeInfo()) return !static_cast<const TavNumLinTermI*>(node)->getFirstPart();
  return type == TavIntLinTermI::GetTypeInfo() && !static_cast<const TavIntLinTermI*>(node)->getFirstPart();
}

#pragma GCC visibility pop
