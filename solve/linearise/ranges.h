#pragma once
/// The values that expressions can take, by interval arithmetic over them.

#include <unordered_map>

#include "solve/linearise/reading.h"

namespace tavlinear {

constexpr Interval kUnknown = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN()};

using Implied = std::unordered_map<const TavNumVarI*, Interval>;

/// Ranges are computed once and kept until forget(). A class answers kUnknown, or any interval with a NaN, where it
/// cannot tell whether there is a value.
class Ranges {
 public:
  /// The range of the expression. Nested expressions do not recurse.   Cost: linear in what is not yet known.
  Interval of(const TavNumExprI* node);
  Interval of(const Operand& operand);
  /// Whether the node certainly has a value wherever its variables are within their bounds.
  bool isSure(const TavNumExprI* node);
  /// The range of the node's terms and constant, without its operands.
  Interval ofTerms(const Reading& reading) const;
  /// The range of a variable by its bounds and by those that the rows imply.
  Interval ofVariable(const TavNumVarI* variable) const;
  /// Bounds of variables have changed.
  void forget() { _known.clear(); }
  /// Ranges that the rows imply for variables; read after forget().
  Implied implied;
  /// A variable without the bound that would bound the operand on this side; null if no variable is the cause.
  const TavNumVarI* unbounded(const Operand& operand, bool above);

 private:
  struct Known {
    Interval range;
    bool isSure;
  };

  const Known& find(const TavNumExprI* node);
  void add(const Reading& reading);

  std::unordered_map<const TavNumExprI*, Known> _known;
};

/// The bounds of a variable. Whole bounds at which doubles stop counting are none.
Interval rangeOfVariable(const TavNumVarI* variable);

}  // namespace tavlinear
