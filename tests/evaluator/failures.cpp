// Every allocation of the evaluator fails once, while it compiles and while it follows modifications.

#include <new>
#include <optional>
#include <sstream>

#include "evaluator/tavevaluator.h"
#include "expression/nodes.h"
#include "tests/failures/gate.h"
#include "tests/support/fixture.h"

namespace {

struct Model {
  Model() {
    for (int i = 0; i < 16; ++i) x.add(TavNumVar(env, -2, 2));
    for (int i = 0; i < 14; ++i) {
      objective += 100.0 * TavSquare(x[i + 1] - TavSquare(x[i]));
      rows.add(TavExpr(2.0 * TavSin(x[i] - x[i + 1]) * x[i] + TavExponent(x[i]) - 2.0 * x[i + 2]));
      rows.add(TavExpr(TavCos(x[i] - x[i + 1]) * x[i] + 3.0 * x[i]));
    }
    rows.add(TavExpr(TavPower(x[0], 3.0) * TavLog(3.0 + x[1]) + x[2]));
    rows.add(TavExpr(x[0] + x[3]));
  }
  ~Model() { env.end(); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  /// So many structures that each occurs once: they are interpreted.
  void addDifferentRows() {
    for (int k = 0; k < 80; ++k) {
      TavNumExprArg row = x[k % 16];
      for (int bits = k + 2; bits > 1; bits /= 2) row = bits % 2 ? TavSin(row) : TavSquare(row);
      rows.add(TavExpr(row * x[(k + 1) % 16]));
    }
  }

  /// What a client sees of the expressions, and who counts on them.
  std::string seen() const {
    std::ostringstream os;
    os << objective << objective.getImpl()->getRefCount();
    for (TavInt r = 0; r < rows.getSize(); ++r) os << rows[r] << rows[r].getImpl()->getRefCount();
    return os.str();
  }

  TavEnv env;
  TavNumVarArray x{env};
  TavExpr objective{env, 0.0};
  TavExprArray rows{env};
};

/// Structures, values and version of an evaluator.
std::vector<double> seen(TavEvaluator& evaluator) {
  TavEvaluation at(evaluator);
  const std::size_t n = evaluator.getColumnCount(), m = evaluator.getRowCount();
  const auto jacobianPositions = evaluator.getJacobianStructure(), hessianPositions = evaluator.getHessianStructure();
  std::vector<double> point(n, 0.4), lambda(m, 0.5), gradient(n), g(m), jacobian(jacobianPositions.size()),
      hessian(hessianPositions.size());
  std::vector<double> all{at.all(point, 0.7, lambda, gradient, g, jacobian, hessian)};
  for (const auto* list : {&gradient, &g, &jacobian, &hessian}) all.insert(all.end(), list->begin(), list->end());
  for (const auto positions : {jacobianPositions, hessianPositions}) {
    for (const auto position : positions) all.insert(all.end(), {1.0 * position.row, 1.0 * position.column});
  }
  all.push_back(static_cast<double>(evaluator.getStructureVersion()));
  return all;
}

/// Lets each allocation of the call fail in turn, and looks at the state, which a call that fails must leave. Returns
/// how many allocations there are.
template <class Call, class State>
long failEach(Call call, State state) {
  auto before = state();
  for (long let = 0;; ++let) {
    std::optional<Gate> shut(std::in_place, let);
    try {
      call();
      if (!shut->hasFailed()) return let;
      shut.reset();  // a sort does without its memory
      before = state();
    } catch (const std::bad_alloc&) {
      shut.reset();
      EXPECT_EQ(state(), before) << "allocation " << let;
    }
  }
}

TEST(FailedAllocations, WhileCompilingLeaveExpressionsAndProgramsAsTheyWere) {
  Model model;
  const auto expressions = [&] { return model.seen(); };
  EXPECT_GT(failEach([&] { TavEvaluator(model.env, model.objective, model.rows); }, expressions), 400);
  Model different;
  different.addDifferentRows();
  failEach([&] { TavEvaluator(different.env, different.objective, different.rows); }, [&] { return different.seen(); });
  TavEvaluator evaluator(model.env, model.objective, model.rows);
  const auto row = [&](TavInt r) { return static_cast<TavNumLinTermI*>(model.rows[r].getImpl()); };
  // They are reported: update() takes them over, and fails.
  const std::pair<const char*, std::function<void()>> modifications[] = {
      {"a parameter", [&] { row(1)->setCoef(model.x[0], 7.0); }},
      {"the same, in place", [&] { row(1)->setCoef(model.x[0], 8.0); }},
      {"a new term", [&] { row(0)->setCoef(model.x[9], 2.0); }},
      {"a new term of the objective", [&] { model.objective.getImpl()->setCoef(model.x[3], 2.0); }},
      {"a term less", [&] { row(2)->setCoef(model.x[3], 0.0); }},
      {"a new column", [&] { row(4)->setCoef(TavNumVar(model.env), 2.0); }},
  };
  for (const auto& [name, modify] : modifications) {
    SCOPED_TRACE(name);
    modify();
    failEach([&] { evaluator.update(); }, [&] { return std::pair(model.seen(), evaluator.getStructureVersion()); });
    TavNumVarArray columns(model.env);
    for (std::size_t i = 0; i < evaluator.getColumnCount(); ++i) columns.add(evaluator.getColumn(i));
    TavEvaluator fresh(model.env, model.objective, model.rows, columns, {});
    EXPECT_EQ(evaluator.getJacobianStructure().size(), fresh.getJacobianStructure().size());
    EXPECT_EQ(evaluator.getHessianStructure().size(), fresh.getHessianStructure().size());
  }
  const auto program = [&] { return seen(evaluator); };
  const TavExpr fresh(TavSin(model.x[3]) * model.x[4] + model.x[0]);
  EXPECT_GT(failEach([&] { evaluator.setConstraint(3, fresh); }, program), 20);
  EXPECT_GT(failEach([&] { evaluator.refresh(); }, program), 300);
}

}  // namespace
