#pragma once
/// Class header for authors of algorithms: the linear nodes that operators return.

#include <type_traits>
#include <utility>

#include "expression/core/int_linear.h"
#include "expression/core/num_linear.h"

#pragma GCC visibility push(default)

/// The linear node that an operator fills and returns: its operand when that has no references, otherwise a new node,
/// which is destroyed unless it is released.
template <class Linear>
class TavSumBuilder {
 public:
  /// A new node.
  explicit TavSumBuilder(TavGuard<Linear> fresh) noexcept : _node(fresh.get()), _fresh(std::move(fresh)) {}
  /// An operand that may be changed in place.
  explicit TavSumBuilder(Linear* operand) noexcept : _node(operand) {}

  /// The node.
  Linear* operator->() const noexcept { return _node; }
  /// The finished node.
  Linear* release() noexcept {
    _fresh.release();
    return _node;
  }

 private:
  Linear* _node;
  TavGuard<Linear> _fresh;
};

/// Starts with a constant.
template <class Linear, class Constant>
[[gnu::always_inline]] inline TavSumBuilder<Linear> TavStartSum(TavEnvI* env, Constant constant) {
  return TavSumBuilder<Linear>(TavMakeNode<Linear>(env, env, constant));
}

/// Starts with a linear operand: the operand itself, or a copy when it has references or `copy` is set. For a numeric
/// sum an integer operand is converted.
template <class Linear>
TavSumBuilder<Linear> TavStartSum(TavNumExprI* operand, bool copy = false) {
  if constexpr (std::is_same_v<Linear, TavNumLinTermI>) {
    if (operand->kind() == TavKind::IntLinear) return TavSumBuilder(TavGuard<Linear>(operand->toNumLinTermI()));
  }
  auto* linear = static_cast<Linear*>(operand);
  if (!copy && operand->getRefCount() <= 0) return TavSumBuilder(linear);
  return TavSumBuilder(TavGuard<Linear>(linear->copyLinear()));
}

/// Whether the node is a linear one, of either class, without terms and parts.
inline bool TavIsConstant(const TavNumExprI* node) {
  if (node->kind() == TavKind::NumLinear) return static_cast<const TavNumLinTermI*>(node)->isConstant();
  return node->kind() == TavKind::IntLinear && static_cast<const TavIntLinTermI*>(node)->isConstant();
}

/// Whether the node is a linear one, of either class, without parts.
inline bool TavIsLinearWithoutParts(const TavNumExprI* node) {
  if (node->kind() == TavKind::NumLinear) return !static_cast<const TavNumLinTermI*>(node)->getFirstPart();
  return node->kind() == TavKind::IntLinear && !static_cast<const TavIntLinTermI*>(node)->getFirstPart();
}

#pragma GCC visibility pop
