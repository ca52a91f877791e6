#include "evaluator/tavevaluator.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <iomanip>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

#include "tests/evaluator/jets.h"
#include "tests/support/protocol.h"
#include "tests/support/random_programs.h"

namespace {

using jets::Jet;
using jets::Number;
using model::Node;
using model::Ref;
using Matrix = std::map<std::pair<int, int>, double>;

/// Everything that an evaluator gives at a point, matrices by position.
struct Results {
  double objective = 0.0;
  std::vector<double> gradient, constraints;
  Matrix jacobian, hessian;
};

Matrix matrixOf(std::span<const TavEvaluator::Position> positions, const std::vector<double>& values) {
  Matrix matrix;
  for (std::size_t k = 0; k < positions.size(); ++k) {
    EXPECT_TRUE(matrix.emplace(std::pair(positions[k].row, positions[k].column), values[k]).second) << "twice";
  }
  return matrix;
}

Results resultsOf(TavEvaluator& evaluator, const std::vector<double>& x, double sigma,
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

void expectClose(const Matrix& got, const Matrix& wanted) {
  ASSERT_EQ(got.size(), wanted.size());
  for (const auto& [at, value] : wanted) {
    ASSERT_TRUE(got.contains(at));
    EXPECT_NEAR(got.at(at), value, 1e-13 * (1 + std::fabs(value)));
  }
}

void expectClose(const Results& got, const Results& wanted) {
  EXPECT_NEAR(got.objective, wanted.objective, 1e-13 * std::fabs(wanted.objective));
  for (std::size_t i = 0; i < wanted.gradient.size(); ++i) EXPECT_NEAR(got.gradient[i], wanted.gradient[i], 1e-12);
  for (std::size_t i = 0; i < wanted.constraints.size(); ++i) {
    EXPECT_NEAR(got.constraints[i], wanted.constraints[i], 1e-13 * (1 + std::fabs(wanted.constraints[i])));
  }
  expectClose(got.jacobian, wanted.jacobian);
  expectClose(got.hessian, wanted.hessian);
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
  env.end();
}

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
