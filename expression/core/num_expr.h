#pragma once
/// Class header for authors of algorithms: the base of every numeric expression.

#include <cassert>

#include "expression/core/node.h"
#include "host/deep_stack.h"
#include "host/prefetch.h"

#pragma GCC visibility push(default)

class TavNumLinTermI;

/// The kinds of node that operators distinguish.
enum class TavKind : std::uint8_t {
  Variable,   ///< A TavNumVarI, or an object of a class derived from it.
  NumLinear,  ///< A TavNumLinTermI.
  IntLinear,  ///< A TavIntLinTermI.
  Other,      ///< Any other node.
};

/// A numeric expression. It counts its references: those of parents and of counted handles. A new node has none.
class TavNumExprI : public TavNode<TavNumExprI, TavExtractableI> {
 public:
  static constexpr const char* kTypeName = "TavNumExprI";

  /// Enrols the node in its environment; classes without a kind of their own leave `kind` out.
  TavNumExprI(TavEnvI* env, TavNameArg name, TavKind kind = TavKind::Other)
      : TavNode(env, name), _references(static_cast<TavInt>(kind)) {}

  /// The kind of node.
  TavKind kind() const noexcept { return static_cast<TavKind>(_references & (kOne - 1)); }

  /// The number of references of parents and counted handles.
  TavInt getRefCount() const noexcept { return _references >> kKindBits; }
  /// Adds one reference.
  void retain() noexcept { _references += kOne; }
  /// Takes one reference away without ending the node: for a holder that puts it back or passes it on.
  void lower() noexcept { _references -= kOne; }

  bool isRefCountedExpr() const override { return true; }
  /// Drops one reference. A node that has none left, or had none before, is passed to the environment's
  /// deletionInterceptor, or destroyed by removeFromAllAndDestroy or destroy.
  void end() override;

  /// A node that may be changed in place when this one is shared: linear nodes return a copy, all others themselves.
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
  static constexpr int kKindBits = 8;
  static constexpr TavInt kOne = TavInt{1} << kKindBits;
  /// The kind in the lowest bits, the number of references above them: the size of a node stays 40 bytes.
  TavInt _references;
};

/// x.isInteger() for an operand that may nest deep. Throws TavEmptyHandleException for null.
inline bool TavIsInteger(const TavNumExprI* x) {
  if (!x) throw TavEmptyHandleException();
  return TavDeep([x] { return x->isInteger(); });
}

/// Whether a node of `env` may have the operand: one in the same environment, or a constraint, whose clones stay in its
/// own. For assertions.
bool TavMayHold(const TavEnvI* env, const TavNumExprI* operand) noexcept;

/// The registered clone of an operand, in the map of `env`. Throws TavEmptyHandleException when the pass has none.
template <class Operand>
Operand* TavCloneOf(const Operand* operand, const TavEnvI* env) {
  TavExtractableI* clone = env->getClone(operand);
  if (!clone) throw TavEmptyHandleException();
  return static_cast<Operand*>(clone);
}

#pragma GCC visibility pop
