#pragma once
/// Basic number types and the numeric functions of the host.

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>

#pragma GCC visibility push(default)

/// Signed 64-bit integer: every integer constant, count, index and identifier.
using TavInt = std::int64_t;
/// A floating-point number as arrays store it.
using TavNum = double;
/// An arbitrary object as arrays store it; never looked into.
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

/// `x` cut toward zero. Values beyond the 64-bit range give the nearest end of it, a not-a-number gives 0, so that no
/// conversion of a double to an integer is ever undefined. It is the only such road in the library.
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

/// The whole numbers that operators and functions accept beside expressions.
template <class T>
concept TavIntegral = std::integral<T>;
/// The real numbers among them.
template <class T>
concept TavFloating = std::floating_point<T>;
/// Both.
template <class T>
concept TavNumber = TavIntegral<T> || TavFloating<T>;

#pragma GCC visibility pop
