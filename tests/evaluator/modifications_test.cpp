// A modified evaluator against a fresh one.

#include <array>
#include <random>

#include "expression/nodes.h"
#include "tests/evaluator/rows.h"

namespace {

using namespace evaluatortest;

/// Modifies a model and its evaluator at random.
class Modifier {
 public:
  Modifier(Model& model, TavEvaluator& evaluator, unsigned seed)
      : _model(model), _evaluator(evaluator), _random(seed) {}

  void modify() {
    switch (number(12)) {
      case 0:  // a constant, which is not reported
        row()->setConstant(_random() % 2 ? 0.0 : coefficient());
        return _evaluator.refresh();
      case 1:
        return replace(static_cast<TavInt>(number(_model.rows.getSize())));
      case 2:
        return replace(-1);
      case 3:
        if (number(4) != 0) return modify();
        _model.x.add(TavNumVar(_model.env));
        _model.point.push_back(0.3);
        return void(row()->setCoef(_model.x[_model.x.getSize() - 1], 2.0));
      case 4:
      case 5:
        return void(_model.objective.getImpl()->setCoef(variable(), coefficient()));
      case 6:
      case 7: {  // within functions; often a coefficient that so far is the same in all rows
        const std::size_t k = number(_model.angles.size());
        const TavNumVar own = _model.x[static_cast<TavInt>(k + 1)];
        return void(_model.angles[k].getImpl()->setCoef(number(2) ? own : variable(), coefficient()));
      }
      default:
        return void(row()->setCoef(variable(), coefficient()));
    }
  }

 private:
  template <class Count>
  std::size_t number(Count below) {
    return _random() % static_cast<std::size_t>(below);
  }
  double coefficient() { return std::array{0.0, 1.0, -1.0, 2.5, 0.75, 1.5}[number(6)]; }
  TavNumVar variable() { return _model.x[static_cast<TavInt>(number(_model.x.getSize()))]; }
  TavNumLinTermI* row() {
    return static_cast<TavNumLinTermI*>(_model.rows[static_cast<TavInt>(number(_model.rows.getSize()))].getImpl());
  }
  void replace(TavInt r) {
    const TavNumVar a = variable(), b = variable(), c = variable();
    const TavExpr expressions[] = {TavExpr(TavSin(a) * b + c), TavExpr(2.0 * a - c),
                                   TavExpr(coefficient() * TavSin(a - b) * a + TavExponent(2.0 * a) - 2.0 * b),
                                   TavExpr(a * b + TavSquare(c) + 1.5 * TavSquare(a - b * c) + b * c + 3.0)};
    const TavExpr expression = expressions[number(4)];
    if (r < 0) {
      _evaluator.setObjective(_model.objective = expression);
    } else {
      _model.rows.set(r, expression);
      _evaluator.setConstraint(static_cast<std::size_t>(r), expression);
    }
  }

  Model& _model;
  TavEvaluator& _evaluator;
  std::mt19937 _random;
};

TEST(Evaluator, GivesWhatAFreshOneDoesAfterModifications) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    Model model(std::array{6, 30, 90, 30}[seed % 4]);
    TavEvaluator evaluator(model.env, model.objective, model.rows);
    Modifier modifier(model, evaluator, seed);
    for (int step = 0; step < 60; ++step) {
      for (unsigned k = 0; k <= seed % 4; ++k) modifier.modify();
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      evaluator.update();
      TavNumVarArray columns(model.env);
      for (std::size_t i = 0; i < evaluator.getColumnCount(); ++i) columns.add(evaluator.getColumn(i));
      TavEvaluator fresh(model.env, model.objective, model.rows, columns, {});
      expectClose(resultsOf(evaluator, model.point, 0.7, model.lambda),
                  resultsOf(fresh, model.point, 0.7, model.lambda));
      for (std::size_t r = 0; r <= model.lambda.size(); ++r) {
        const std::size_t row = r < model.lambda.size() ? r : TavEvaluator::kObjective;
        ASSERT_EQ(evaluator.getKind(row), fresh.getKind(row)) << "row " << r;
        ASSERT_EQ(evaluator.getLinearPart(row).size(), fresh.getLinearPart(row).size());
        ASSERT_EQ(evaluator.getConstant(row), fresh.getConstant(row));
      }
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(Evaluator, AnEndedVariableIsNoColumn) {
  TavEnv env;
  TavNumVar x(env, -9, 9, "x"), y(env, -9, 9, "y"), z(env, -9, 9, "z");
  TavExprArray rows(env);
  rows.add(TavExpr(2.0 * x + 3.0 * y + TavSquare(z)));
  TavEvaluator evaluator(env, TavNumExprArg(rows[0]), rows, TavNumVarArray(env, 3, x, y, z), {});
  const Matrix before{{{0, 0}, 2.0}, {{0, 1}, 3.0}, {{0, 2}, 10.0}}, after{{{0, 0}, 2.0}, {{0, 1}, 10.0}};
  EXPECT_EQ(resultsOf(evaluator, {1.0, 1.0, 5.0}, 1.0, {1.0}).jacobian, before);
  y.end();
  evaluator.update();
  ASSERT_EQ(evaluator.getColumnCount(), 2U);
  EXPECT_EQ(evaluator.getColumnOf(z), 1U);
  const Results got = resultsOf(evaluator, {1.0, 5.0}, 1.0, {1.0});
  EXPECT_EQ(got.jacobian, after);
  EXPECT_EQ(got.gradient, (std::vector<double>{2.0, 10.0}));
  EXPECT_EQ(got.objective, 27.0);
  env.end();
}

}  // namespace
