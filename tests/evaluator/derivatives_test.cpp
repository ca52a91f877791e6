// Derivatives and exact values against the oracle of the random programs, and conventions at kinks.

#include <bit>
#include <functional>
#include <iomanip>
#include <sstream>

#include "tests/evaluator/jets.h"
#include "tests/evaluator/rows.h"
#include "tests/support/protocol.h"
#include "tests/support/random_programs.h"

namespace {

using namespace evaluatortest;
using jets::Jet;
using jets::Number;
using model::Node;
using model::Ref;

bool sameBits(double a, double b) {
  return (a != a && b != b) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// What a random program is inspected with: its expressions are rows of an evaluator.
class Inspection {
 public:
  Inspection(TavEnv env, const std::vector<ProgramExpression>& variables, const std::vector<ProgramExpression>& all)
      : _env(env) {
    for (const ProgramExpression& variable : variables) {
      _columns.push_back(TavNumVar(variable.model->variable));
      _x.push_back(variable.model->value);
    }
    for (const ProgramExpression& expression : all) {
      if (!hasValue(expression.model)) continue;
      _nodes.push_back(expression.model);
      _rows.push_back(TavNumExprArg(expression.object));
    }
  }

  std::string run() {
    if (std::string difference = compareExactValues(); !difference.empty()) return difference;
    for (std::size_t r = 0; r < _nodes.size(); ++r) {
      if (std::string difference = compareDerivatives(r); !difference.empty()) {
        return difference + " of " + model::text(_nodes[r], true, [](const Node& v) { return v.variable; });
      }
    }
    return "";
  }

  static inline int compared = 0;

 private:
  static bool hasValue(const Ref& node) {
    try {
      model::eval(node);
      return true;
    } catch (const Undefined&) {
      return false;
    }
  }

  std::string compareExactValues() {
    TavEvaluator evaluator(_env, {}, _rows, _columns, {TavEvaluator::Mode::Exact, 0});
    TavEvaluation at(evaluator);
    std::vector<double> values(_rows.size());
    at.constraints(_x, values);
    for (std::size_t r = 0; r < _rows.size(); ++r) {
      if (!sameBits(values[r], model::eval(_nodes[r]))) return "exact value of row " + std::to_string(r);
    }
    return "";
  }

  Jet jet(std::size_t row, std::size_t i, std::size_t j) const {
    return jets::evaluate(*_nodes[row], [&](const Node& variable) {
      Jet x(variable.value);
      x.a = variable.variable == _columns[i].getImpl() ? 1.0 : 0.0;
      x.b = variable.variable == _columns[j].getImpl() ? 1.0 : 0.0;
      return x;
    });
  }

  static bool agree(double got, const Number& wanted) {
    if (!std::isfinite(wanted.v) || !std::isfinite(wanted.e) || wanted.e > 1e290) return true;
    ++compared;
    return std::fabs(got - wanted.v) <= 1e-12 * std::fabs(wanted.v) + 4e-15 * wanted.e;
  }

  std::string compareDerivatives(std::size_t row) {
    // Elements that come later are interpreted.
    const TavNumExprArg first = row % 2 == 0 ? _rows[row] : TavNumExprArg(_columns[0]);
    TavEvaluator evaluator(_env, {}, std::span(&first, 1), _columns, {});
    if (row % 2 != 0) evaluator.setConstraint(0, _rows[row]);
    if (evaluator.getClassWithoutDerivative(0)) return "";
    const Results got = resultsOf(evaluator, _x, 0.0, {1.0});
    const auto at = [](const Matrix& matrix, std::size_t i, std::size_t j) {
      const auto found = matrix.find({static_cast<int>(i), static_cast<int>(j)});
      return found == matrix.end() ? 0.0 : found->second;
    };
    try {
      for (std::size_t i = 0; i < _x.size(); ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
          const Jet wanted = jet(row, i, j);
          if (!std::isfinite(wanted.f.v)) return "";
          const auto place = std::to_string(i) + ", " + std::to_string(j);
          if (!agree(got.constraints[0], wanted.f)) return difference("value", got.constraints[0], wanted.f);
          if (!agree(at(got.jacobian, 0, i), wanted.a))
            return difference("derivative " + place, at(got.jacobian, 0, i), wanted.a);
          if (!agree(at(got.hessian, i, j), wanted.ab))
            return difference("second derivative " + place, at(got.hessian, i, j), wanted.ab);
        }
      }
    } catch (const jets::Fragile&) {
    } catch (const Undefined&) {
    }
    return "";
  }
  static std::string difference(const std::string& what, double got, const Number& wanted) {
    std::ostringstream os;
    os << std::setprecision(17) << what << ": " << got << " instead of " << wanted.v << ", error bound " << wanted.e;
    return os.str();
  }

  TavEnv _env;
  std::vector<Ref> _nodes;
  std::vector<TavNumVar> _columns;
  std::vector<double> _x;
  std::vector<TavNumExprArg> _rows;
};

TEST(Evaluator, AgreesWithTheModelOfRandomPrograms) {
  for (unsigned seed = 1; seed <= 1500; ++seed) {
    const std::string difference =
        runRandomProgram(Choices(seed), nullptr, [](const auto&... all) { return Inspection(all...).run(); });
    ASSERT_TRUE(difference.empty()) << "seed " << seed << ": " << difference;
  }
  EXPECT_GT(Inspection::compared, 100000);
}

class EvaluatorProtocol : public ProtocolTest {
 protected:
  EvaluatorProtocol() {  // over variables: leaves of the tests' own have no derivative
    o.x = num("x", 2), o.y = num("y", -1.5), o.i = integer("i", 1), o.j = integer("j", 2);
    o.X = exprs({o.x, o.y}), o.I = intExprs({o.i, o.j});
  }
};

TEST_F(EvaluatorProtocol, KnowsTheDerivativeOfEveryClassOfTheLibrary) {
  forEachNode([this](const NodeSample& sample, TavExtractableI* node) {
    const std::string name = sample.name;
    if (name == "TavConversionI") return;  // no expression
    TavEvaluator evaluator(env, TavNumExprArg(static_cast<TavNumExprI*>(node)), TavNumExprArray());
    const char* without = evaluator.getClassWithoutDerivative(TavEvaluator::kObjective);
    EXPECT_EQ(without ? without : "", name == "TavMonotonicNumExprI" ? name : "");
  });
}

// On breakpoints and at a jump the right slope; the form by values has one segment, which its first slope chooses.
TEST(Evaluator, PiecewiseLinearFunctionsHaveTheSlopeOfTheSegmentThatGivesTheValue) {
  TavEnv env;
  const auto numbers = [&env](std::initializer_list<double> list) {
    TavNumArray array(env);
    for (const double number : list) array.add(number);
    return array;
  };
  const TavNumArray breakpoints = numbers({-1.0, 0.5, 0.5, 2.0}), slopes = numbers({2.0, -1.0, 4.0, 0.5, 3.0});
  const std::pair<double, double> slopeAt[] = {{-9, 2},  {-1.5, 2},   {-1, -1}, {-0.5, -1}, {0.25, -1}, {0.5, 0.5},
                                               {1, 0.5}, {1.75, 0.5}, {2, 3},   {2.5, 3},   {7, 3},     {100, 3}};
  const TavNumArray places = numbers({-1.0, 0.5, 2.0}), values = numbers({1.0, 4.0, -2.0});
  const std::pair<double, double> slopeByFirst[] = {{-3, -3}, {0, -4}, {1, 5}, {9, -4}};
  for (const auto& [first, slope] : slopeByFirst) {  // twelve rows each: a block
    TavNumVarArray x(env);
    TavExprArray rows(env);
    std::vector<double> point;
    for (const auto& [at, unused] : slopeAt) {
      x.add(TavNumVar(env));
      point.push_back(at);
      const TavNumVar own = x[x.getSize() - 1];
      rows.add(TavExpr(TavPiecewiseLinear(1.0 * own + 0.0, breakpoints, slopes, first, 1.0) * own));
      rows.add(TavExpr(TavPiecewiseLinear(own, first, places, values, 5.0)));
    }
    TavEvaluator evaluator(env, {}, rows, x, {});
    const Results got = resultsOf(evaluator, point, 0.0, std::vector<double>(2 * point.size(), 1.0));
    for (std::size_t i = 0; i < point.size(); ++i) {
      const int r = static_cast<int>(2 * i), c = static_cast<int>(i);
      EXPECT_DOUBLE_EQ(got.jacobian.at({r, c}), got.constraints[2 * i] / point[i] + slopeAt[i].second * point[i]);
      EXPECT_EQ(got.hessian.at({c, c}), 2 * slopeAt[i].second) << point[i];
      EXPECT_EQ(got.jacobian.at({r + 1, c}), slope) << first;
    }
  }
  env.end();
}

// The derivative of what is not chosen is infinite or undefined here; alone, in blocks, and interpreted.
TEST(Evaluator, WhatIsNotChosenDoesNotShowInDerivatives) {
  const auto root = [](TavNumVar of) { return TavPower(of, 0.5); };
  const std::function<TavNumExprArg(TavNumVar, TavNumVar)> expressions[] = {
      [&](TavNumVar x, TavNumVar y) { return TavMax(3.0 * x, root(y)) * x; },
      [&](TavNumVar x, TavNumVar y) { return TavMin(-3.0 * x, root(y)) * -x; }};
  for (const auto& expression : expressions) {
    for (const int count : {1, 40}) {
      TavEnv env;
      TavNumVarArray x(env);
      TavExprArray rows(env);
      for (int i = 0; i < 2 * count; ++i) x.add(TavNumVar(env));
      for (int i = 0; i < count; ++i) rows.add(TavExpr(expression(x[2 * i], x[2 * i + 1])));
      TavEvaluator evaluator(env, {}, rows, x, {});
      std::vector<double> point(2 * static_cast<std::size_t>(count), 0.0);
      point[0] = 2.0;  // f = 3 x^2
      for (const bool isInterpreted : {false, true}) {
        if (isInterpreted) evaluator.setConstraint(0, TavExpr(expression(x[0], x[1])));
        const Results got = resultsOf(evaluator, point, 0.0, std::vector<double>(static_cast<std::size_t>(count), 1.0));
        const Matrix jacobian{{{0, 0}, 12.0}, {{0, 1}, 0.0}}, hessian{{{0, 0}, 6.0}, {{1, 0}, 0.0}, {{1, 1}, 0.0}};
        for (const auto& [at, value] : jacobian) EXPECT_EQ(got.jacobian.at(at), value) << at.second;
        for (const auto& [at, value] : hessian) EXPECT_EQ(got.hessian.at(at), value) << at.first << at.second;
      }
      env.end();
    }
  }
}

}  // namespace
