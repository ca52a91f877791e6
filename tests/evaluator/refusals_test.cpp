// What the evaluator refuses, and what it says.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "evaluator/tavevaluator.h"
#include "expression/nodes.h"

namespace {

/// A class made outside the library.
class Foreign final : public TavNode<Foreign, TavNumExprI> {
 public:
  explicit Foreign(TavEnvI* env, TavNumExprI* x) : TavNode(env, nullptr), _x(x) {}
  static constexpr const char* kTypeName = "Foreign";
  double eval(TavAlgorithm algorithm) const override {
    const double x = _x->eval(algorithm);
    if (x < 0) throw TavWrongUsage("a negative number");
    return std::sqrt(x);
  }
  void visitSubExtractables(TavExtractableVisitor*) override {}

 private:
  TavNumExprI* _x;
};

TEST(Evaluator, SaysByNameWhatItCannotDo) {
  TavEnv env, other;
  TavNumVar x(env, -9, 9, "x"), y(env, -9, 9, "y"), z(other);
  TavExprArray rows(env), none(env);
  rows.add(TavExpr(TavSquare(x) + y));
  rows.add(TavExpr(2.0 * TavNumExprArg(new (env.getImpl()) Foreign(env.getImpl(), x.getImpl())) + x));
  TavEvaluator evaluator(env, TavSquare(x), rows);
  TavEvaluation at(evaluator);
  EXPECT_EQ(evaluator.getKind(0), TavEvaluator::Kind::Quadratic);
  EXPECT_EQ(evaluator.getConstantHessian(0).size(), 1U);
  EXPECT_EQ(evaluator.getLinearPart(0).size(), 1U);
  EXPECT_STREQ(evaluator.getClassWithoutDerivative(1), "Foreign");
  std::vector<double> point(2), values(2);
  point[evaluator.getColumnOf(x)] = 4.0;
  at.constraints(point, values);
  EXPECT_EQ(values, (std::vector<double>{16.0, 8.0}));
  at.gradient(point, values);
  EXPECT_EQ(values[evaluator.getColumnOf(x)], 8.0);
  point[evaluator.getColumnOf(x)] = -4.0;
  EXPECT_THROW(at.constraints(point, values), TavWrongUsage);
  evaluator.setConstraint(0, TavElement(TavNumVarArray(env, 1, y), TavMin(TavMax(TavNumToInt(0.3 * x), 0), 0)));
  evaluator.setConstraint(1, y);
  EXPECT_THROW(at.constraints(point, values), TavWrongUsage);  // by the index of the only element
  evaluator.setConstraint(0, rows[0]), evaluator.setConstraint(1, rows[1]);
  try {
    evaluator.getJacobianStructure();
    ADD_FAILURE() << "a Jacobian without derivatives";
  } catch (const TavEvaluator::NoDerivative& failure) {
    EXPECT_NE(std::string(failure.what()).find("Foreign"), std::string::npos) << failure.what();
  }
  try {
    TavEvaluator(env, {}, rows, TavNumVarArray(env, 1, y), {});
    ADD_FAILURE() << "x is no column";
  } catch (const TavEvaluator::UnknownVariable& failure) {
    EXPECT_NE(std::string(failure.what()).find("variable x"), std::string::npos) << failure.what();
  }
  EXPECT_THROW(TavEvaluator(env, TavSquare(z), none), TavWrongUsage);
  EXPECT_THROW(TavEvaluator(env, {}, rows, TavNumVarArray(env, 3, x, y, x), {}), TavWrongUsage);
  rows.add(TavExpr());
  EXPECT_THROW(TavEvaluator(env, {}, rows), TavEmptyHandleException);
  env.end(), other.end();
}

}  // namespace
