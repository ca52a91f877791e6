#pragma once
/// Basic number types and the numeric functions of the host.

#if __cplusplus < 202002L
#error "tavexpression needs C++20: compile with -std=c++20"
#endif
#ifdef __FAST_MATH__
#error "tavexpression promises IEEE values: compile and link without -ffast-math"
#endif

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

#pragma GCC visibility push(default)

/// Signed 64-bit integer: every integer constant, count, index and identifier.
using TavInt = std::int64_t;
/// A floating-point number as arrays store it.
using TavNum = double;
/// An arbitrary object as arrays store it; the library never reads it.
using TavAny = void*;

/// The kind of a variable; handles re-export it as `TavNumVar::Type`. Every other value counts as `Bool`.
struct TavNumVarKind {
  /// The kinds: whole numbers, real numbers, 0 and 1.
  enum Type : std::int32_t { Int = 1, Float = 2, Bool = 3 };
};

/// The infinity of unbounded bounds: the IEEE one.
inline double TavGetInfinity() noexcept { return std::numeric_limits<double>::infinity(); }

/// Nearest whole number, halves away from zero; infinities and not-a-numbers pass through.
inline double TavRound(double x) noexcept { return std::round(x); }

/// Nearest whole number, halves to the even one; infinities and not-a-numbers pass through.
double TavVurRound(double x) noexcept;

/// `x` truncated toward zero. Values beyond the 64-bit range give the nearest limit, NaN gives 0: the conversion is
/// never undefined. The library converts doubles to integers by this function only.
inline TavInt TavTrunc(double x) noexcept {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (x >= kTwoTo63) return std::numeric_limits<TavInt>::max();
  if (x >= -kTwoTo63) return static_cast<TavInt>(x);
  return x < 0 ? std::numeric_limits<TavInt>::min() : 0;
}

///@{
/// Sum, difference and product in 64 bits that wrap around instead of being undefined.
inline TavInt TavWrapAdd(TavInt a, TavInt b) noexcept {
  return static_cast<TavInt>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
inline TavInt TavWrapMul(TavInt a, TavInt b) noexcept {
  return static_cast<TavInt>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}
inline TavInt TavWrapNegate(TavInt a) noexcept { return TavWrapMul(a, -1); }
///@}

/// The types that count as whole numbers beside expressions: integers, and what converts to one implicitly, as unscoped
/// enumerators, std::vector<bool>'s references, std::atomic<int> and std::integral_constant do.
template <class T>
concept TavIntegral = requires(const T& number) {
  { +number } -> std::integral;
};
/// The types that count as real numbers: floating-point numbers, and what converts to one implicitly.
template <class T>
concept TavFloating = requires(const T& number) {
  { +number } -> std::floating_point;
};
/// Whole or real numbers.
template <class T>
concept TavNumber = TavIntegral<T> || TavFloating<T>;

/// A number beside an expression, as a double. It and the next two are parameter types: numbers convert to them.
struct TavNumArg {
  ///@{
  /// Any number.
  template <TavNumber N>
  requires(!std::is_class_v<N>) constexpr TavNumArg(N number) noexcept : value(static_cast<double>(number)) {}
  template <TavNumber N>
  requires std::is_class_v<N>
  constexpr TavNumArg(const N& number) noexcept : value(static_cast<double>(+number)) {}
  ///@}
  double value;  ///< The number.
};

/// A whole number beside an integer expression; floating-point numbers do not convert to it. Unsigned 64-bit numbers
/// count as signed ones.
struct TavIntArg {
  ///@{
  /// Any whole number.
  template <TavIntegral K>
  requires(!std::is_class_v<K>) constexpr TavIntArg(K number) noexcept : value(static_cast<TavInt>(number)) {}
  template <TavIntegral K>
  requires std::is_class_v<K>
  constexpr TavIntArg(const K& number) noexcept : value(static_cast<TavInt>(+number)) {}
  ///@}
  TavInt value;  ///< The number.
};

/// A floating-point number beside an integer variable, where whole numbers have a function of their own.
struct TavFloatArg {
  ///@{
  /// Any floating-point number.
  template <TavFloating F>
  requires(!std::is_class_v<F>) constexpr TavFloatArg(F number) noexcept : value(static_cast<double>(number)) {}
  template <TavFloating F>
  requires std::is_class_v<F>
  constexpr TavFloatArg(const F& number) noexcept : value(static_cast<double>(+number)) {}
  ///@}
  double value;  ///< The number.
};

#pragma GCC visibility pop
