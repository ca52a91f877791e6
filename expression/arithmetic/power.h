#pragma once
/// Class header for authors of algorithms: powers. There is no integer variant.

#include <cmath>

#include "expression/core/families.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// x to the power c.
class TavNumPowerCstI final : public TavCstI<TavNumPowerCstI, TavNumExprI, double> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavNumPowerCstI";
  static constexpr TavTexts kTexts{{"( ", "^ ", ") "}, {"", " ^ ", ""}};
  static double apply(double x, double c) { return std::pow(x, c); }
  // by contract: a negative exponent counts as integer too, here and below
  bool isInteger() const override { return TavIsInteger(getOperand()) && TavNumIsInteger(getConstant()); }
};

/// c to the power x.
class TavNumRecPowerCstI final : public TavRecCstI<TavNumRecPowerCstI, TavNumExprI, double> {
 public:
  using TavRecCstI::TavRecCstI;
  static constexpr const char* kTypeName = "TavNumRecPowerCstI";
  static constexpr TavTexts kTexts{{"( ", "^ ", ") "}, {"", " ^ ", ""}};
  static double apply(double x, double c) { return std::pow(c, x); }
  bool isInteger() const override { return TavIsInteger(getOperand()) && TavNumIsInteger(getConstant()); }
};

/// a to the power b.
class TavNumPowerI final : public TavBinaryI<TavNumPowerI, TavNumExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavNumPowerI";
  static constexpr TavTexts kTexts{{"( ", "^ ", ") "}, {"", " ^ ", ""}};
  static double apply(double a, double b) { return std::pow(a, b); }
  bool isInteger() const override { return TavIsInteger(getLeft()) && TavIsInteger(getRight()); }
};

static_assert(sizeof(TavNumPowerCstI) == 56 && sizeof(TavNumPowerI) == 56);

#pragma GCC visibility pop
