// The program of docs/models.md: each function is one section of the guide.

#include <iostream>
#include <map>
#include <string>

#include "expression/nodes.h"

namespace {

/// Gives each variable the value that was set for it.
class Values final : public TavAlgorithmI {
 public:
  explicit Values(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    const auto found = _values.find(variable->getId());
    if (found == _values.end()) throw TavAlgorithm::Exception("a variable without value");
    return found->second;
  }
  void set(TavNumVar variable, double value) { _values[variable.getId()] = value; }

 private:
  std::map<TavInt, double> _values;
};

void firstModel() {
  TavEnv env;
  TavNumVar bread(env, 0, 10, "bread"), milk(env, 0, 8, "milk");
  TavExpr cost = 2.5 * bread + 1.2 * milk;
  TavNumExpr imbalance = TavAbs(bread - milk);
  cost += 3;
  std::cout << cost << "\n" << imbalance << "\n";

  Values plan(env);
  plan.set(bread, 4);
  plan.set(milk, 5);
  std::cout << cost.eval(&plan) << " " << imbalance.eval(&plan) << "\n";
  env.end();
}

void printing() {
  TavEnv env;
  TavNumVar x(env, 0, 1, "x"), unnamed(env);
  TavNumExpr e = TavSin(x) * (x + 2 * unnamed);
  std::cout << e << "\n";
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << e << "\n" << x << "\n";
  env.end();
}

void matrices() {
  TavEnv env;
  const int plants = 2, markets = 3;
  TavNumArray cost(env, markets);
  for (int j = 0; j < markets; ++j) cost[j] = 1.5 + j;

  TavNumVarArray ship[plants];
  for (TavNumVarArray& row : ship) row = TavNumVarArray(env, markets, 0, 100);
  for (int i = 0; i < plants; ++i) {
    for (int j = 0; j < markets; ++j) ship[i][j].setName(("s" + std::to_string(i) + std::to_string(j)).c_str());
  }

  TavExpr freight(env);
  for (const TavNumVarArray& row : ship) freight += TavScalProd(cost, row);
  TavExpr market(env);  // a column of the matrix
  for (const TavNumVarArray& row : ship) market += row[2];
  std::cout << freight << "\n" << TavExpr(TavSum(ship[0])) << "\n" << market << "\n";
  env.end();
}

void integers() {
  TavEnv env;
  TavIntVar boxes(env, 0, 20, "boxes");
  TavBoolVar open(env, "open");
  TavIntExpr items = 12 * boxes + 5;
  TavIntExpr pallets = TavDiv(items, 40), rest = items % 40;
  TavNumExpr load = boxes * open / 2.0;

  Values plan(env);
  plan.set(boxes, 7);
  plan.set(open, 1);
  std::cout << items.eval(&plan) << " items: " << pallets.eval(&plan) << " pallets, " << rest.eval(&plan)
            << " left; load " << load.eval(&plan) << "\n"
            << std::boolalpha << items.isInteger() << " " << load.isInteger() << "\n";
  env.end();
}

void choices() {
  TavEnv env;
  TavNumVar amount(env, 0, 500, "amount");
  TavIntVar season(env, 0, 2, "season");
  TavNumArray limits(env), slopes(env), factors(env);
  limits.add(100);  // one unit costs 2 up to 100, then 1.5
  for (double slope : {2.0, 1.5}) slopes.add(slope);
  for (double factor : {1.0, 1.25, 0.9}) factors.add(factor);

  TavNumExpr price = TavPiecewiseLinear(amount, limits, slopes, 0, 0);  // 0 at amount 0
  TavNumExpr bill = TavMax(20, price * factors[season]);

  Values plan(env);
  plan.set(amount, 120);
  plan.set(season, 1);
  std::cout << price.eval(&plan) << " " << bill.eval(&plan) << "\n";
  env.end();
}

/// expression <= bound.
class AtMostI final : public TavNode<AtMostI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "AtMostI";

  AtMostI(TavEnvI* env, TavNumExprArg expression, double bound)
      : TavNode(env, nullptr), _expression(expression.getImpl()), _bound(bound) {
    _expression->retain();
  }
  ~AtMostI() override { getEnv()->release(_expression); }

  double eval(TavAlgorithm algorithm) const override { return _expression->eval(algorithm) <= _bound ? 1.0 : 0.0; }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, _expression);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    return new (target) AtMostI(target, TavNumExprArg(TavCloneOf(_expression, target)), _bound);
  }
  void display(std::ostream& os) const override { os << "(" << TavNumExprArg(_expression) << "<= " << _bound << ") "; }

 private:
  TavNumExprI* _expression;
  double _bound;
};

TavConstraint atMost(TavNumExprArg expression, double bound) {
  TavEnvI* env = expression.getEnv().getImpl();
  return TavConstraint(new (env) AtMostI(env, expression, bound));
}

void constraints() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y");
  TavConstraint capacity = atMost(x + 2 * y, 12);
  TavNumVar holds(capacity);  // a 0-1 variable that stands for the truth of the constraint
  TavExpr penalty = 100 - 100 * holds;
  std::cout << capacity << "\n" << penalty << "\n";

  Values plan(env);
  plan.set(x, 4);
  plan.set(y, 5);
  std::cout << capacity.getImpl()->eval(&plan) << "\n";
  plan.set(holds, capacity.getImpl()->eval(&plan));
  std::cout << penalty.eval(&plan) << "\n";
  env.end();
}

void modifying() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y"), z(env, 0, 10, "z");
  TavExpr e = x + 2 * y;
  e += x + 3 * z;  // in place; x has two terms now
  std::cout << e << "\n";
  e.normalize();  // one term for each variable
  std::cout << e << "\n";

  const double old = e.setLinearCoef(y, 5);
  std::cout << "was " << old << ": " << e << "\n";
  e *= 2;
  e.setNumConstant(1);
  e.remove(TavNumVarArray(env, 1, x));
  z.end();  // an ended variable leaves every sum
  std::cout << e << "\n";

  x.setBounds(1, 3);
  std::cout << x << "\n";
  env.end();
}

void cloning() {
  TavEnv env, other;
  TavNumVar x(env, 0, 10, "x");
  TavExpr e = 2 * x + 1;
  TavNumExpr f = TavSquare(x);
  {
    TavClonePass pass(env.getImpl(), other.getImpl());
    TavExpr e2(static_cast<TavNumLinTermI*>(pass.clone(e.getImpl())));
    TavNumExpr f2(static_cast<TavNumExprI*>(pass.clone(f.getImpl())));  // shares the clone of x
    std::cout << e2 << f2 << "\n";
  }
  env.end();
  other.end();
}

void trapOperands() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y");
  auto e = x + y;  // an uncounted result
  auto g = 2 * e;  // changes e in place: e and g name one node now
  TavExpr safe = x + y;
  TavExpr h = 2 * safe;  // copies: safe is counted
  std::cout << e << "| " << g << "| " << safe << "| " << h << "\n";
  env.end();
}

void trapText() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y"), z(env, 0, 10, "z");
  TavNumExpr product = (x + y) * z;
  std::cout << product << "\n";
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << product << "\n";
  env.end();
}

void trapPiecewise() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x");
  TavNumArray at(env), values(env), slopes(env);
  for (double p : {0.0, 1.0, 2.0}) at.add(p);
  for (double v : {0.0, 10.0, 0.0}) values.add(v);
  for (double s : {0.0, 10.0, -10.0, 0.0}) slopes.add(s);
  TavNumExpr byValues = TavPiecewiseLinear(x, 0.0, at, values, 0.0);
  TavNumExpr bySlopes = TavPiecewiseLinear(x, at, slopes, 0.0, 0.0);
  Values plan(env);
  plan.set(x, 0.5);
  std::cout << byValues.eval(&plan) << " " << bySlopes.eval(&plan) << "\n";
  env.end();
}

void trapBounds() {
  TavEnv env;
  TavNumVarArray xs(env, 2, 0, 10);
  TavNumVar other(env, 0, 10);
  TavNumArray lower(env, 2), upper(env, 2);
  for (int i = 0; i < 2; ++i) upper[i] = 5;
  xs.setBounds(lower, upper);
  std::cout << other.getUB() << "\n";
  other.setUB(7);
  std::cout << other.getUB() << " " << xs[0].getUB() << "\n";
  env.end();
}

void trapSemiContinuous() {
  TavEnv env, other;
  TavSemiContVar s(env, 2, 10, TavNumVar::Float, "s");
  {
    TavClonePass pass(env.getImpl(), other.getImpl());
    TavSemiContVar clone(static_cast<TavSemiContVarI*>(pass.clone(s.getImpl())));
    std::cout << clone.getSemiContinuousLb() << ".." << clone.getUB()
              << (clone.getName() ? " named\n" : " without name\n");
  }
  env.end();
  other.end();
}

void trapNormalized() {
  TavEnv env;
  TavNumVar x(env, 0, 10, "x");
  TavExpr e = x + 2 * x;
  std::cout << e.isNormalized() << " " << e << "\n";
  env.end();
}

}  // namespace

int main() {
  firstModel();
  printing();
  matrices();
  integers();
  choices();
  constraints();
  modifying();
  cloning();
  trapOperands();
  trapText();
  trapPiecewise();
  trapBounds();
  trapSemiContinuous();
  trapNormalized();
}
