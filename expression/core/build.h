#pragma once
/// Class header for authors of algorithms: how builders make nodes.

#include "expression/core/check.h"

#pragma GCC visibility push(default)

///@{
/// An argument handle on a new node.
inline TavNumExprArg TavArgOf(TavNumExprI* node) noexcept { return TavNumExprArg(node); }
inline TavIntExprArg TavArgOf(TavIntExprI* node) noexcept { return TavIntExprArg(node); }
///@}

/// A new Node(env, x, constants...) in the environment of its operand. Throws TavEmptyHandleException.
template <class Node, class Operand, class... Constants>
auto TavBuild(Operand x, Constants... constants) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  return TavArgOf(new (env) Node(env, x.getImpl(), constants...));
}

/// A new Node(env, a, b). Throws TavEmptyHandleException, and TavWrongUsage with this message, a literal, for operands
/// of two environments.
template <class Node, class Operand>
auto TavBuildOfTwo(Operand a, Operand b, const char* message) {
  TavRequireSameEnv(a.getImpl(), b.getImpl(), message);
  TavEnvI* env = a.getImpl()->getEnv();
  return TavArgOf(new (env) Node(env, a.getImpl(), b.getImpl()));
}

#pragma GCC visibility pop
