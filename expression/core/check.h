#pragma once
/// Class header for authors of algorithms: the argument checks of operators and builders.

#include <cassert>

#include "expression/core/num_var.h"

#pragma GCC visibility push(default)

/// Throws TavWrongUsage with this message, a literal, unless both operands live in one environment, and
/// TavEmptyHandleException when one is missing. Call it before anything is allocated or changed.
inline void TavRequireSameEnv(const TavExtractableI* a, const TavExtractableI* b, const char* message) {
  if (!a || !b) throw TavEmptyHandleException();
  assert(a->getEnv()->isLive(a) && b->getEnv()->isLive(b) &&
         "an operand has been destroyed, by an operator or by end(): its handle dangles");
  if (a->getEnv() != b->getEnv()) throw TavWrongUsage(message, 0);
}

/// The operand's environment. Throws TavEmptyHandleException when there is no operand.
inline TavEnvI* TavRequireEnv(const TavExtractableI* operand) {
  if (!operand) throw TavEmptyHandleException();
  assert(operand->getEnv()->isLive(operand) &&
         "the operand has been destroyed, by an operator or by end(): its handle dangles");
  return operand->getEnv();
}

/// The variable of a term handle's cell; null for an empty handle.
inline const TavNumVarI* TavVarOf(const TavNumLinExprTermI* cell) noexcept { return cell ? cell->var : nullptr; }

/// The cell of a term handle, for the expression that takes it over.
inline TavNumLinExprTermI* TavTakeCell(TavEnvI* env, TavNumLinExprTermI* cell) noexcept {
  assert(env->noteTaken(cell) && "a term handle was used twice: it belongs to the first expression that took it");
  static_cast<void>(env);
  return cell;
}

#pragma GCC visibility pop
