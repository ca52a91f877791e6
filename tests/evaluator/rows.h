#pragma once
/// What the tests of the evaluator have in common: results as maps by position, and a model with rows of few
/// structures.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <vector>

#include "evaluator/tavevaluator.h"

namespace evaluatortest {

using Matrix = std::map<std::pair<int, int>, double>;

/// Everything that an evaluator gives at a point, matrices by position.
struct Results {
  double objective = 0.0;
  std::vector<double> gradient, constraints;
  Matrix jacobian, hessian;
};

inline Matrix matrixOf(std::span<const TavEvaluator::Position> positions, const std::vector<double>& values) {
  Matrix matrix;
  for (std::size_t k = 0; k < positions.size(); ++k) {
    EXPECT_TRUE(matrix.emplace(std::pair(positions[k].row, positions[k].column), values[k]).second) << "twice";
  }
  return matrix;
}

inline Results resultsOf(TavEvaluator& evaluator, const std::vector<double>& x, double sigma,
                         const std::vector<double>& lambda) {
  TavEvaluation at(evaluator);
  Results r;
  r.gradient.resize(x.size());
  r.constraints.resize(lambda.size());
  std::vector<double> jacobian(evaluator.getJacobianStructure().size());
  std::vector<double> hessian(evaluator.getHessianStructure().size());
  r.objective = at.all(x, sigma, lambda, r.gradient, r.constraints, jacobian, hessian);
  r.jacobian = matrixOf(evaluator.getJacobianStructure(), jacobian);
  r.hessian = matrixOf(evaluator.getHessianStructure(), hessian);
  return r;
}

/// Rows of few structures, some rows of each.
class Model {
 public:
  explicit Model(int size) {
    for (int i = 0; i < size; ++i) x.add(TavNumVar(env, -2, 2));
    for (int i = 0; i + 1 < size; ++i) {
      const double c = 0.1 * i + 0.3;
      objective += c * TavSquare(x[i + 1] - TavSquare(x[i])) + x[i];
      angles.push_back(TavExpr(x[i] - 2.0 * x[i + 1]));  // one node in three rows
      rows.add(TavExpr(c * TavSin(angles.back()) * x[i] + TavExponent(c * x[i]) - 2.0 * x[i + 1]));
      rows.add(TavExpr(TavCos(angles.back()) / (2.0 + c * x[i] * x[i]) + TavLog(3.0 + x[i]) + 1.0));
      rows.add(TavExpr(x[i] * x[i + 1] + c * TavSquare(x[i]) - 3.0 * x[i] + TavSquare(x[(i + 7) % size]) +
                       TavSquare(angles.back())));
      rows.add(TavExpr(TavPower(TavAbs(x[i]) + c, 1.5) + TavMax(x[i], x[i + 1]) + TavTan(x[i])));
      const TavNumExpr square = c * TavSquare(x[i]);
      rows.add(TavExpr(TavFract(square + TavExponent(x[i]) + square + square)));
      rows.add(TavExpr(x[i] - c * x[i + 1]));
      rows.add(TavExpr(x[(i + 3) % size] - 0.5 * TavSin(x[i]) - 0.5 * TavSin(x[i + 1]) - 2.0 * x[(i + 1) % size] +
                       x[i] + c));
    }
    for (int i = 0; i < size; ++i) point.push_back(std::sin(3.0 * i + 1.0));
    for (TavInt r = 0; r < rows.getSize(); ++r) lambda.push_back(std::cos(static_cast<double>(r)));
  }
  ~Model() { env.end(); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  Results results() {
    TavEvaluator fresh(env, objective, rows, x, {});
    return resultsOf(fresh, point, 0.7, lambda);
  }

  TavEnv env;
  TavNumVarArray x{env};
  TavExpr objective{env, 0.0};
  TavExprArray rows{env};
  std::vector<TavExpr> angles;
  std::vector<double> point, lambda;
};

inline void expectClose(const Matrix& got, const Matrix& wanted) {
  ASSERT_EQ(got.size(), wanted.size());
  for (const auto& [at, value] : wanted) {
    ASSERT_TRUE(got.contains(at));
    EXPECT_NEAR(got.at(at), value, 1e-13 * (1 + std::fabs(value)));
  }
}

inline void expectClose(const Results& got, const Results& wanted) {
  EXPECT_NEAR(got.objective, wanted.objective, 1e-13 * std::fabs(wanted.objective));
  for (std::size_t i = 0; i < wanted.gradient.size(); ++i) EXPECT_NEAR(got.gradient[i], wanted.gradient[i], 1e-12);
  for (std::size_t i = 0; i < wanted.constraints.size(); ++i) {
    EXPECT_NEAR(got.constraints[i], wanted.constraints[i], 1e-13 * (1 + std::fabs(wanted.constraints[i])));
  }
  expectClose(got.jacobian, wanted.jacobian);
  expectClose(got.hessian, wanted.hessian);
}

}  // namespace evaluatortest
