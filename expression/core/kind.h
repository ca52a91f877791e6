#pragma once
/// Class header for authors of algorithms: the kinds of node that operators distinguish.

#include <typeinfo>

#include "expression/core/int_linear.h"
#include "expression/core/num_linear.h"

#pragma GCC visibility push(default)

/// The kind of an operand.
enum class TavKind { Variable, NumLinear, IntLinear, Other };

/// The kind of a node of this type, by a few compares. Other types need a virtual call, subclasses of variables and
/// constraints a second one.
inline TavKind TavKindOf(const TavNumExprI* node, TavTypeInfo type) {
  if (type == TavNumVarI::GetTypeInfo()) return TavKind::Variable;
  if (type == TavNumLinTermI::GetTypeInfo()) return TavKind::NumLinear;
  if (type == TavIntLinTermI::GetTypeInfo()) return TavKind::IntLinear;
  if (node->isRefCountedExpr()) return TavKind::Other;  // a quick test: variables are not
  return node->isType(TavNumVarI::GetTypeInfo()) ? TavKind::Variable : TavKind::Other;
}

/// The same for a node whose type is not known yet. Compares the type_info of the virtual table first (no call); falls
/// back to the class token, since a shared object may have its own type_info.
inline TavKind TavKindOf(const TavNumExprI* node) {
#ifdef __cpp_rtti
  const std::type_info* type = &typeid(*node);
  if (type == &typeid(TavNumVarI)) return TavKind::Variable;
  if (type == &typeid(TavNumLinTermI)) return TavKind::NumLinear;
  if (type == &typeid(TavIntLinTermI)) return TavKind::IntLinear;
#endif
  return TavKindOf(node, node->getTypeInfo());
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
