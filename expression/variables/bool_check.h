#pragma once
/// Class header for authors of algorithms: the check of variables that are taken as 0-1 variables.

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// Throws TavWrongUsage for a continuous variable and TavBadConversion for an integer one unless each bound is exactly
/// 0 or 1. Any other type passes.
inline void TavCheckBool(TavNumVar variable) {
  const auto isZeroOrOne = [](double bound) { return bound == 0.0 || bound == 1.0; };
  const TavNumVar::Type type = variable.getType();
  if (type == TavNumVar::Float) throw TavWrongUsage("Try to add a float variable to TavBoolVarArray", 0);
  if (type != TavNumVar::Int) return;
  if (!isZeroOrOne(variable.getLB()) || !isZeroOrOne(variable.getUB())) throw TavBadConversion();
}

#pragma GCC visibility pop
