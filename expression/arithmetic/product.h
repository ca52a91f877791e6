#pragma once
/// Class header for authors of algorithms: products and quotients.

#include "expression/core/families.h"
#include "expression/core/int_expr.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// x * c.
class TavNumTimesCstI final : public TavCstI<TavNumTimesCstI, TavNumExprI, double> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavNumTimesCstI";
  static constexpr TavTexts kTexts{{"( ", "* ", ") "}, {"", " * ", ""}};
  static double apply(double x, double c) { return x * c; }
  bool isInteger() const override { return TavIsInteger(getOperand()) && TavNumIsInteger(getConstant()); }
};

/// x * c in whole numbers; the operand's value is not truncated.
class TavIntTimesCstI final : public TavCstI<TavIntTimesCstI, TavIntExprI, TavInt> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavIntTimesCstI";
  static constexpr TavTexts kTexts{{"( ", "* ", ") "}, {"", " * ", ""}};
  static double apply(double x, TavInt c) { return x * static_cast<double>(c); }
};

/// x / c.
class TavNumDivCstI final : public TavCstI<TavNumDivCstI, TavNumExprI, double> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavNumDivCstI";
  static constexpr TavTexts kTexts{{"( ", "/ ", ") "}, {"", "/ ", ""}};  // by contract: no blank before the slash
  static double apply(double x, double c) { return x / c; }
};

/// The quotient of whole numbers x / c, cut toward zero.
class TavIntDivCstI final : public TavCstI<TavIntDivCstI, TavIntExprI, TavInt> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavIntDivCstI";
  static constexpr TavTexts kTexts{{"( ", "/ ", ") "}, {"", " / ", ""}};
  static double apply(double x, TavInt c) { return static_cast<double>(TavTrunc(x) / c); }
};

/// c / x.
class TavNumRecDivCstI final : public TavRecCstI<TavNumRecDivCstI, TavNumExprI, double> {
 public:
  using TavRecCstI::TavRecCstI;
  static constexpr const char* kTypeName = "TavNumRecDivCstI";
  static constexpr TavTexts kTexts{{"( ", "/ ", ") "}, {"", " / ", ""}};
  static double apply(double x, double c) { return c / x; }
};

/// The quotient of whole numbers c / x, cut toward zero.
class TavIntRecDivCstI final : public TavRecCstI<TavIntRecDivCstI, TavIntExprI, TavInt> {
 public:
  using TavRecCstI::TavRecCstI;
  static constexpr const char* kTypeName = "TavIntRecDivCstI";
  static constexpr TavTexts kTexts{{"( ", "/ ", ") "}, {"", " / ", ""}};
  static double apply(double x, TavInt c) { return static_cast<double>(c / TavTrunc(x)); }
};

/// a * b.
class TavNumTimesI final : public TavBinaryI<TavNumTimesI, TavNumExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavNumTimesI";
  static constexpr TavTexts kTexts{{"( ", "* ", ") "}, {"", " * ", ""}};
  static double apply(double a, double b) { return a * b; }
  bool isInteger() const override { return TavIsInteger(getLeft()) && TavIsInteger(getRight()); }
};

/// a * b in whole numbers; neither value is truncated.
class TavIntTimesI final : public TavBinaryI<TavIntTimesI, TavIntExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavIntTimesI";
  static constexpr TavTexts kTexts{{"( ", "* ", ") "}, {"", " * ", ""}};
  static double apply(double a, double b) { return a * b; }
};

/// a / b.
class TavNumDivI final : public TavBinaryI<TavNumDivI, TavNumExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavNumDivI";
  static constexpr TavTexts kTexts{{"( ", "/ ", ") "}, {"", " / ", ""}};
  static double apply(double a, double b) { return a / b; }
};

/// The quotient of whole numbers a / b, cut toward zero.
class TavIntDivI final : public TavBinaryI<TavIntDivI, TavIntExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavIntDivI";
  static constexpr TavTexts kTexts{{"( ", "/ ", ") "}, {"", " / ", ""}};
  static double apply(double a, double b) { return static_cast<double>(TavTrunc(a) / TavTrunc(b)); }
};

static_assert(sizeof(TavNumTimesCstI) == 56 && sizeof(TavIntTimesI) == 56);

#pragma GCC visibility pop
