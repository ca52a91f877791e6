// How many of these constraints hold? Each constraint becomes a 0-1 variable that represents its truth, and such
// variables are added like any others.

#include <array>
#include <iostream>
#include <map>
#include <vector>

#include "expression/nodes.h"

namespace {

/// expression >= bound. The client defines concrete constraints; the library has the base class.
class AtLeastI final : public TavNode<AtLeastI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "AtLeastI";

  AtLeastI(TavEnvI* env, TavNumExprArg expression, double bound)
      : TavNode(env, nullptr), _expression(expression.getImpl()), _bound(bound) {
    _expression->retain();
  }
  ~AtLeastI() override { getEnv()->release(_expression); }

  double eval(TavAlgorithm algorithm) const override { return _expression->eval(algorithm) >= _bound ? 1.0 : 0.0; }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, _expression);
    visitor->endVisit(this);
  }
  void display(std::ostream& os) const override { os << "(" << TavNumExprArg(_expression) << ">= " << _bound << ") "; }

 private:
  TavNumExprI* _expression;
  double _bound;
};

TavConstraint atLeast(TavNumExprArg expression, double bound) {
  TavEnvI* env = expression.getEnv().getImpl();
  return TavConstraint(new (env) AtLeastI(env, expression, bound));
}

/// A plan: the value of each variable. A variable that represents a constraint has the constraint's truth as its value.
class Plan final : public TavAlgorithmI {
 public:
  explicit Plan(TavEnv env) : TavAlgorithmI(env.getImpl()) {}

  void set(TavNumVar variable, double value) { _values[variable.getId()] = value; }
  double getValue(const TavNumVarI* variable) const override {
    if (!variable->isType(TavConstraintIndVarI::GetTypeInfo())) return _values.at(variable->getId());
    const auto* indicator = static_cast<const TavConstraintIndVarI*>(variable);
    return indicator->getConstraint()->eval(_self);
  }

 private:
  std::map<TavInt, double> _values;
  TavAlgorithm _self{this};
};

}  // namespace

int main() {
  TavEnv env;
  const TavNumVar north(env, 0, 100, "north"), south(env, 0, 100, "south"), west(env, 0, 100, "west");
  const std::vector<TavConstraint> promises = {atLeast(north, 20), atLeast(south, 30),
                                               atLeast(north + south + west, 70)};

  TavNumVarArray kept(env);
  for (TavConstraint promise : promises) kept.add(TavNumVar(promise));
  const TavExpr count = TavSum(kept);
  std::cout << "promises kept = " << count << "\n";

  Plan plan(env);
  for (const auto& [n, s, w] : {std::array{20.0, 30.0, 10.0}, {25.0, 30.0, 15.0}, {5.0, 10.0, 60.0}}) {
    plan.set(north, n);
    plan.set(south, s);
    plan.set(west, w);
    std::cout << "north " << n << ", south " << s << ", west " << w << ": " << count.eval(TavAlgorithm(&plan)) << " of "
              << kept.getSize() << "\n";
  }
  env.end();
}
