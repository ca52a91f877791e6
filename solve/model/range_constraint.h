#pragma once
/// A row: lb <= sum <= ub. The library knows constraints in general; this is a concrete kind of our own.

#include <cstdint>

#include "expression/nodes.h"
#include "expression/tavexpression.h"

namespace tavsolve {

class RangeConstraintI final : public TavNode<RangeConstraintI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "RangeConstraintI";

  /// Takes over the reference that `sum` holds. An infinite bound is no bound. Throws std::bad_alloc.
  RangeConstraintI(TavEnvI* env, double lb, TavExpr sum, double ub, const char* name);
  ~RangeConstraintI() override;

  double getLB() const;
  double getUB() const;
  TavExpr getSum() const { return TavExpr(reinterpret_cast<TavNumLinTermI*>(_sum & ~kForms)); }
  /// Gives the row new bounds; algorithms are notified by a SetRowBounds. Throws std::bad_alloc and is then unchanged.
  void setBounds(double lb, double ub);
  /// The sum is edited in place, also where an evaluator holds it, and the algorithms that have extracted it are
  /// notified.
  void setCoef(TavNumVar variable, double coef) { getSum().getImpl()->setCoef(variable, coef); }

  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// "TavRange(lb, sum, ub) " or the inequality itself.
  void display(std::ostream& os) const override;

 private:
  /// Which bounds there are. Most rows have one, or two that are equal: one number is stored.
  enum Form : std::uintptr_t { kAtMost, kAtLeast, kEqual, kBoth, kForms = 3 };
  struct Bounds {
    double lb, ub;
  };

  static Form formOf(double lb, double ub);
  Form form() const { return static_cast<Form>(_sum & kForms); }
  void store(double lb, double ub);
  void freeBoth();

  union {
    double _bound;
    Bounds* _both;  ///< In the environment's memory.
  };
  /// The sum's address, and the form in its lowest bits, which are 0 in an address.
  std::uintptr_t _sum;
};
static_assert(sizeof(RangeConstraintI) == 56);

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
