#pragma once
/// Class header for authors of algorithms: linear nodes by their kind.

#include "expression/core/int_linear.h"
#include "expression/core/num_linear.h"

#pragma GCC visibility push(default)

/// A linear node of either kind without terms and parts.
inline bool TavIsConstant(const TavNumExprI* node) {
  const TavKind kind = node->getKind();
  if (kind == TavKind::NumLinear) return static_cast<const TavNumLinTermI*>(node)->isConstant();
  return kind == TavKind::IntLinear && static_cast<const TavIntLinTermI*>(node)->isConstant();
}

/// A linear node of either kind without parts.
inline bool TavIsLinearWithoutParts(const TavNumExprI* node) {
  const TavKind kind = node->getKind();
  if (kind == TavKind::NumLinear) return !static_cast<const TavNumLinTermI*>(node)->getFirstPart();
  return kind == TavKind::IntLinear && !static_cast<const TavIntLinTermI*>(node)->getFirstPart();
}

#pragma GCC visibility pop
