#pragma once
/// Class header for authors of algorithms: piecewise-linear functions and client functions that are monotonic.

#include "expression/core/nested.h"
#include "expression/tavexpression.h"

#pragma GCC visibility push(default)

/// A piecewise-linear function of an expression, or of 0 when there is none. The node owns both arrays, which are
/// copies.
class TavExprPiecewiseLinearI final : public TavNested<TavExprPiecewiseLinearI, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "TavExprPiecewiseLinearI";
  ///@{
  /// The values of `form`.
  static constexpr TavInt kByValues = 0;
  static constexpr TavInt kBySlopes = 1;
  ///@}

  /// By slopes: slopes[k] applies left of breakpoints[k], the last one right of all. Between equal breakpoints the
  /// slope is the height of a jump.
  TavExprPiecewiseLinearI(TavEnvI* env, TavNumExprI* expr, TavNumArray breakpoints, TavNumArray slopes, double anchor,
                          double anchorValue);
  /// By values at the breakpoints.
  TavExprPiecewiseLinearI(TavEnvI* env, TavNumExprI* expr, double firstSlope, TavNumArray breakpoints,
                          TavNumArray values, double lastSlope);
  /// Takes over two new arrays, to which no other handle refers.
  TavExprPiecewiseLinearI(TavEnvI* env, TavInt form, TavNumExprI* expr, TavNumArray breakpoints,
                          TavNumArray slopesOrValues, double first, double second);
  ~TavExprPiecewiseLinearI() override;

  /// The expression, or null.
  TavNumExprI* getOperand() const noexcept { return _operand; }
  /// kByValues or kBySlopes.
  TavInt getForm() const noexcept { return _form; }
  /// The breakpoints. The array is the node's own.
  TavNumArray getBreakpoints() const noexcept { return _breakpoints; }
  /// The slopes, or the values at the breakpoints. The array is the node's own.
  TavNumArray getSlopesOrValues() const noexcept { return _slopesOrValues; }
  /// The anchor, or the slope before the first breakpoint.
  double getFirstNumber() const noexcept { return _first; }
  /// The value at the anchor, or the slope behind the last breakpoint.
  double getSecondNumber() const noexcept { return _second; }
  /// The function's value at x; O(n).
  double getPiecewiseLinearValue(double x) const;
  /// The slope of the segment that gives the value at x; O(n).
  double getPiecewiseLinearSlope(double x) const;

  /// The body of eval.
  double value(TavAlgorithm algorithm) const {
    return getPiecewiseLinearValue(_operand ? _operand->eval(algorithm) : 0.0);
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// The body of display.
  void write(std::ostream& os) const;

 private:
  void copyArrays(TavNumArray breakpoints, TavNumArray slopesOrValues);
  TavInt startIndex() const;
  double rightOfAnchor(double x) const;
  double leftOfAnchor(double x) const;
  double valueForm(double x) const;

  TavNumExprI* _operand;
  TavInt _form;
  TavNumArray _breakpoints;
  TavNumArray _slopesOrValues;
  double _first;
  double _second;
};

/// A client's function of an expression, declared decreasing or increasing.
class TavMonotonicNumExprI final : public TavNested<TavMonotonicNumExprI, TavNumExprI> {
 public:
  static constexpr const char* kTypeName = "TavMonotonicNumExprI";
  /// A client's function.
  using Function = double (*)(double);

  /// `decreasing` is 1 or 0.
  TavMonotonicNumExprI(TavEnvI* env, TavNumExprI* operand, Function function, Function second, TavInt decreasing);
  ~TavMonotonicNumExprI() override { getEnv()->release(_operand); }

  /// The operand.
  TavNumExprI* getOperand() const noexcept { return _operand; }
  /// The function that is evaluated.
  Function getFunction() const noexcept { return _function; }
  /// Carried along for algorithms.
  Function getSecondFunction() const noexcept { return _second; }
  /// Whether it was declared decreasing.
  bool isDecreasing() const noexcept { return _decreasing != 0; }

  /// The body of eval.
  double value(TavAlgorithm algorithm) const { return _function(_operand->eval(algorithm)); }
  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// The body of display.
  void write(std::ostream& os) const;

 private:
  TavNumExprI* _operand;
  Function _function;
  Function _second;
  TavInt _decreasing;
};

static_assert(sizeof(TavExprPiecewiseLinearI) == 88 && sizeof(TavMonotonicNumExprI) == 72);

#pragma GCC visibility pop
