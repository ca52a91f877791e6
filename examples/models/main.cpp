// The program of docs/models.md: each function is one section of the guide.

#include <iostream>
#include <string>

#include "expression/nodes.h"

namespace {

void firstModel() {
  TavScopedEnv env;
  TavNumVar bread(env, 0, 10, "bread"), milk(env, 0, 8, "milk");
  TavExpr cost = 2.5 * bread + 1.2 * milk;
  TavNumExpr imbalance = TavAbs(bread - milk);
  cost += 3;
  std::cout << cost << "\n" << imbalance << "\n";

  TavValues plan(env, {{bread, 4}, {milk, 5}});
  std::cout << cost.eval(plan) << " " << imbalance.eval(plan) << "\n";
  plan[milk] = 6;
  std::cout << cost.eval(plan) << " " << imbalance.eval(plan) << "\n";
}

void printing() {
  TavScopedEnv env;
  TavNumVar x(env, 0, 1, "x"), unnamed(env);
  TavNumExpr e = TavSin(x) * (x + 2 * unnamed);
  std::cout << e << "\n";
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << e << "\n" << x << "\n";
}

void matrices() {
  TavScopedEnv env;
  const int plants = 2, markets = 3;
  TavNumArray cost(env, {1.5, 2.5, 3.5});
  TavNumVarArray ship[plants];
  for (int i = 0; i < plants; ++i) ship[i] = TavNumVarArray(env, markets, 0, 100, "ship" + std::to_string(i));

  TavExpr freight(env);
  for (const TavNumVarArray& row : ship) freight += TavScalProd(cost, row);
  TavExpr market(env);  // a column of the matrix
  for (const TavNumVarArray& row : ship) market += row[2];
  std::cout << freight << "\n" << TavExpr(TavSum(ship[0])) << "\n" << market << "\n";
}

void integers() {
  TavScopedEnv env;
  TavIntVar boxes(env, 0, 20, "boxes");
  TavBoolVar open(env, "open");
  TavIntExpr items = 12 * boxes + 5;
  TavIntExpr pallets = TavDiv(items, 40), rest = items % 40;
  TavNumExpr load = boxes * open / 2.0;

  TavValues plan(env, {{boxes, 7}, {open, 1}});
  std::cout << items.eval(plan) << " items: " << pallets.eval(plan) << " pallets, " << rest.eval(plan) << " left; load "
            << load.eval(plan) << "\n"
            << std::boolalpha << items.isInteger() << " " << load.isInteger() << "\n";
}

void choices() {
  TavScopedEnv env;
  TavNumVar amount(env, 0, 500, "amount");
  TavIntVar season(env, 0, 2, "season");
  TavNumArray limits(env, {100}), slopes(env, {2, 1.5});  // one unit costs 2 up to 100, then 1.5
  TavNumArray factors(env, {1, 1.25, 0.9});

  TavNumExpr price = TavPiecewiseLinear(amount, limits, slopes, 0, 0);  // 0 at amount 0
  TavNumExpr bill = TavMax(20, price * factors[season]);

  TavValues plan(env, {{amount, 120}, {season, 1}});
  std::cout << price.eval(plan) << " " << bill.eval(plan) << "\n";
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
  TavScopedEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y");
  TavConstraint capacity = atMost(x + 2 * y, 12);
  TavNumVar holds(capacity);  // a 0-1 variable that represents the truth of the constraint
  TavExpr penalty = 100 - 100 * holds;
  std::cout << capacity << "\n" << penalty << "\n";

  TavValues plan(env, {{x, 4}, {y, 5}});
  plan[holds] = capacity.getImpl()->eval(plan);
  std::cout << plan[holds] << " " << penalty.eval(plan) << "\n";
}

void modifying() {
  TavScopedEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y"), z(env, 0, 10, "z");
  TavExpr e = x + 2 * y;
  e += x + 3 * z;  // in place; x then has two terms
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
}

void cloning() {
  TavScopedEnv env, other;
  TavNumVar x(env, 0, 10, "x");
  TavExpr e = 2 * x + 1;
  TavNumExpr f = TavSquare(x);
  {
    TavClonePass pass(env.getImpl(), other.getImpl());
    TavExpr e2 = TavClone(e, pass);
    TavNumExpr f2 = TavClone(f, pass);  // shares the clone of x
    std::cout << e2 << f2 << "\n";
  }
}

void trapOperands() {
  TavScopedEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y");
  auto e = x + y;  // an uncounted result
  auto g = 2 * e;  // changes e in place: e and g then name one node
  TavExpr safe = x + y;
  TavExpr h = 2 * safe;  // copies: safe is counted
  std::cout << e << "| " << g << "| " << safe << "| " << h << "\n";
}

void trapText() {
  TavScopedEnv env;
  TavNumVar x(env, 0, 10, "x"), y(env, 0, 10, "y"), z(env, 0, 10, "z");
  TavNumExpr product = (x + y) * z;
  std::cout << product << "\n";
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << product << "\n";
}

void trapPiecewise() {
  TavScopedEnv env;
  TavNumVar x(env, 0, 10, "x");
  TavNumArray at(env, {0, 1, 2}), values(env, {0, 10, 0}), slopes(env, {0, 10, -10, 0});
  TavNumExpr byValues = TavPiecewiseLinear(x, 0.0, at, values, 0.0);
  TavNumExpr bySlopes = TavPiecewiseLinear(x, at, slopes, 0.0, 0.0);
  TavValues plan(env, {{x, 0.5}});
  std::cout << byValues.eval(plan) << " " << bySlopes.eval(plan) << "\n";
}

void trapBounds() {
  TavScopedEnv env;
  TavNumVarArray xs(env, 2, 0, 10);
  TavNumVar other(env, 0, 10);
  TavNumArray lower(env, {0, 0}), upper(env, {5, 5});
  xs.setBounds(lower, upper);
  std::cout << other.getUB() << "\n";
  other.setUB(7);
  std::cout << other.getUB() << " " << xs[0].getUB() << "\n";
}

void trapSemiContinuous() {
  TavScopedEnv env, other;
  TavSemiContVar s(env, 2, 10, TavNumVar::Float, "s");
  {
    TavClonePass pass(env.getImpl(), other.getImpl());
    TavSemiContVar clone = TavClone(s, pass);
    std::cout << clone.getSemiContinuousLb() << ".." << clone.getUB()
              << (clone.getName() ? " named\n" : " without name\n");
  }
}

void trapNormalized() {
  TavScopedEnv env;
  TavNumVar x(env, 0, 10, "x");
  TavExpr e = x + 2 * x;
  std::cout << e.isNormalized() << " " << e << "\n";
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
