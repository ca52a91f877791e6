#pragma once
/// Class header for authors of algorithms: the base of every numeric expression.

#include <cassert>

#include "expression/core/node.h"
#include "host/deep_stack.h"
#include "host/prefetch.h"

#pragma GCC visibility push(default)

class TavNumLinTermI;

/// A numeric expression. Its count holds the parents and the counted handles; a new node starts at 0.
class TavNumExprI : public TavNode<TavNumExprI, TavExtractableI> {
 public:
  static constexpr const char* kTypeName = "TavNumExprI";

  TavNumExprI(TavEnvI* env, TavNameArg name) : TavNode(env, name) {}

  /// The references held by parents and counted handles.
  TavInt getRefCount() const noexcept { return _refCount; }
  /// Adds one reference.
  void retain() noexcept { ++_refCount; }
  /// Takes one reference away without ending the node: for a holder that puts it back or passes it on.
  void lower() noexcept { --_refCount; }

  bool isRefCountedExpr() const override { return true; }
  /// Drops one reference. At 0 or below the node goes: to the environment's interceptor, or by removeFromAllAndDestroy
  /// or destroy. An uncounted node goes at once.
  void end() override;

  /// A node that may be changed in place when this one is shared: the linear nodes copy, all others answer themselves.
  virtual TavNumExprI* copy() { return this; }
  /// end(), unless the environment is ending.
  virtual void release();
  /// The expression as a numeric linear node; by default a new one with this node as its only part.
  virtual TavNumLinTermI* toNumLinTermI();
  /// Whether the value is known to be integral.
  virtual bool isInteger() const { return false; }
  /// The value under the algorithm.
  virtual double eval(TavAlgorithm algorithm) const = 0;
  /// The constant of a linear sum; 0 for every other expression.
  virtual double getNumConstant() const { return 0.0; }

 private:
  TavInt _refCount = 0;
};

/// x.isInteger() for an operand, however deep it goes. Throws TavEmptyHandleException for null.
inline bool TavIsInteger(const TavNumExprI* x) {
  if (!x) throw TavEmptyHandleException();
  return TavDeep([x] { return x->isInteger(); });
}

/// Whether a node of `env` may hold the operand: one of its own, or a constraint, whose clones stay where it is. For
/// assertions.
bool TavIsAtHome(const TavEnvI* env, const TavNumExprI* operand) noexcept;

/// The registered clone of an operand, in the map of `env`. Throws TavEmptyHandleException when the pass has none.
template <class Operand>
Operand* TavCloneOf(const Operand* operand, const TavEnvI* env) {
  TavExtractableI* clone = env->getClone(operand);
  if (!clone) throw TavEmptyHandleException();
  return static_cast<Operand*>(clone);
}

#pragma GCC visibility pop
