#pragma once
/// What is minimised or maximised.

#include "expression/nodes.h"
#include "expression/tavexpression.h"

namespace tavsolve {

class ObjectiveI final : public TavNode<ObjectiveI, TavExtractableI> {
 public:
  static constexpr const char* kTypeName = "ObjectiveI";

  /// Takes over the reference that `sum` holds.
  ObjectiveI(TavEnvI* env, TavExpr sum, bool maximise, const char* name)
      : TavNode(env, name), _sum(sum), _maximise(maximise) {}
  ~ObjectiveI() override { getEnv()->release(_sum.getImpl()); }

  /// Becomes another objective, before an algorithm has extracted it. Takes over the reference that `sum` holds.
  void become(TavExpr sum, bool maximise, const char* name);

  TavExpr getSum() const { return _sum; }
  bool isMaximised() const { return _maximise; }
  /// Turns the sense; algorithms are notified by a SetSense.
  void setMaximised(bool maximise);
  /// The sum is edited in place, also where an evaluator holds it, and the algorithms that have extracted it are
  /// notified.
  void setCoef(TavNumVar variable, double coef) { _sum.getImpl()->setCoef(variable, coef); }

  void visitSubExtractables(TavExtractableVisitor* visitor) override;
  /// "TavMinimize(sum) " or "minimize sum"; "Maximize" alike.
  void display(std::ostream& os) const override;

 private:
  TavExpr _sum;
  bool _maximise;
};

/// A new sense of the objective, which it has already.
class SetSense final : public TavChangeRecord<SetSense> {
 public:
  static constexpr const char* kTypeName = "SetSense";

  explicit SetSense(ObjectiveI* objective) : TavChangeRecord(objective) {}
};

}  // namespace tavsolve
