#pragma once
/// Class header for authors of algorithms: the checks at the door of operators and builders.

#include "host/errors.h"
#include "host/extractable.h"

/// Throws TavWrongUsage with this message, a literal, unless both operands live in one environment, and
/// TavEmptyHandleException when one is missing. Its call comes before anything is made or changed.
inline void TavRequireSameEnv(const TavExtractableI* a, const TavExtractableI* b, const char* message) {
  if (!a || !b) throw TavEmptyHandleException();
  if (a->getEnv() != b->getEnv()) throw TavWrongUsage(message, 0);
}

/// The operand's environment. Throws TavEmptyHandleException when there is no operand.
inline TavEnvI* TavRequireEnv(const TavExtractableI* operand) {
  if (!operand) throw TavEmptyHandleException();
  return operand->getEnv();
}
