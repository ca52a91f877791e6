#pragma once
/// A row: lb <= sum <= ub. The library knows constraints in general; this is a concrete kind of our own.

#include "expression/nodes.h"
#include "expression/tavexpression.h"

namespace tavsolve {

class RangeConstraintI final : public TavNode<RangeConstraintI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "RangeConstraintI";

  /// Takes over the reference that `sum` holds. An infinite bound is no bound.
  RangeConstraintI(TavEnvI* env, double lb, TavExpr sum, double ub, const char* name)
      : TavNode(env, name), _lb(lb), _ub(ub), _sum(sum) {}
  ~RangeConstraintI() override { getEnv()->release(_sum.getImpl()); }

  double getLB() const { return _lb; }
  double getUB() const { return _ub; }
  TavExpr getSum() const { return _sum; }
  /// Gives the row new bounds; algorithms are notified by a SetRowBounds.
  void setBounds(double lb, double ub);
  /// The sum is edited in place, also where an evaluator holds it, and the algorithms that have extracted it are
  /// notified.
  void setCoef(TavNumVar variable, double coef) { _sum.getImpl()->setCoef(variable, coef); }

  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// "TavRange(lb, sum, ub) " or the inequality itself.
  void display(std::ostream& os) const override;

 private:
  double _lb, _ub;
  TavExpr _sum;
};

/// New bounds of a row, which it has already.
class SetRowBounds final : public TavChangeRecord<SetRowBounds> {
 public:
  static constexpr const char* kTypeName = "SetRowBounds";

  explicit SetRowBounds(RangeConstraintI* row) : TavChangeRecord(row), _row(row) {}

  RangeConstraintI* getRow() const { return _row; }

 private:
  RangeConstraintI* _row;
};

}  // namespace tavsolve
