#pragma once
/// Class header for authors of algorithms: remainders of whole numbers.

#include "expression/core/families.h"
#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// a % b, with the sign of a; both values are cut toward zero first. A zero divisor is not checked.
class TavIntModuloI final : public TavBinaryI<TavIntModuloI, TavIntExprI, TavIntExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavIntModuloI";
  static constexpr TavTexts kTexts{{"( ", "% ", ") "}, {"", " % ", ""}};
  static double apply(double a, double b) { return static_cast<double>(TavTrunc(a) % TavTrunc(b)); }
};

/// x % c.
class TavIntModuloCstI final : public TavCstI<TavIntModuloCstI, TavIntExprI, TavInt, TavIntExprI> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavIntModuloCstI";
  static constexpr TavTexts kTexts{{"( ", "% ", ") "}, {"", "% ", ""}};  // by contract: no blank before the sign
  static double apply(double x, TavInt c) { return static_cast<double>(TavTrunc(x) % c); }
};

/// c % x.
class TavIntRecModuloCstI final : public TavRecCstI<TavIntRecModuloCstI, TavIntExprI, TavInt, TavIntExprI> {
 public:
  using TavRecCstI::TavRecCstI;
  static constexpr const char* kTypeName = "TavIntRecModuloCstI";
  static constexpr TavTexts kTexts{{"(", "% ", ")"}, {"", " % ", ""}};  // by contract: no blanks at the parentheses
  static double apply(double x, TavInt c) { return static_cast<double>(c % TavTrunc(x)); }
};

static_assert(sizeof(TavIntModuloI) == 56 && sizeof(TavIntModuloCstI) == 56);

#pragma GCC visibility pop
