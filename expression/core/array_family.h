#pragma once
/// Class header for authors of algorithms: the shape of nodes over an array of expressions.

#include "expression/core/check.h"
#include "expression/core/guards.h"
#include "expression/core/nested.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// f(x0, x1, ...). The node owns its array and retains every element. Self states `value`, `write` and makeClone.
template <class Self, class Base, class Array>
class TavArrayOperandsI : public TavNested<Self, Base> {
 public:
  /// Takes over a new array, to which no other handle refers, and retains its elements. A constructor of Self must not
  /// throw afterwards: only the destructor releases the elements.
  TavArrayOperandsI(TavEnvI* env, Array exprs) : TavNested<Self, Base>(env, nullptr), _exprs(exprs) {
    for (TavInt i = 0; i < exprs.getSize(); ++i) {
      assert((!exprs[i] || TavMayHold(env, exprs[i].getImpl())) &&
             "an element of another environment got past the checks");
    }
    _exprs.lockExprs();
  }
  ~TavArrayOperandsI() override {
    _exprs.releaseExprs();
    _exprs.end();
  }

  /// The operands. The array is the node's own.
  Array getExprs() const noexcept { return _exprs; }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitArray(this, _exprs);
    visitor->endVisit(this);
  }

 private:
  Array _exprs;
};

/// The array's environment. Throws TavEmptyHandleException for an empty array handle or element and TavWrongUsage with
/// this message, a literal, for an element of another environment. Call it before anything is allocated.
inline TavEnvI* TavRequireElements(TavExtractableArray array, const char* message) {
  if (!array.getImpl()) throw TavEmptyHandleException();
  TavEnvI* env = array.getImpl()->getEnv();
  for (TavInt i = 0; i < array.getSize(); ++i) {
    if (TavRequireEnv(array.getImpl()->get<TavExtractableI*>(i)) != env) throw TavWrongUsage(message, 0);
  }
  return env;
}

/// Whether every element is integer; true without elements.
inline bool TavAreIntegers(TavNumExprArray exprs) {
  for (TavInt i = 0; i < exprs.getSize(); ++i) {
    if (!TavIsInteger(exprs[i].getImpl())) return false;
  }
  return true;
}

/// A new Node(env, exprs, args...), which owns the fresh array `exprs`; if construction fails, ends the array.
template <class Node, class Array, class... Args>
Node* TavMakeArrayNode(TavEnvI* env, Array exprs, Args... args) {
  TavGuard<TavArrayI> guard(exprs.getImpl());
  Node* node = new (env) Node(env, exprs, args...);
  guard.release();
  return node;
}

/// A copy of the array in the array's own memory. Throws TavEmptyHandleException when there is no array.
template <class Array>
Array TavCopyOfArray(Array array) {
  if (!array.getImpl()) throw TavEmptyHandleException();
  return Array(array.getImpl()->makeCopy(array.getImpl()->getMemory()));
}

/// A new array in `target` of the elements' clones as `target` has them registered; empty where there is none.
template <class Array>
Array TavCloneOfArray(Array exprs, TavEnvI* target) {
  exprs.replaceByClone(target);  // redirects this handle alone
  return exprs;
}

#pragma GCC visibility pop
