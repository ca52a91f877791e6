// Linearised models against enumeration: random models over a few small whole variables, of every class of expressions.

#include <gtest/gtest.h>

#include <CbcModel.hpp>
#include <CbcSOS.hpp>
#include <CoinPackedVector.hpp>
#include <OsiClpSolverInterface.hpp>
#include <map>
#include <optional>
#include <random>
#include <set>

#include "solve/linearise/linearisation.h"
#include "tests/support/samples.h"

namespace {

using tavlinear::Linearisation;

constexpr double kInfinity = tavlinear::kInfinity;

/// Values by identifier.
struct Values final : TavAlgorithmI {
  explicit Values(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override { return of.at(variable->getId()); }
  std::map<TavInt, double> of;
};

/// Solves what linearisation has made; the values of all columns, or nothing if there is no solution.
std::optional<std::vector<double>> solve(const Linearisation& linear) {
  OsiClpSolverInterface solver;
  solver.messageHandler()->setLogLevel(0);
  solver.getModelPtr()->setLogLevel(0);
  const CoinPackedVector none;
  for (int j = 0; j < linear.columns().size(); ++j) {
    const tavlinear::Column& column = linear.columns()[j];
    const TavNumVarI* its = column.variable;
    const double lb = its ? its->getLB() : column.lb, ub = its ? its->getUB() : column.ub;
    const bool isUsed = linear.columns().isUsed(j);
    solver.addCol(none, isUsed ? lb : 0.0, isUsed ? ub : 0.0, 0.0);
    if (its ? its->isInteger() : column.whole) solver.setInteger(j);
  }
  for (int i = 0; i < linear.rows().size(); ++i) {
    CoinPackedVector terms;
    for (const tavlinear::Term& term : linear.rows()[i].terms) terms.insert(term.column, term.coef);
    if (linear.rows().isUsed(i)) solver.addRow(terms, linear.rows()[i].lb, linear.rows()[i].ub);
  }
  for (const tavlinear::Term& term : linear.objective().terms) solver.setObjCoeff(term.column, term.coef);
  solver.setObjSense(linear.isMaximised() ? -1.0 : 1.0);
  CbcModel search(solver);
  search.setLogLevel(0);
  search.setNumberBeforeTrust(0);
  search.setNumberStrong(0);
  for (int i = 0; i < linear.sets().size(); ++i) {
    const std::vector<int>& columns = linear.sets()[i].columns;
    if (!linear.sets().isUsed(i)) continue;
    CbcSOS members(&search, static_cast<int>(columns.size()), columns.data(), nullptr, i, 2);
    CbcObject* object = &members;
    search.addObjects(1, &object);
  }
  search.branchAndBound();
  if (!search.bestSolution()) return {};
  return std::vector<double>(search.bestSolution(), search.bestSolution() + linear.columns().size());
}

/// A random model of one objective and two rows.
class RandomModel {
 public:
  explicit RandomModel(unsigned seed) : random(seed), values(env) {
    b = TavIntVar(env, 0, 1, "b");
    m = TavIntVar(env, 0, 2, "m");
    n = TavIntVar(env, -3, 3, "n");
    for (TavExpr* one : {&objective, &rows[0], &rows[1]}) *one = TavExpr(number(3));
    maximise = pick(2) == 0;
    for (int i = 0; i < 2; ++i) {  // bounds that some point meets
      place(pick(2), pick(3), pick(7) - 3);
      double value = eval(rows[i]);
      if (std::isnan(value)) value = 0.0;
      lb[i] = pick(3) == 0 ? -kInfinity : value - pick(2);
      ub[i] = pick(3) == 0 ? kInfinity : value + pick(2);
    }
  }
  ~RandomModel() { env.end(); }

  int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
  void place(double bValue, double mValue, double nValue) {
    values.of = {{b.getId(), bValue}, {m.getId(), mValue}, {n.getId(), nValue}};
  }
  double eval(const TavExpr& expr) { return expr.eval(TavAlgorithm(&values)); }
  /// The best objective at the current bounds.
  std::optional<double> best() {
    std::optional<double> found;
    for (double at = n.getImpl()->getLB(); at <= n.getImpl()->getUB(); ++at) {
      for (int k = 0; k < 6; ++k) {
        place(k % 2, k / 2, at);
        if (at < n.getImpl()->getLB() || k % 2 < b.getImpl()->getLB() || !holds(0) || !holds(1)) continue;
        const double value = eval(objective);
        if (!found || (maximise ? value > *found : value < *found)) found = value;
      }
    }
    return found;
  }
  bool holds(int row) {
    const double value = eval(rows[row]);
    if (lb[row] == -kInfinity && ub[row] == kInfinity) return true;  // whatever its value
    return value >= lb[row] - 1e-7 && value <= ub[row] + 1e-7;
  }

  TavEnv env;
  std::mt19937 random;
  Values values;
  TavIntVar b, m, n;
  TavExpr objective, rows[2];
  double lb[2], ub[2];
  bool maximise = false;
  std::set<std::string> classes;

 private:
  TavIntExprArg whole(int depth) {
    switch (depth > 0 ? pick(9) : pick(5)) {
      case 0:
        return b;
      case 1:
        return m;
      case 2:
        return n;
      case 3:
        return n - m;
      case 4:
        return 2 * b + m - 1;
      default:
        return TavIntExprArg(static_cast<TavIntExprI*>(sample(depth, true)));
    }
  }
  TavNumExprArg number(int depth) {
    switch (depth > 0 ? pick(10) : pick(4)) {
      case 0:
        return 0.5 * n + 0.25;
      case 1:
        return 0.5 * m - 1.5 * b;
      case 2:
        return TavNumExprArg(n);
      case 3:
        return 0.25 * n + 0.5 * m;
      case 4:
        return number(depth - 1) + 1.5 * number(depth - 1);
      case 5:
        return b * number(depth - 1) - 0.5 * whole(depth - 1);
      default:
        return TavNumExprArg(sample(depth, false));
    }
  }
  /// An expression of a random class; operands are kept where the class has a value.
  TavNumExprI* sample(int depth, bool isInt) {
    const auto& all = nodeSamples();
    const NodeSample* one = nullptr;
    while (!one || one->isInt != isInt || refused.contains(one->name)) one = &all[random() % all.size()];
    const std::string name = one->name;
    Operands o(env);
    o.v = n;
    o.w = m;
    o.c = (pick(9) - 4) * 0.5;
    o.d = pick(5) - 2;
    o.k = pick(2) ? pick(3) + 1 : -pick(3) - 1;
    o.x = name == "TavNumToIntI" ? TavNumExprArg(whole(depth - 1)) : number(depth - 1);
    o.y = number(depth - 1);
    o.i = whole(depth - 1);
    o.j = whole(depth - 1);
    const bool divides = name.find("Div") != std::string::npos || name.find("Modulo") != std::string::npos;
    if (divides && pick(2)) o.x = TavNumExprArg(m + 1);
    if (divides) o.y = o.x, o.x = number(depth - 1), o.j = m + 1, o.c = o.c == 0.0 ? 1.0 : o.c;
    if (divides && name.find("Rec") != std::string::npos) o.x = o.y, o.i = pick(2) ? m + 1 : m - 3;
    if (name.find("Element") != std::string::npos) o.i = pick(2) ? TavIntExprArg(m) : b + b * m;
    for (int k = 0; k < (name.find("Element") != std::string::npos ? 5 : 3); ++k) {
      o.X.add(number(depth - 1));
      o.I.add(whole(depth - 1));
      o.D.add((pick(9) - 4) * 0.5);
      o.K.add(pick(9) - 4);
    }
    double at = -2.0;
    for (int k = 0; k < (name.find("Piecewise") != std::string::npos ? 2 : 5); ++k) o.C.add(at += pick(4) * 0.5);
    classes.insert(name);
    return static_cast<TavNumExprI*>(one->make(o));
  }

  /// Not expressions of variables, or refused as such.
  const std::set<std::string> refused = {"TavNumVarI", "TavSemiContVarI",     "TavConstraintIndVarI", "TavConversionI",
                                         "TavTanI",    "TavConstConstraintI", "TavStandardDeviationI"};
};

/// Solves the model as it stands and compares with enumeration.
void compare(RandomModel& model, Linearisation& linear, unsigned seed) {
  const std::optional<double> best = model.best();
  const auto solution = solve(linear);
  ASSERT_EQ(solution.has_value(), best.has_value()) << "seed " << seed;
  if (!best) return;
  const auto at = [&](TavNumVar x) {
    return std::round((*solution)[static_cast<std::size_t>(linear.columnOf(x.getImpl()))]);
  };
  model.place(at(model.b), at(model.m), at(model.n));
  EXPECT_TRUE(model.holds(0) && model.holds(1)) << "seed " << seed;
  EXPECT_NEAR(model.eval(model.objective), *best, 1e-5 * std::max(1.0, std::abs(*best))) << "seed " << seed;
  for (const Linearisation::Made& made : linear.made()) {
    double form = made.form->constant;
    for (const tavlinear::Term& term : made.form->terms) {
      form += term.coef * (*solution)[static_cast<std::size_t>(term.column)];
    }
    const double value = made.node->eval(TavAlgorithm(&model.values));
    const double slack = 1e-5 * std::max(1.0, std::abs(value));
    const bool isOver = !made.demand.needsOver() || form >= value - slack;
    const bool isUnder = !made.demand.needsUnder() || form <= value + slack;
    EXPECT_TRUE(isOver && isUnder) << "seed " << seed << ": " << form << " instead of " << value << " for "
                                   << TavExtractable(const_cast<TavNumExprI*>(made.node));
  }
}

TEST(Linearise, OptimaOfRandomModelsAreThoseOfEnumeration) {
  std::set<std::string> taken;
  int models = 0;
  const char* last = std::getenv("TAV_SEEDS");
  for (unsigned seed = 1; seed <= (last ? std::stoul(last) : 400); ++seed) {
    RandomModel model(seed);
    Linearisation linear;
    for (TavNumVar x : {TavNumVar(model.b), TavNumVar(model.m), TavNumVar(model.n)}) linear.columnOf(x.getImpl());
    try {
      linear.setObjective(model.objective.getImpl(), model.maximise, "objective");
      for (int i = 0; i < 2; ++i) linear.addRow(model.rows[i].getImpl(), model.lb[i], model.ub[i], "row");
      compare(model, linear, seed);
      model.n.setBounds(-1, 2);
      model.b.setBounds(model.pick(2), 1);
      linear.changed(model.n.getImpl());
      linear.changed(model.b.getImpl());
      linear.update();
      compare(model, linear, seed);
      if (HasFatalFailure()) return;
    } catch (const tavlinear::Refusal&) {
      continue;
    }
    ++models;
    taken.insert(model.classes.begin(), model.classes.end());
  }
  EXPECT_GT(models, 100);
  EXPECT_EQ(taken.size(), nodeSamples().size() - 7) << "a class was never linearised";
}

}  // namespace
