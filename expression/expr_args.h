#pragma once
/// Argument handles: any expression as a parameter or a result.

#include <concepts>
#include <iosfwd>

#include "expression/refused.h"
#include "host/tavhost.h"

#pragma GCC visibility push(default)

class TavIntExpr;
class TavIntExprI;
class TavNumExpr;
class TavNumExprI;

/// Every node class derives from exactly one base, so that a node and each of its bases have the same address. Handles
/// rely on it to name a node by any of its classes without the classes' definitions.
template <class To, class From>
To* TavImplCast(From* impl) noexcept {
  return reinterpret_cast<To*>(impl);
}

/// The counted handles that convert to TavNumExprArg; TavIntExpr has a conversion of its own to TavIntExprArg.
template <class H>
concept TavCountedNumHandle = std::derived_from<H, TavNumExpr> && !std::derived_from<H, TavIntExpr>;

/// Any numeric expression, uncounted: the parameter and result type of operators and functions. Never a member: only a
/// counted handle or another expression keeps the node alive.
class TavNumExprArg {
 public:
  TavNumExprArg() noexcept = default;
  explicit TavNumExprArg(TavNumExprI* impl) noexcept : _impl(impl) {}
  /// The node of a counted handle.
  template <TavCountedNumHandle H>
  TavNumExprArg(const H& handle) noexcept : _impl(TavImplCast<TavNumExprI>(handle.getImpl())) {}
  ///@{
  /// A handle is assigned as a value. A temporary is not assigned to, so that `array[i] = x`, which would change a copy
  /// of the element, does not compile.
  TavNumExprArg(const TavNumExprArg&) noexcept = default;
  TavNumExprArg& operator=(const TavNumExprArg&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavNumExprArg&) && = delete;
  ///@}

  TavNumExprI* getImpl() const noexcept { return _impl; }
  /// The environment that it lives in. Throws TavEmptyHandleException.
  TavEnv getEnv() const;
  /// Whether it is a linear expression without terms and parts, whatever its constant. The shape alone counts:
  /// `2 * x - 2 * x` is not constant before it is normalised. Throws TavEmptyHandleException.
  bool isConstant() const;
  /// Whether it is an index node. Throws TavEmptyHandleException.
  bool isIndex() const;
  /// The constant of a linear expression. Throws TavEmptyHandleException, and TavNumExpr::NonLinearExpression for every
  /// other expression.
  double getNumConstant() const;
  /// Whether the value is known to be integral. Throws TavEmptyHandleException.
  bool isInteger() const;
  /// The value under `algorithm`. Throws TavEmptyHandleException, and what the algorithm throws for a variable.
  /// Expressions may nest a million deep (on Linux with glibc; elsewhere the stack limits the depth): at the end of the
  /// stack evaluation continues on a new segment, and throws std::bad_alloc when there is no memory for one. The same
  /// applies to isInteger() and to printing.
  double eval(TavAlgorithm algorithm) const;
  /// Calls the node's own end() and empties this handle: a counted node loses one reference, so that an unused
  /// temporary is destroyed; a variable is destroyed. Leaves an empty handle unchanged.
  void end();

  operator TavExtractable() const noexcept { return TavExtractable(TavImplCast<TavExtractableI>(_impl)); }
  explicit operator bool() const noexcept { return _impl != nullptr; }

 protected:
  TavNumExprI* _impl = nullptr;
};

/// Any integer expression, uncounted.
class TavIntExprArg : public TavNumExprArg {
 public:
  TavIntExprArg() noexcept = default;
  explicit TavIntExprArg(TavIntExprI* impl) noexcept : TavNumExprArg(TavImplCast<TavNumExprI>(impl)) {}
  ///@{
  /// As on TavNumExprArg.
  TavIntExprArg(const TavIntExprArg&) noexcept = default;
  TavIntExprArg& operator=(const TavIntExprArg&) & noexcept = default;
  tavrefused::an_element_is_replaced_by_set operator=(const TavIntExprArg&) && = delete;
  ///@}

  TavIntExprI* getImpl() const noexcept { return TavImplCast<TavIntExprI>(_impl); }
};

/// Writes the expression's text; nothing for an empty handle.
std::ostream& operator<<(std::ostream& os, TavNumExprArg expression);
template <std::derived_from<TavNumExpr> H>
std::ostream& operator<<(std::ostream& os, const H& expression) {
  return os << TavNumExprArg(TavImplCast<TavNumExprI>(expression.getImpl()));
}

#pragma GCC visibility pop
