#pragma once
/// Class header for authors of algorithms: how many expressions take a value, and how far their values spread.

#include "expression/core/array_family.h"
#include "expression/core/int_expr.h"

#pragma GCC visibility push(default)

/// The number of expressions whose value is exactly `value`.
class TavCountI final : public TavArrayOperandsI<TavCountI, TavIntExprI, TavIntExprArray> {
 public:
  static constexpr const char* kTypeName = "TavCountI";

  /// Takes over a new array, to which no other handle refers.
  TavCountI(TavEnvI* env, TavIntExprArray exprs, TavInt value) : TavArrayOperandsI(env, exprs), _value(value) {}

  /// The value that is counted.
  TavInt getValue() const noexcept { return _value; }
  /// The body of eval.
  double value(TavAlgorithm algorithm) const;
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// The body of display.
  void write(std::ostream& os) const;

 private:
  TavInt _value;
};

/// The population standard deviation of the expressions' values. The bounds are carried along for algorithms.
class TavStandardDeviationI final : public TavArrayOperandsI<TavStandardDeviationI, TavNumExprI, TavIntExprArray> {
 public:
  static constexpr const char* kTypeName = "TavStandardDeviationI";

  /// Takes over a new array, to which no other handle refers.
  TavStandardDeviationI(TavEnvI* env, TavIntExprArray exprs, double lowerBound, double upperBound)
      : TavArrayOperandsI(env, exprs), _lowerBound(lowerBound), _upperBound(upperBound) {}

  ///@{
  /// The bounds, which the evaluation ignores.
  double getLowerBound() const noexcept { return _lowerBound; }
  double getUpperBound() const noexcept { return _upperBound; }
  ///@}
  /// The body of eval.
  double value(TavAlgorithm algorithm) const;
  TavExtractableI* makeClone(TavEnvI* target) const override;
  /// The body of display.
  void write(std::ostream& os) const;

 private:
  double _lowerBound;
  double _upperBound;
};

static_assert(sizeof(TavCountI) == 56 && sizeof(TavStandardDeviationI) == 64);

#pragma GCC visibility pop
