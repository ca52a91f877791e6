#pragma once
/// Class header for authors of algorithms: roundings and the conversion to an integer expression.

#include <cmath>

#include "expression/core/families.h"
#include "expression/core/int_expr.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// A rounding of a numeric expression.
template <class Self>
class TavRoundingI : public TavUnaryI<Self, TavNumExprI> {
 public:
  using TavUnaryI<Self, TavNumExprI>::TavUnaryI;
  // by contract: follows the operand, although most roundings are always whole
  bool isInteger() const override { return TavIsInteger(this->getOperand()); }
};

/// The least whole number that is not below x.
class TavNumCeilI final : public TavRoundingI<TavNumCeilI> {
 public:
  using TavRoundingI::TavRoundingI;
  static constexpr const char* kTypeName = "TavNumCeilI";
  static constexpr TavTexts kTexts{{"TavCeil(", "", ") "}, {"ceil(", "", ")"}};
  static double apply(double x) { return std::ceil(x); }
};

/// The greatest whole number that is not above x.
class TavNumFloorI final : public TavRoundingI<TavNumFloorI> {
 public:
  using TavRoundingI::TavRoundingI;
  static constexpr const char* kTypeName = "TavNumFloorI";
  static constexpr TavTexts kTexts{{"TavFloor(", "", ") "}, {"floor(", "", ")"}};
  static double apply(double x) { return std::floor(x); }
};

/// x cut toward zero, by way of a 64-bit integer.
class TavNumTruncI final : public TavRoundingI<TavNumTruncI> {
 public:
  using TavRoundingI::TavRoundingI;
  static constexpr const char* kTypeName = "TavNumTruncI";
  static constexpr TavTexts kTexts{{"TavTrunc(", "", ") "}, {"trunc(", "", ")"}};
  static double apply(double x) { return static_cast<double>(TavTrunc(x)); }
};

/// The distance between x and the nearest whole number.
class TavDistToIntI final : public TavRoundingI<TavDistToIntI> {
 public:
  using TavRoundingI::TavRoundingI;
  static constexpr const char* kTypeName = "TavDistToIntI";
  static constexpr TavTexts kTexts{{"TavDistToInt(", "", ") "}, {"distToInt(", "", ")"}};
  static double apply(double x) { return std::fabs(TavRound(x) - x); }
  /// The body of eval.
  double value(TavAlgorithm algorithm) const {
    const double nearest = TavRound(getOperand()->eval(algorithm));
    return std::fabs(nearest - getOperand()->eval(algorithm));  // by contract: the operand is evaluated twice
  }
};

/// What is behind the point of x, with the sign of x.
class TavNumFractI final : public TavRoundingI<TavNumFractI> {
 public:
  using TavRoundingI::TavRoundingI;
  static constexpr const char* kTypeName = "TavNumFractI";
  static constexpr TavTexts kTexts{{"TavFract(", "", ") "}, {"fract(", "", ")"}};
  static double apply(double x) { return x - static_cast<double>(TavTrunc(x)); }
};

/// The nearest whole number, halves to the even one.
class TavNumRoundI final : public TavRoundingI<TavNumRoundI> {
 public:
  using TavRoundingI::TavRoundingI;
  static constexpr const char* kTypeName = "TavNumRoundI";
  static constexpr TavTexts kTexts{{"TavVurRound(", "", ") "}, {"round(", "", ")"}};
  static double apply(double x) { return TavVurRound(x); }
};

/// x as an integer expression. Evaluating anything that is not exactly whole throws TavWrongUsage.
class TavNumToIntI final : public TavUnaryI<TavNumToIntI, TavIntExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavNumToIntI";
  static constexpr TavTexts kTexts{{"TavNumToInt(", "", ") "}, {"numToInt(", "", ")"}};
  static double apply(double x) {
    if (!TavNumIsInteger(x)) throw TavWrongUsage("TavNumToIntI::eval : expr is not IntExpr");
    return static_cast<double>(TavTrunc(x));
  }
};

static_assert(sizeof(TavNumCeilI) == 48 && sizeof(TavNumToIntI) == 48);

#pragma GCC visibility pop
