// One call against another, blocks against single elements, and models of all sizes.

#include <algorithm>
#include <memory>
#include <thread>

#include "expression/nodes.h"
#include "tests/evaluator/rows.h"

namespace {

using namespace evaluatortest;

TEST(Evaluator, EachCallAloneGivesWhatAllTogetherGive) {
  Model model(40);
  TavEvaluator evaluator(model.env, model.objective, model.rows, model.x, {});
  const Results all = resultsOf(evaluator, model.point, 0.7, model.lambda);
  std::vector<std::thread> threads;  // one program, a workspace for each thread
  std::vector<std::unique_ptr<TavEvaluation>> workspaces;
  for (int t = 0; t < 4; ++t) workspaces.push_back(std::make_unique<TavEvaluation>(evaluator));
  for (auto& workspace : workspaces) {
    threads.emplace_back([&model, &evaluator, &all, &at = *workspace] {
      Results alone;
      const std::size_t n = model.point.size(), m = model.lambda.size();
      alone.gradient.resize(n), alone.constraints.resize(m);
      std::vector<double> jacobian(evaluator.getJacobianStructure().size());
      std::vector<double> hessian(evaluator.getHessianStructure().size());
      alone.objective = at.objective(model.point);
      at.gradient(model.point, alone.gradient);
      at.constraints(model.point, alone.constraints);
      at.jacobian(model.point, jacobian);
      at.hessian(model.point, 0.7, model.lambda, hessian);
      alone.jacobian = matrixOf(evaluator.getJacobianStructure(), jacobian);
      alone.hessian = matrixOf(evaluator.getHessianStructure(), hessian);
      expectClose(alone, all);
      std::vector<double> products(n), v(n), wanted(n), rows(m), wantedRows(m);
      for (std::size_t i = 0; i < n; ++i) v[i] = std::cos(5.0 * static_cast<double>(i));
      for (const auto& [position, value] : all.hessian) {
        const auto i = static_cast<std::size_t>(position.first), j = static_cast<std::size_t>(position.second);
        wanted[i] += value * v[j];
        if (i != j) wanted[j] += value * v[i];
      }
      at.hessianTimes(model.point, 0.7, model.lambda, v, products);
      for (std::size_t i = 0; i < n; ++i) EXPECT_NEAR(products[i], wanted[i], 1e-11);
      std::fill(wanted.begin(), wanted.end(), 0.0);
      for (const auto& [position, value] : all.jacobian) {
        const auto i = static_cast<std::size_t>(position.first), j = static_cast<std::size_t>(position.second);
        wantedRows[i] += value * v[j];
        wanted[j] += value * model.lambda[i];
      }
      at.jacobianTimes(model.point, v, rows);
      at.timesJacobian(model.point, model.lambda, products);
      for (std::size_t i = 0; i < m; ++i) EXPECT_NEAR(rows[i], wantedRows[i], 1e-11);
      for (std::size_t i = 0; i < n; ++i) EXPECT_NEAR(products[i], wanted[i], 1e-11);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Evaluator, TellsKindsByTheFormOfTheExpression) {
  using Kind = TavEvaluator::Kind;
  TavEnv env;
  TavNumVar x(env), y(env), z(env);
  const std::pair<TavNumExpr, Kind> forms[] = {
      {3 * x - y, Kind::Linear},        {x * y, Kind::Quadratic},       {x * y / 2 + TavSquare(z), Kind::Quadratic},
      {x * y * z, Kind::NonLinear},     {(x + y) * z, Kind::Quadratic}, {TavSquare(x) * y, Kind::NonLinear},
      {x / TavSin(y), Kind::NonLinear}, {z * x, Kind::Quadratic}};
  TavExprArray rows(env);
  for (const auto& form : forms) rows.add(TavExpr(form.first));
  const TavEvaluator evaluator(env, TavNumExpr(), rows);
  for (std::size_t r = 0; r < std::size(forms); ++r) {
    ASSERT_EQ(evaluator.getKind(r), forms[r].second) << "row " << r;
    if (forms[r].second == Kind::NonLinear) continue;
    for (const auto& [at, value] : evaluator.getConstantHessian(r)) EXPECT_GE(at.row, at.column) << "row " << r;
  }
  env.end();
}

TEST(Evaluator, DescribesRowsAsItEvaluatesThem) {
  Model model(40);
  model.rows.add(TavExpr(model.x[0] / model.x[1] + TavSquare(model.x[2]) / 4.0));
  model.lambda.push_back(1.0);
  TavEvaluator evaluator(model.env, model.objective, model.rows, model.x, {});
  EXPECT_EQ(evaluator.getKind(model.lambda.size() - 1), TavEvaluator::Kind::NonLinear);
  for (std::size_t r = 0; r < model.lambda.size(); ++r) {
    std::vector<double> lambda(model.lambda.size());
    lambda[r] = 1.0;
    if (evaluator.getKind(r) == TavEvaluator::Kind::NonLinear) continue;
    Matrix wanted = resultsOf(evaluator, model.point, 0.0, lambda).hessian, got;
    std::erase_if(wanted, [](const auto& entry) { return entry.second == 0.0; });
    for (const auto& [at, value] : evaluator.getConstantHessian(r)) got[{at.row, at.column}] = value;
    expectClose(got, wanted);
  }
  const auto expectSorted = [](const TavEvaluator::CompressedRows& rows, auto positions) {
    std::vector<std::pair<int, int>> wanted, got;
    for (const auto& [row, column] : positions) wanted.emplace_back(row, column);
    std::sort(wanted.begin(), wanted.end());
    for (std::size_t r = 0; r + 1 < rows.starts.size(); ++r) {
      for (std::size_t k = rows.starts[r]; k < rows.starts[r + 1]; ++k) {
        got.emplace_back(static_cast<int>(r), rows.columns[k]);
        EXPECT_EQ(positions[rows.order[k]].column, rows.columns[k]);
      }
    }
    EXPECT_EQ(got, wanted);
  };
  expectSorted(evaluator.getJacobianByRows(), evaluator.getJacobianStructure());
  expectSorted(evaluator.getHessianByRows(), evaluator.getHessianStructure());
}

TEST(Evaluator, AddsInTheOrderOfEval) {
  TavEnv env;
  TavNumVar big(env, -9, 9, "big"), one(env, -9, 9, "one"), u(env, -9, 9, "u");
  TavExprArray rows(env);
  rows.add(TavExpr(TavSquare(big) + TavSquare(one) - TavSquare(big)));        // 0, not 1
  rows.add(TavExpr(TavSquare(big) + TavExponent(u) - TavSquare(big) + one));  // terms behind the parts
  rows.add(TavExpr(TavSquare(big) + 1e16 * one - TavSin(u) - 2e16 * one + 1.0));
  TavEvaluator fast(env, TavNumExprArg(rows[1]), rows),
      exact(env, TavNumExprArg(rows[1]), rows, TavNumVarArray(env, 3, big, one, u), {TavEvaluator::Mode::Exact, 0});
  std::vector<double> x(3), values(3), wanted(3);
  x[fast.getColumnOf(big)] = 1e8, x[fast.getColumnOf(one)] = 1.0, x[fast.getColumnOf(u)] = 0.0;
  TavEvaluation(fast).constraints(x, values);
  TavEvaluation(exact).constraints(std::vector<double>{1e8, 1.0, 0.0}, wanted);
  EXPECT_EQ(values, wanted);
  EXPECT_EQ(values[0], 0.0);
  EXPECT_EQ(TavEvaluation(fast).objective(x), wanted[1]);
  exact.setConstraint(2, rows[1]);  // a program without derivatives is modified
  TavEvaluation(exact).constraints(std::vector<double>{1e8, 1.0, 0.0}, values);
  EXPECT_EQ(values[2], wanted[1]);
  env.end();
}

// Wide blocks against narrow ones, and blocks against single elements: one row alone has no block.
TEST(Evaluator, BlocksComputeWhatSingleElementsDo) {
  for (const auto& [size, rowsEach] : {std::pair(77, 1), std::pair(600, 100)}) {
    Model model(size);
    const Results all = model.results();
    Results sum;
    sum.gradient = all.gradient;
    sum.objective = all.objective;
    for (TavInt r = -1; r < model.rows.getSize(); r += r < 0 ? 1 : rowsEach) {
      TavExprArray rows(model.env);
      std::vector<double> lambda;
      for (TavInt k = r; k >= 0 && k < r + rowsEach && k < model.rows.getSize(); ++k) {
        rows.add(model.rows[k]);
        lambda.push_back(model.lambda[static_cast<std::size_t>(k)]);
      }
      TavEvaluator alone(model.env, r < 0 ? TavNumExprArg(model.objective) : TavNumExprArg(), rows, model.x, {});
      const Results part = resultsOf(alone, model.point, 0.7, lambda);
      for (const double value : part.constraints) sum.constraints.push_back(value);
      for (const auto& [at, value] : part.jacobian) sum.jacobian[{static_cast<int>(r) + at.first, at.second}] = value;
      for (const auto& [at, value] : part.hessian) sum.hessian[at] += value;
    }
    expectClose(all, sum);
  }
}

TEST(Evaluator, TakesDepthAndLengthInLinearTime) {
  TavEnv env;
  TavNumVar x(env, -9, 9, "x");
  TavNumExprArg deep = TavSin(x);
  for (int i = 0; i < 100000; ++i) deep = TavSin(deep);
  TavExpr wide(env, 0.0);
  for (int i = 0; i < 100000; ++i) wide += TavSquare(x);
  TavNumExprArg shared = TavSquare(x);  // evaluated as a tree it would have 2^60 leaves
  for (int i = 0; i < 60; ++i)
    shared =
        TavSquare(TavNumExprArg(new (env.getImpl()) TavNumTimesI(env.getImpl(), shared.getImpl(), shared.getImpl())));
  TavExprArray rows(env);
  for (const TavNumExprArg row : {deep, TavNumExprArg(wide), shared}) rows.add(TavExpr(row));
  TavEvaluator evaluator(env, {}, rows);
  const Results got = resultsOf(evaluator, {1.0}, 0.0, {0.0, 1.0, 0.0});
  EXPECT_EQ(got.constraints[1], 100000.0);
  EXPECT_EQ(got.constraints[2], 1.0);
  EXPECT_EQ(got.jacobian.at({1, 0}), 200000.0);
  EXPECT_EQ(got.hessian.at({0, 0}), 200000.0);
  EXPECT_GT(got.jacobian.at({0, 0}), 0.0);
  env.end();
}

}  // namespace
