#pragma once
/// Class header for authors of algorithms: square, absolute value and sign.

#include <cmath>

#include "expression/core/families.h"
#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// x * x.
class TavNumSquareI final : public TavUnaryI<TavNumSquareI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavNumSquareI";
  static constexpr TavTexts kTexts{{"TavSquare(", "", ") "}, {"square(", "", ")"}};
  static double apply(double x) { return x * x; }
  bool isInteger() const override { return TavIsInteger(getOperand()); }
};

/// x * x of an integer expression, whose value is not truncated.
class TavIntSquareI final : public TavUnaryI<TavIntSquareI, TavIntExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavIntSquareI";
  static constexpr TavTexts kTexts{{"TavSquare(", "", ") "}, {"square(", "", ")"}};
  static double apply(double x) { return x * x; }
};

/// x without its sign bit.
class TavNumAbsI final : public TavUnaryI<TavNumAbsI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavNumAbsI";
  static constexpr TavTexts kTexts{{"TavAbs(", "", ") "}, {"abs(", "", ")"}};
  static double apply(double x) { return std::fabs(x); }
  bool isInteger() const override { return TavIsInteger(getOperand()); }
};

/// The same of an integer expression.
class TavIntAbsI final : public TavUnaryI<TavIntAbsI, TavIntExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavIntAbsI";
  static constexpr TavTexts kTexts{{"TavAbs(", "", ") "}, {"abs(", "", ")"}};
  static double apply(double x) { return std::fabs(x); }
};

/// The sign of any numeric expression: an integer expression of value 1, -1 or 0, which is 0 for NaN too.
class TavSgnI final : public TavUnaryI<TavSgnI, TavIntExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavSgnI";
  static constexpr TavTexts kTexts{{"TavSgn(", "", ") "}, {"sgn(", "", ")"}};
  static double apply(double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; }
};

static_assert(sizeof(TavNumSquareI) == 48 && sizeof(TavSgnI) == 48);

#pragma GCC visibility pop
