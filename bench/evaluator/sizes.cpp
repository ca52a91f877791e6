// Processor times of building, compiling, changing and evaluating large and unusual models, at sizes that grow by
// factors of ten. Usage: tav_measure_evaluator_sizes [LARGEST], the largest number of items (a million by default);
// beyond a million the terms of a sum alone.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>

#include "bench/race.h"
#include "evaluator/tavevaluator.h"
#include "expression/nodes.h"

namespace {

struct Model {
  TavEnv env;
  TavNumVarArray x{env};
  TavNumExprArg objective;
  TavExprArray rows{env};
};

/// A random expression of about ten operations over five neighbouring columns.
class RandomExpression {
 public:
  explicit RandomExpression(const TavNumVarArray& x) : _x(x) {}
  TavNumExprArg make(int depth) {
    if (depth == 0) return number(8) == 0 ? TavNumExprArg(leaf() * 1.5) : TavNumExprArg(leaf());
    switch (number(9)) {
      case 0:
        return TavSin(make(depth - 1));
      case 1:
        return TavExponent(0.1 * make(depth - 1));
      case 2:
        return TavSquare(make(depth - 1));
      case 3:
        return TavLog(2.0 + TavSquare(make(depth - 1)));
      case 4:
      case 5:
        return make(depth - 1) * make(depth - 1);
      case 6:
        return make(depth - 1) / (2.0 + TavSquare(make(depth - 2 < 0 ? 0 : depth - 2)));
      default:
        return make(depth - 1) + 0.5 * make(depth - 1);
    }
  }
  void next() { _first = number(_x.getSize() - 5); }

 private:
  TavInt number(TavInt below) { return static_cast<TavInt>(_random() % static_cast<unsigned long>(below)); }
  TavNumVar leaf() { return _x[_first + number(5)]; }

  const TavNumVarArray& _x;
  std::mt19937_64 _random{7};
  TavInt _first = 0;
};

void measure(const std::string& name, long size, const std::function<void(Model&)>& build) {
  Model model;
  const double start = computedSeconds();
  build(model);
  const double built = computedSeconds();
  TavEvaluator evaluator(model.env, model.objective, model.rows, model.x, {});
  TavEvaluation at(evaluator);
  const double compiled = computedSeconds();
  std::vector<double> point(evaluator.getColumnCount(), 0.7), lambda(evaluator.getRowCount(), 1.0), g(lambda),
      gradient(point), jacobian(evaluator.getJacobianStructure().size()),
      hessian(evaluator.getHessianStructure().size());
  at.all(point, 1.0, lambda, gradient, g, jacobian, hessian);
  const double first = computedSeconds();
  at.all(point, 1.0, lambda, gradient, g, jacobian, hessian);
  const double evaluated = computedSeconds();
  const double perItem = 1e9 / static_cast<double>(size);
  std::printf("| %s | %ld | %.0f | %.0f | %.0f | %.0f |\n", name.c_str(), size, (built - start) * perItem,
              (compiled - built) * perItem, static_cast<double>(evaluator.getMemoryUse()) / static_cast<double>(size),
              (evaluated - first) * perItem);
  std::fflush(stdout);
  if (model.rows.getSize() > 1 && model.rows[0].getImpl()->isType(TavNumLinTermI::GetTypeInfo())) {
    const auto change = [&](const char* what, double coefficient, TavInt variable) {
      static_cast<TavNumLinTermI*>(model.rows[0].getImpl())->setCoef(model.x[variable], coefficient);
      const double before = computedSeconds();
      evaluator.update();
      const double updated = computedSeconds();
      std::printf("|   %s | %ld | | %.1f us in all, a compilation %.0f times | | |\n", what, size,
                  (updated - before) * 1e6, (compiled - built) / (updated - before));
    };
    change("the first change of a coefficient", 3.0, 0);
    change("another one", 4.0, 0);
    change("a new term", 2.0, 9);
    const double before = computedSeconds();
    evaluator.setConstraint(1, TavExpr(TavSin(model.x[3]) * model.x[4]));
    evaluator.update();
    const double updated = computedSeconds();
    std::printf("|   a row replaced | %ld | | %.1f us in all, a compilation %.0f times | | |\n", size,
                (updated - before) * 1e6, (compiled - built) / (updated - before));
  }
  model.env.end();
}

void oneShape(Model& model, long size) {
  for (long i = 0; i <= size; ++i) model.x.add(TavNumVar(model.env));
  for (long i = 0; i < size; ++i) {
    const auto k = static_cast<TavInt>(i);
    model.rows.add(
        TavExpr(TavSin(model.x[k] - model.x[k + 1]) * model.x[k] + 0.1 * static_cast<double>(i) * model.x[k]));
  }
}

void differentShapes(Model& model, long size) {
  for (long i = 0; i < size / 2 + 10; ++i) model.x.add(TavNumVar(model.env));
  RandomExpression random(model.x);
  for (long i = 0; i < size; ++i) {
    random.next();
    model.rows.add(TavExpr(random.make(4)));
  }
}

void longSum(Model& model, long size) {
  for (int i = 0; i < 1000; ++i) model.x.add(TavNumVar(model.env));
  TavExpr sum(model.env, 0.0);
  for (long i = 0; i < size; ++i) sum += TavSquare(model.x[static_cast<TavInt>(i % 1000)]);
  model.objective = sum;
}

void deepNest(Model& model, long size) {
  model.x.add(TavNumVar(model.env));
  TavNumExprArg deep = model.x[0];
  for (long i = 0; i < size; ++i) deep = TavSin(deep);
  model.objective = deep;
}

}  // namespace

int main(int argc, char** argv) {
  const long largest = argc > 1 ? std::atol(argv[1]) : 1'000'000;
  std::printf(
      "| what | items | building, ns an item | compiling | bytes | evaluating all five |\n|---|---|---|---|---|---|\n");
  for (long size = 1000; size <= largest; size *= 10) {
    if (size <= 1'000'000) measure("rows of one shape", size, [=](Model& model) { oneShape(model, size); });
    if (size <= 100'000) measure("rows of different shapes", size, [=](Model& model) { differentShapes(model, size); });
    measure("terms of a sum", size, [=](Model& model) { longSum(model, size); });
    if (size <= 1'000'000) measure("nested nodes", size, [=](Model& model) { deepNest(model, size); });
  }
}
