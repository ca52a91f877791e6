#pragma once
/// Class header for authors of algorithms: minimum and maximum.
///
/// The exact comparisons define the result for ties and NaN: an operand and a constant give the constant, two operands
/// the right one, an array the first of equal elements.

#include "expression/core/array_family.h"
#include "expression/core/families.h"
#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// The lesser of x and c.
class TavNumMinCstI final : public TavCstI<TavNumMinCstI, TavNumExprI, double> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavNumMinCstI";
  // by contract: a blank behind "min("
  static constexpr TavTexts kTexts{{"TavMin( ", ", ", ") "}, {"min( ", ", ", ")"}};
  static double apply(double x, double c) { return c > x ? x : c; }
  bool isInteger() const override { return TavIsInteger(getOperand()) && TavNumIsInteger(getConstant()); }
};

/// The greater of x and c.
class TavNumMaxCstI final : public TavCstI<TavNumMaxCstI, TavNumExprI, double> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavNumMaxCstI";
  static constexpr TavTexts kTexts{{"TavMax( ", ", ", ") "}, {"max(", ", ", ")"}};
  static double apply(double x, double c) { return x > c ? x : c; }
  bool isInteger() const override { return TavIsInteger(getOperand()) && TavNumIsInteger(getConstant()); }
};

/// The lesser of x and c in whole numbers; the operand's value is not truncated.
class TavIntMinCstI final : public TavCstI<TavIntMinCstI, TavIntExprI, TavInt> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavIntMinCstI";
  static constexpr TavTexts kTexts{{"( ", ", ", ") "}, {"min(", ", ", ")"}};  // by contract: no name in the call syntax
  static double apply(double x, TavInt c) { return static_cast<double>(c) > x ? x : static_cast<double>(c); }
};

/// The greater of x and c in whole numbers.
class TavIntMaxCstI final : public TavCstI<TavIntMaxCstI, TavIntExprI, TavInt> {
 public:
  using TavCstI::TavCstI;
  static constexpr const char* kTypeName = "TavIntMaxCstI";
  static constexpr TavTexts kTexts{{"( ", ", ", ") "}, {"max(", ", ", ")"}};  // by contract: no name in the call syntax
  static double apply(double x, TavInt c) { return x > static_cast<double>(c) ? x : static_cast<double>(c); }
};

/// The lesser of a and b.
class TavNumMinI final : public TavBinaryI<TavNumMinI, TavNumExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavNumMinI";
  static constexpr TavTexts kTexts{{"TavMin( ", ", ", ") "}, {"min(", ", ", ")"}};
  static double apply(double a, double b) { return b > a ? a : b; }
  bool isInteger() const override { return TavIsInteger(getLeft()) && TavIsInteger(getRight()); }
};

/// The greater of a and b.
class TavNumMaxI final : public TavBinaryI<TavNumMaxI, TavNumExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavNumMaxI";
  static constexpr TavTexts kTexts{{"TavMax( ", ", ", ") "}, {"max(", ", ", ")"}};
  static double apply(double a, double b) { return a > b ? a : b; }
  bool isInteger() const override { return TavIsInteger(getLeft()) && TavIsInteger(getRight()); }
};

/// The lesser of a and b in whole numbers; neither value is truncated.
class TavIntMinI final : public TavBinaryI<TavIntMinI, TavIntExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavIntMinI";
  static constexpr TavTexts kTexts{{"TavMin( ", ", ", ") "}, {"min(", ", ", ")"}};
  static double apply(double a, double b) { return b > a ? a : b; }
};

/// The greater of a and b in whole numbers.
class TavIntMaxI final : public TavBinaryI<TavIntMaxI, TavIntExprI> {
 public:
  using TavBinaryI::TavBinaryI;
  static constexpr const char* kTypeName = "TavIntMaxI";
  static constexpr TavTexts kTexts{{"TavMax( ", ", ", ") "}, {"max(", ", ", ")"}};
  static double apply(double a, double b) { return a > b ? a : b; }
};

static_assert(sizeof(TavNumMinCstI) == 56 && sizeof(TavIntMaxI) == 56);

/// The element that no other one replaces. Self states `kTexts`, `kEmptyText` and `static bool replaces(double v,
/// double m)`: whether v takes the place of m.
template <class Self, class Base, class Array>
class TavExtremeArrayI : public TavArrayOperandsI<Self, Base, Array> {
 public:
  using TavArrayOperandsI<Self, Base, Array>::TavArrayOperandsI;

  /// The body of eval.
  double value(TavAlgorithm algorithm) const {
    const Array exprs = this->getExprs();
    const TavInt size = exprs.getSize();
    if (size == 0) throw TavArrayError(Self::kEmptyText);
    double extreme = exprs[0].eval(algorithm);
    if (size == 1) return extreme;
    for (TavInt i = 0; i < size; ++i) {  // by contract: element 0 is evaluated a second time
      const double element = exprs[i].eval(algorithm);
      if (Self::replaces(element, extreme)) extreme = element;
    }
    return extreme;
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    return TavMakeArrayNode<Self>(target, TavCloneOfArray(this->getExprs(), target));
  }
  /// The body of display.
  void write(std::ostream& os) const {
    const TavText& text = Self::kTexts.in(this->getEnv());
    os << text.open << this->getExprs() << text.close;
  }
};

/// The least of the elements.
class TavNumMinArrayI final : public TavExtremeArrayI<TavNumMinArrayI, TavNumExprI, TavNumExprArray> {
 public:
  using TavExtremeArrayI::TavExtremeArrayI;
  static constexpr const char* kTypeName = "TavNumMinArrayI";
  /// What evaluating an empty array throws.
  static constexpr const char* kEmptyText = "Array of size 0 in evaluation of TavMin";
  static constexpr TavTexts kTexts{{"TavMin( ", "", ") "}, {"min( ", "", ")"}};  // by contract: a blank behind "min("
  /// Whether v takes the place of m.
  static bool replaces(double v, double m) { return m > v; }
  bool isInteger() const override { return TavAreIntegers(getExprs()); }
};

/// The greatest of the elements.
class TavNumMaxArrayI final : public TavExtremeArrayI<TavNumMaxArrayI, TavNumExprI, TavNumExprArray> {
 public:
  using TavExtremeArrayI::TavExtremeArrayI;
  static constexpr const char* kTypeName = "TavNumMaxArrayI";
  /// What evaluating an empty array throws.
  static constexpr const char* kEmptyText = "Array of size 0 in evaluation of TavMax";
  static constexpr TavTexts kTexts{{"TavMax( ", "", ") "}, {"max(", "", ")"}};
  /// Whether v takes the place of m.
  static bool replaces(double v, double m) { return v > m; }
  bool isInteger() const override { return TavAreIntegers(getExprs()); }
};

/// The least of integer expressions.
class TavIntMinArrayI final : public TavExtremeArrayI<TavIntMinArrayI, TavIntExprI, TavIntExprArray> {
 public:
  using TavExtremeArrayI::TavExtremeArrayI;
  static constexpr const char* kTypeName = "TavIntMinArrayI";
  /// What evaluating an empty array throws.
  static constexpr const char* kEmptyText = TavNumMinArrayI::kEmptyText;
  static constexpr TavTexts kTexts{{"TavMin( ", "", ") "}, {"min(", "", ")"}};
  /// Whether v takes the place of m.
  static bool replaces(double v, double m) { return m > v; }
};

/// The greatest of integer expressions.
class TavIntMaxArrayI final : public TavExtremeArrayI<TavIntMaxArrayI, TavIntExprI, TavIntExprArray> {
 public:
  using TavExtremeArrayI::TavExtremeArrayI;
  static constexpr const char* kTypeName = "TavIntMaxArrayI";
  /// What evaluating an empty array throws.
  static constexpr const char* kEmptyText = TavNumMaxArrayI::kEmptyText;
  static constexpr TavTexts kTexts{{"TavMax( ", "", ") "}, {"max(", "", ")"}};
  /// Whether v takes the place of m.
  static bool replaces(double v, double m) { return v > m; }
};

static_assert(sizeof(TavNumMinArrayI) == 48 && sizeof(TavIntMaxArrayI) == 48);

#pragma GCC visibility pop
