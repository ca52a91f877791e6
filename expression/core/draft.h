#pragma once
/// Class header for authors of algorithms: linear operands that an operator may change.

#include "expression/core/kind.h"

#pragma GCC visibility push(default)

/// A linear node to be changed and returned: the operand itself when it has no references, else a new one, which is
/// destroyed unless it is released.
template <class Linear>
class TavDraft {
 public:
  /// A new node, destroyed unless it is released.
  explicit TavDraft(TavNodeGuard<Linear> fresh) noexcept : _node(fresh.get()), _fresh(std::move(fresh)) {}
  /// An operand that may be changed in place.
  explicit TavDraft(Linear* operand) noexcept : _node(operand) {}

  /// The node.
  Linear* operator->() const noexcept { return _node; }
  /// Releases the node and returns it.
  Linear* release() noexcept {
    if (_fresh) _fresh.release();
    return _node;
  }

 private:
  Linear* _node;
  TavNodeGuard<Linear> _fresh;
};

/// A new empty linear node of the environment.
template <class Linear, class Constant>
[[gnu::always_inline]] inline TavDraft<Linear> TavNewDraft(TavEnvI* env, Constant constant) {
  return TavDraft<Linear>(TavMakeNode<Linear>(env, env, constant));
}

/// The operand itself, or a copy when it has references or `shared` is set.
template <class Linear>
TavDraft<Linear> TavPrivateDraft(TavNumExprI* operand, bool shared = false) {
  auto* linear = static_cast<Linear*>(operand);
  if (!shared && operand->getRefCount() <= 0) return TavDraft<Linear>(linear);
  return TavDraft<Linear>(TavNodeGuard<Linear>(linear->copyLinear()));
}

/// The draft of a linear operand of either kind: an integer one is converted for the numeric side.
template <class Linear>
TavDraft<Linear> TavDraftOf(TavNumExprI* operand, TavKind kind, bool shared = false) {
  if constexpr (std::is_same_v<Linear, TavNumLinTermI>) {
    if (kind == TavKind::IntLinear) return TavDraft<Linear>(TavNodeGuard<Linear>(operand->toNumLinTermI()));
  }
  return TavPrivateDraft<Linear>(operand, shared);
}

#pragma GCC visibility pop
