// The engines against each other and against enumeration, on random models, before and after modifications; and what a
// solver that breaks down, hangs or is interrupted leaves behind.

#include <gtest/gtest.h>

#include <OsiClpSolverInterface.hpp>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <thread>

#include "solve/engines/cbc.h"
#include "solve/engines/cbc_stream.h"
#include "solve/engines/engines.h"
#include "solve/model/errors.h"

using namespace tavsolve;

namespace {

class Random {
 public:
  explicit Random(unsigned seed) : _numbers(seed) {}
  int between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(_numbers); }
  bool chance(int percent) { return between(1, 100) <= percent; }

 private:
  std::mt19937 _numbers;
};

struct Shape {
  int columns = 6, rows = 5;
  bool whole = false, semiContinuous = false, squares = false;
};

/// Bounded, so that it has an optimum or no point at all.
void fill(Model& model, Random& random, const Shape& shape) {
  const TavEnv env = model.getEnv();
  for (int j = 0; j < shape.columns; ++j) {
    const int upper = random.between(1, 3);
    if (shape.semiContinuous && j % 2 == 0) {
      model.addColumn(TavSemiContVar(env, 1.5, upper + 1.0));
    } else if (shape.whole) {
      model.addColumn(TavIntVar(env, 0, upper));
    } else {
      model.addColumn(TavNumVar(env, random.between(-2, 0), upper));
    }
  }
  const auto sum = [&] {
    TavExpr terms(env, random.between(-1, 1));
    for (const TavNumVar column : model.columns()) {
      if (random.chance(60)) terms += random.between(-4, 4) * column;
    }
    return terms;
  };
  for (int i = 0; i < shape.rows; ++i) {
    const int lower = random.between(-8, 4);
    const bool isEquality = !shape.whole && random.chance(15);
    model.addRow(random.chance(30) ? -TavGetInfinity() : lower, sum(), isEquality ? lower : lower + 6);
  }
  TavExpr objective = sum();
  if (shape.squares) {
    for (const TavNumVar column : model.columns()) objective += TavSquare(column - 0.25 * random.between(-4, 4));
  }
  model.setObjective(objective, !shape.squares && random.chance(50));
}

/// One modification of each kind, where `kind` counts up.
void modify(Model& model, Random& random, int kind, std::initializer_list<EngineI*> engines) {
  const auto column = [&] {
    for (;;) {
      const TavNumVar found = model.columns()[static_cast<std::size_t>(random.between(0, 5))];
      if (found) return found;
    }
  };
  RangeConstraintI* row = model.rows()[static_cast<std::size_t>(random.between(0, 4))];
  switch (kind % 7) {
    case 0:
      return model.setBounds(column(), 0, 2);
    case 1:
      return row->setBounds(-3, random.between(0, 9));
    case 2:
      return row->setCoef(column(), random.between(-3, 3));
    case 3:
      return model.objective()->setCoef(column(), random.between(-5, 5));
    case 4:
      return model.objective()->setMaximised(!model.objective()->isMaximised());
    case 5:
      return model.remove(column());
    default: {
      const TavNumVar extra = model.addColumn(TavNumVar(model.getEnv(), 0, 4));
      TavExpr sum = 1 * extra;
      for (int k = 0; k < 3; ++k) sum += random.between(-2, 2) * column();
      model.addRow(-6, sum, 2);
      model.objective()->setCoef(extra, model.objective()->isMaximised() ? 1 : -1);
      for (EngineI* engine : engines) engine->extend();
    }
  }
}

std::unique_ptr<EngineI> extracted(const Model& model, const std::string& name) {
  std::unique_ptr<EngineI> engine = chooseEngine(model, name).make(model);
  engine->extract();
  return engine;
}

bool isBuilt(const char* name) {
  for (const EngineKind& kind : engineKinds()) {
    if (kind.name == std::string(name)) return kind.make != nullptr;
  }
  return false;
}

void expectSame(const Answer& a, const Answer& b) {
  EXPECT_EQ(static_cast<int>(a.status), static_cast<int>(b.status)) << a.violation.where << b.violation.where;
  if (a.hasSolution && b.hasSolution) {
    EXPECT_NEAR(a.objective, b.objective, 2e-6 * std::max(1.0, std::abs(a.objective)));
  }
}

/// The gradient of the objective is that of the rows times their duals, and the reduced costs.
void expectStationary(const Model& model, const EngineI& engine) {
  for (const TavNumVar column : model.columns()) {
    if (!column) continue;
    const auto coefficientIn = [&](const TavExpr& sum) {
      double value = 0;
      for (const auto* term = sum.getImpl()->getFirstTerm(); term; term = term->next) {
        if (term->var == column.getImpl()) value += term->coef;
      }
      return value;
    };
    double rest = coefficientIn(model.objective()->getSum()) - engine.reducedCostOf(column.getImpl());
    for (const RangeConstraintI* row : model.rows()) rest -= engine.dualOf(row) * coefficientIn(row->getSum());
    EXPECT_NEAR(rest, 0.0, 1e-5);
  }
}

}  // namespace

TEST(Engines, NumbersOfColumnsAndRowsAreThoseOfAMapWhateverTheIdentifiers) {
  Random random(3);
  for (int model = 0; model < 2000; ++model) {
    Places places;
    std::map<TavInt, int> expected;
    TavInt id = random.between(0, 2);
    const auto set = [&](TavInt object, int place) { places.set(object, expected[object] = place); };
    const auto setNext = [&](int place) { set(id += random.chance(95) ? 1 : 2, place); };
    if (random.chance(50)) places.reserve(20);
    for (int j = 0; j < model % 5; ++j) setNext(j);
    for (int i = 0; i < model % 7; ++i) {
      setNext(i);
      setNext(i);
    }
    for (int k = random.between(0, 4); k > 0; --k)
      set(random.between(0, static_cast<int>(id) + 3), -random.between(1, 3));
    for (int k = random.between(-2, 2); k > 0; --k) set(random.between(0, static_cast<int>(id)), random.between(0, 9));
    for (TavInt object = 0; object < id + 5; ++object) {
      const auto found = expected.find(object);
      ASSERT_EQ(places.of(object), found != expected.end() ? found->second : Places::kNowhere)
          << model << " " << object;
    }
  }
}

TEST(Engines, AgreeOnLinearModelsBeforeAndAfterEachModification) {
  if (!isBuilt("cbc") || !isBuilt("ipopt")) GTEST_SKIP();
  long again = 0, afresh = 0;
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Model model;
    fill(model, random, {});
    const auto simplex = extracted(model, "cbc"), barrier = extracted(model, "ipopt");
    for (int step = 0; step < 4; ++step) {
      SCOPED_TRACE(step);
      const Answer a = simplex->solve({}), b = barrier->solve({}), fresh = extracted(model, "cbc")->solve({});
      expectSame(a, fresh);
      expectSame(a, b);
      if (isSolved(a.status)) expectStationary(model, *simplex);
      if (isSolved(b.status)) expectStationary(model, *barrier);
      if (step > 0 && isSolved(a.status)) {
        again += a.iterations + b.iterations;
        afresh += fresh.iterations + extracted(model, "ipopt")->solve({}).iterations;
      }
      modify(model, random, static_cast<int>(seed) + step, {simplex.get(), barrier.get()});
    }
  }
  EXPECT_LT(5 * again, 4 * afresh) << "further solves do not start from the last one";
}

TEST(Engines, AgreeWithEnumerationOnWholeNumbers) {
  for (unsigned seed = 0; seed < 30; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Model model;
    fill(model, random, {5, 3, true, false, seed % 3 == 0});
    struct Point : TavAlgorithmI {
      using TavAlgorithmI::getValue, TavAlgorithmI::TavAlgorithmI;
      double getValue(const TavNumVarI* variable) const override { return values.at(variable->getId()); }
      std::map<TavInt, double> values;
    } point(model.getEnv().getImpl());
    const double sense = model.objective()->isMaximised() ? -1 : 1;
    double best = TavGetInfinity();
    const std::function<void(std::size_t)> enumerate = [&](std::size_t j) {
      if (j < model.columns().size()) {
        const TavNumVar column = model.columns()[j];
        for (double value = column.getLB(); value <= column.getUB(); ++value) {
          point.values[column.getId()] = value;
          enumerate(j + 1);
        }
        return;
      }
      for (const RangeConstraintI* row : model.rows()) {
        const double value = row->getSum().eval(&point);
        if (value < row->getLB() || value > row->getUB()) return;
      }
      best = std::min(best, sense * model.objective()->getSum().eval(&point));
    };
    enumerate(0);
    for (const EngineKind& kind : engineKinds()) {
      if (!kind.make || !kind.takes(classOf(model))) continue;
      SCOPED_TRACE(kind.name);
      const Answer answer = extracted(model, kind.name)->solve({});
      EXPECT_EQ(answer.status == Status::Optimal, std::isfinite(best)) << static_cast<int>(answer.status);
      if (answer.hasSolution) {
        EXPECT_NEAR(sense * answer.objective, best, 1e-5 * std::max(1.0, std::abs(best)));
      }
    }
  }
}

TEST(Engines, SemiContinuousColumnsAreTheBestOfAllChoices) {
  if (!isBuilt("cbc")) GTEST_SKIP();
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed), same(seed);
    Model model, choices;
    fill(model, random, {6, 4, false, true});
    fill(choices, same, {6, 4, false, true});
    const Answer answer = extracted(model, "cbc")->solve({});
    // The same rows over continuous columns, each semi-continuous one at 0 or in its range.
    const double sense = model.objective()->isMaximised() ? -1 : 1;
    double best = TavGetInfinity();
    const auto engine = extracted(choices, "cbc");
    for (int choice = 0; choice < 8; ++choice) {
      for (int k = 0; k < 3; ++k) {
        const TavNumVar column = choices.columns()[static_cast<std::size_t>(2 * k)];
        const double upper = model.columns()[static_cast<std::size_t>(2 * k)].getUB();
        const bool isZero = choice >> k & 1;
        choices.setBounds(column, 0, isZero ? 0 : upper);
        column.setLB(isZero ? 0 : 1.5);
      }
      const Answer one = engine->solve({});
      if (one.status == Status::Optimal) best = std::min(best, sense * one.objective);
    }
    EXPECT_EQ(answer.status == Status::Optimal, std::isfinite(best));
    if (answer.hasSolution) {
      EXPECT_NEAR(sense * answer.objective, best, 1e-6);
    }
  }
}

namespace {

/// An engine without a solver, which behaves as told.
class Engine final : public EngineI {
 public:
  Engine(const Model& model, std::function<void(Engine&, Answer&)> behave)
      : EngineI(model), _behave(std::move(behave)) {}
  const char* name() const override { return "test"; }
  bool isSecondTry = false;
  using EngineI::foundSolution, EngineI::shouldStop, EngineI::_values;

 protected:
  void load() override {}
  void run(const Controls&, Answer& answer) override { _behave(*this, answer); }
  bool makeCareful() override { return !std::exchange(isSecondTry, true); }

 private:
  std::function<void(Engine&, Answer&)> _behave;
};

void solveWith(Engine& engine, Answer& answer, std::vector<double> values = {}) {
  answer = Answer();
  answer.status = Status::Optimal;
  answer.hasSolution = !values.empty();
  engine._values = std::move(values);
}

}  // namespace

TEST(Engines, WhateverASolverDoesIsAnAnswerOrOneLineInTime) {
  Model model;
  model.addColumn(TavNumVar(model.getEnv(), 0, 9, "x"));
  const double three[] = {3.0};
  const auto hang = [](Engine&, Answer&) { std::this_thread::sleep_for(std::chrono::minutes(1)); };
  const struct Case {
    const char* what;
    std::function<void(Engine&, Answer&)> behave;
    const char* failure;  ///< null for an answer
    Status status;
    std::optional<double> solution;
  } cases[] = {
      {"throws", [](Engine&, Answer&) { throw std::runtime_error("no pivot"); }, "the solver failed: no pivot", {}, {}},
      {"asserts",
       [](Engine&, Answer&) { std::fputs("a.cpp:1: Assertion failed\n", stderr), std::abort(); },
       "the solver failed: a.cpp:1: Assertion failed",
       {},
       {}},
      {"crashes", [](Engine&, Answer&) { std::raise(SIGSEGV); }, "the solver failed: Segmentation fault", {}, {}},
      {"exits", [](Engine&, Answer&) { std::_Exit(0); }, "the solver failed: it broke down on this model", {}, {}},
      {"crashes once",
       [](Engine& e, Answer& a) { e.isSecondTry ? solveWith(e, a) : std::abort(); },
       nullptr,
       Status::Optimal,
       {}},
      {"prints", [](Engine& e, Answer& a) { std::puts("banner"), solveWith(e, a); }, nullptr, Status::Optimal, {}},
      {"is exact enough", [](Engine& e, Answer& a) { solveWith(e, a, {9 + 1e-6}); }, nullptr, Status::Optimal,
       9 + 1e-6},
      {"is not", [](Engine& e, Answer& a) { solveWith(e, a, {9 + 1e-4}); }, nullptr, Status::Violated, 9 + 1e-4},
      {"hangs", hang, nullptr, Status::TimeLimit, {}},
      {"hangs with a solution", [&](Engine& e, Answer& a) { e.foundSolution(3, three), hang(e, a); }, nullptr,
       Status::TimeLimit, 3},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.what);
    Engine engine(model, one.behave);
    engine.extract();
    Controls controls;
    controls.seconds = 0.2;
    std::string failure;
    Answer answer;
    testing::internal::CaptureStdout();
    try {
      answer = engine.solve(controls);
    } catch (const SolverError& error) {
      failure = error.what();
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(failure, one.failure ? one.failure : "");
    if (one.failure) continue;
    EXPECT_EQ(static_cast<int>(answer.status), static_cast<int>(one.status));
    EXPECT_EQ(answer.hasSolution, one.solution.has_value());
    if (one.solution) {
      EXPECT_EQ(engine.getValue(model.columns()[0].getImpl()), *one.solution);
    }
    EXPECT_LT(answer.seconds, 10.0);
  }
}

TEST(Engines, TheGreatestViolationCountsInfiniteRowsAndTheBestPlacesOfSets) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Model model;
    TavModelSet set{"s", random.between(1, 2), {}, {}};
    std::vector<double> values;
    const int count = random.between(0, 6);
    for (int j = 0; j < count; ++j) {
      set.members.push_back(model.addColumn(TavNumVar(model.getEnv(), -9, 9)));
      set.weights.push_back(j);
      values.push_back(random.between(-1, 4));
    }
    const auto size = std::ssize(values), width = std::min<std::ptrdiff_t>(set.type, size);
    double least = TavGetInfinity();
    for (std::ptrdiff_t first = 0; first + width <= size; ++first) {
      std::vector<double> others = values;
      std::fill_n(others.begin() + first, width, 0.0);
      double most = 0.0;
      for (const double other : others) most = std::max(most, std::abs(other));
      least = std::min(least, most);
    }
    model.addSet(set);
    const TavNumVar zero = model.addColumn(TavNumVar(model.getEnv(), 0, 1));
    values.push_back(0.0);
    if (seed % 2 == 0) model.addRow(0, TavExpr(1 / zero), 5), model.addRow(0, TavExpr(1 * zero), 5);
    Engine engine(model, [&](Engine& e, Answer& answer) { solveWith(e, answer, values); });
    engine.extract();
    Controls controls;
    controls.inPlace = true;
    const Answer answer = engine.solve(controls);
    EXPECT_EQ(answer.violation.amount, seed % 2 == 0 ? TavGetInfinity() : least);
    EXPECT_EQ(answer.violation.where == "row 1", seed % 2 == 0);
  }
}

TEST(Engines, AnInterruptionIsPassedOn) {
  Model model;
  model.addColumn(TavNumVar(model.getEnv(), 0, 9, "x"));
  const double three[] = {3.0};
  Engine engine(model, [&](Engine& e, Answer& answer) {
    e.foundSolution(3, three);
    while (!e.shouldStop()) std::this_thread::yield();
    answer.status = Status::Interrupted;
  });
  engine.extract();
  std::atomic<bool> interrupt = false;
  Controls controls;
  controls.interrupt = &interrupt;
  std::thread user([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    interrupt = true;
  });
  const Answer answer = engine.solve(controls);
  user.join();
  EXPECT_EQ(static_cast<int>(answer.status), static_cast<int>(Status::Interrupted));
}

TEST(Engines, OptimaOfQuadraticModelsAreGlobalWhereTheyAreConvex) {
  if (!isBuilt("ipopt")) GTEST_SKIP();
  using Make = TavExpr (*)(TavNumVar, TavNumVar);
  const struct Case {
    Make objective, row;
    double ub;
    Status status;
  } cases[] = {
      {[](TavNumVar x, TavNumVar y) { return TavExpr(x * x + y * y - x * y); },
       [](TavNumVar x, TavNumVar y) { return TavExpr(x + y); }, 4, Status::Optimal},
      {[](TavNumVar x, TavNumVar y) { return TavExpr((x - y) * (x - y)); },  // flat in one direction
       [](TavNumVar x, TavNumVar y) { return TavExpr(x * x + y * y); }, 4, Status::Optimal},
      {[](TavNumVar x, TavNumVar y) { return TavExpr(x * y); }, [](TavNumVar x, TavNumVar y) { return TavExpr(x + y); },
       4, Status::LocallyOptimal},
      {[](TavNumVar x, TavNumVar y) { return TavExpr(x + y); },
       [](TavNumVar x, TavNumVar y) { return TavExpr(-1 * (x * x) - y * y); }, -1, Status::LocallyOptimal},
  };
  for (const Case& one : cases) {
    Model model;
    const TavNumVar x = model.addColumn(TavNumVar(model.getEnv(), 0.5, 3, "x"));
    const TavNumVar y = model.addColumn(TavNumVar(model.getEnv(), -1, 3, "y"));
    model.addRow(-TavGetInfinity(), one.row(x, y), one.ub);
    model.setObjective(one.objective(x, y), false);
    EXPECT_EQ(static_cast<int>(extracted(model, "")->solve({}).status), static_cast<int>(one.status));
  }
}

TEST(Engines, AStreamOfRowsLoadsWhatTheEngineLoads) {
  struct Loaded : CbcEngineI {
    using CbcEngineI::CbcEngineI;
    using CbcEngineI::solver;
  };
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Model model;
    fill(model, random, {.whole = seed % 2 == 0});
    const TavNumVar x = model.columns()[0];
    model.addColumn(TavIntVar(model.getEnv(), -TavIntVar::kMaxInt, TavIntVar::kMaxInt));  // has no bounds
    model.addRow(-TavGetInfinity(), 2 * x + model.columns()[1] + x, 5);                   // x twice
    RowStream stream;
    for (const TavNumVar column : model.columns()) stream.addColumn(column);
    const TavNumVar stranger(model.getEnv(), 0, 1);
    const auto foreign = [&] { return TavExpr(x + stranger + 2 * x); };  // fails at a later term
    for (const RangeConstraintI* row : model.rows()) {
      EXPECT_THROW(stream.addRow(0, TavExpr(x * x + x), 1), InputError);
      EXPECT_THROW(stream.addRow(0, foreign(), 1), InputError);
      stream.addRow(row->getLB(), row->getSum().copy(), row->getUB());
    }
    stream.setObjective(model.objective()->getSum().copy(), model.objective()->isMaximised());
    EXPECT_THROW(stream.addRow(0, foreign(), 1), InputError);
    EXPECT_THROW(stream.setObjective(foreign(), false), InputError);
    const auto solver = stream.load();
    Loaded engine(model);
    engine.extract();
    EXPECT_EQ(solver->getNumIntegers(), engine.solver().getNumIntegers());
    EXPECT_TRUE(solver->getMatrixByCol()->isEquivalent(*engine.solver().getMatrixByCol()));
    for (const auto numbers : {&OsiClpSolverInterface::getColLower, &OsiClpSolverInterface::getColUpper,
                               &OsiClpSolverInterface::getObjCoefficients}) {
      EXPECT_TRUE(std::equal((*solver.*numbers)(), (*solver.*numbers)() + 7, (engine.solver().*numbers)()));
    }
    EXPECT_EQ(solver->getColUpper()[6], solver->getInfinity());
    EXPECT_EQ(solver->getColLower()[6], -solver->getInfinity());
    for (const auto numbers : {&OsiClpSolverInterface::getRowLower, &OsiClpSolverInterface::getRowUpper}) {
      EXPECT_TRUE(std::equal((*solver.*numbers)(), (*solver.*numbers)() + 6, (engine.solver().*numbers)()));
    }
    if (seed % 2 == 0) continue;
    solver->initialSolve();
    const Answer answer = engine.solve({});
    if (answer.hasSolution) {
      EXPECT_NEAR(answer.objective, (model.objective()->isMaximised() ? -1 : 1) * solver->getObjValue(), 1e-6);
    }
  }
}
