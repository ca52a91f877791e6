// Every allocation of an operation fails once. What operators, edits and builders make is held by random programs; what
// else takes memory stands in tables here.

#include <bit>
#include <new>
#include <optional>
#include <random>

#include "tests/failures/allocation_gate.h"
#include "tests/support/fixture.h"
#include "tests/support/random_programs.h"
#include "tests/support/samples.h"

namespace {

/// An environment with an operand of every kind, all of which a failed operation must leave as they are.
struct State {
  State() {
    home()->setChangeListener([this](const TavChange& change) {
      GateOpen open;
      records += std::string(change.getRttiTypeName()) + " ";
    });
    sharedSum.getImpl()->retain();
    for (int k = 0; k < 3; ++k) {
      nums.add(k == 0 ? p : k == 1 ? TavCos(p) : linear());
      ints.add(k == 0 ? n : k == 1 ? TavAbs(n) : intLinear());
      numbers.set(k, k + 1.0);
      wholes.set(k, k + 2);
      columns.set(k, TavAddNumVar(&column));
    }
    for (TavInt k = 0; k < doomed.getSize(); ++k) {
      doomed[k].setName("doomed");
      sum += doomed[k];
    }
    for (TavNumVar each : {indicator, TavNumVar(semi), listed, TavNumVar(flag)}) each.setName("named");
  }
  ~State() {
    pass.reset();
    env.end();
    other.end();
  }

  TavEnvI* home() const { return env.getImpl(); }
  template <class Leaf, class Arg>
  Arg leaf(const char* name) {
    auto* made = new (home()) Leaf(home(), 1.0, name);
    made->retain();
    return Arg(made);
  }
  TavNumExprArg linear() { return 2 * x + 3 * y + x * 4 + TavCos(p) + 1.5; }
  TavIntExprArg intLinear() { return 2 * i + 3 * i + TavAbs(n) + 4; }

  /// What samples are made of.
  Operands operands() const {
    Operands o(env);
    o.x = p, o.y = q, o.i = n, o.j = i, o.X = nums, o.I = ints, o.C = o.D = numbers, o.K = wholes;
    o.v = x, o.w = i, o.truth = constraint, o.c = 3, o.d = 4, o.k = 2;
    return o;
  }
  void keep(TavExtractable object) {
    GateOpen open;
    results.push_back(object.getImpl());
  }
  template <class Array>
  void keepArray(Array array) {
    GateOpen open;
    resultArrays.emplace_back(array.getImpl(), std::is_base_of_v<TavExtractableArray, Array>);
  }
  /// What a successful operation leaves, and what it may end or take over.
  std::vector<TavExtractable> lasting() const { return {x, y, i, p, q, n, sum, sharedSum, TavExtractable(cloned)}; }
  std::vector<TavExtractable> fragile() const {
    return {node, constraint, indicator, conversion, semi, bare, bareToo, listed, flag};
  }

  TavEnv env, other;
  TavNumVar x{env, 0.0, 10.0, "x"}, y{env, -5.0, 5.0, "y"};
  TavIntVar i{env, 0, 9, "i"};
  TavNumExprArg p = leaf<LeafI, TavNumExprArg>("p"), q = leaf<LeafI, TavNumExprArg>("q");
  TavIntExprArg n = leaf<IntLeafI, TavIntExprArg>("n");
  ScriptedAlgorithm algorithm{home()};
  std::string records;
  TavNumExpr node{TavSin(TavAbs(p))};
  TavExpr sum{linear()}, sharedSum{linear()};
  TavNumLinExprTerm t = x * 2.5;
  TavIntLinExprTerm it = i * 4;
  TavNumExprArray nums{env};
  TavIntExprArray ints{env};
  TavNumArray numbers{env, 3};
  TavIntArray wholes{env, 3};
  TavNumVarArray vars{env, 3, x, y, TavNumVar(i)};
  TavIntVarArray intVars{env, 3, i, i, i};
  TestColumn column{env};
  TavNumColumnArray columns{env, 3};
  TavConstraint constraint{new (home()) TavConstConstraintI(home(), "constraint", 0)};
  TavNumVar indicator{constraint};
  TavConversion conversion{env, vars, TavNumVar::Int, "conversion"};
  TavSemiContVar semi{env, 1.0, 5.0};
  TavNumVar bare{new (home()) TavNumVarI(home(), "bare")}, bareToo{new (home()) TavNumVarI(home(), "bare too")};
  TavNumVar listed{env, numbers};
  TavBoolVar flag{TavAddNumVar(&column)};
  TavNumVarArray mixed{env, 4, x, bare, bareToo, bare};
  TavNumArray longArray{env, 3000};
  TavNumRange range{env, 0.0, 10.0};
  TavNumVarArray doomed{env, 40, 0.0, 1.0};
  std::optional<TavClonePass> pass;
  TavExtractableI* cloned = nullptr;
  std::vector<TavExtractableI*> results;
  std::vector<std::pair<TavArrayI*, bool>> resultArrays;
};

/// Writes down what a client can see. `identity` adds what a successful operation may end or take over, and addresses,
/// for two looks at one state.
std::string seen(State& state, bool identity) {
  std::ostringstream os;
  const auto line = [&](TavExtractableI* object) {
    if (identity) os << object << " ";
    if (!object) return void(os << "null\n");
    os << object->getRttiTypeName() << " ";
    if (!object->getName() && !object->isRefCountedExpr()) object->setName("fresh");
    if (object->getName()) os << object->getName() << " ";
    if (identity) os << object->getId() << " ";
    if (object->isType(TavNumVarI::GetTypeInfo())) {
      const TavVarDomainI* domain = static_cast<TavNumVarI*>(object)->getDomain();
      if (identity) os << domain << " ";
      if (domain) os << "type " << domain->getType() << " shared " << domain->isShared() << " ";
    }
    object->getEnv()->librarySyntaxDisplay = true;
    object->display(os);
    object->getEnv()->librarySyntaxDisplay = false;
    std::vector<TavExtractableI*> counted = childrenOf(object);
    for (counted.push_back(object); !counted.empty(); counted.pop_back()) {
      if (identity) os << counted.back() << " ";
      if (!counted.back()->isType(TavNumExprI::GetTypeInfo())) continue;
      os << "held " << static_cast<TavNumExprI*>(counted.back())->getRefCount() << " ";
    }
    os << "\n";
  };
  const auto words = [&](TavArrayI* array, bool objects) {
    os << "array of " << array->getSize() << "\n";
    for (TavInt k = 0; k < array->getSize(); ++k) {
      objects ? line(array->get<TavExtractableI*>(k)) : void(os << array->get<TavInt>(k) << " ");
    }
  };
  for (const TavExtractable& each : state.lasting()) line(each.getImpl());
  for (TavArrayI* each : {state.numbers.getImpl(), state.wholes.getImpl()}) words(each, false);
  if (identity) {
    for (const TavExtractable& each : state.fragile()) line(each.getImpl());
    for (TavArrayI* each : {state.nums.getImpl(), state.vars.getImpl()}) words(each, true);
    os << state.t.getCoef() << state.it.getCoef();
  }
  for (TavExtractableI* each : state.results) line(each);
  for (const auto& [array, objects] : state.resultArrays) words(array, objects);
  os << "records " << state.records << "\n";
  if (identity && state.pass) return os.str();  // a pass that failed keeps the clones that it has made
  for (TavEnvI* env : {state.home(), state.other.getImpl()}) {
    os << "objects " << env->liveObjectCount() << " cells " << env->liveTermCount() << " marked " << env->markedCount()
       << " flags " << env->oneByOneRemoval << env->ending << "\n";
    env->releaseMarkArray(env->getMarkArray());
  }
  return os.str();
}

struct Operation {
  std::string name;
  std::function<void(State&)> run;
  std::function<void(State&)> prepare = nullptr;
};
using Operations = std::vector<Operation>;

Operations sums() {
  return {
      {"TavNumExpr(t)", [](State& s) { s.keep(TavNumExpr(s.t)); }},
      {"TavNumExpr(it)", [](State& s) { s.keep(TavNumExpr(s.it)); }},
      {"TavIntExpr(it)", [](State& s) { s.keep(TavIntExpr(s.it)); }},
      {"TavIntExpr(env, 1)", [](State& s) { s.keep(TavIntExpr(s.env, 1)); }},
      {"coefficients", [](State& s) { s.sum.setLinearCoefs(s.vars, s.numbers); }},
      {"coefficients of a shared sum", [](State& s) { s.sharedSum.setLinearCoefs(s.vars, s.numbers); }},
      {"coefficients with the old ones", [](State& s) { s.sum.getImpl()->setCoef(s.vars, s.numbers, s.numbers); }},
      {"remove", [](State& s) { s.sum.remove(s.vars); }},
      {"remove from a shared sum", [](State& s) { s.sharedSum.remove(s.vars); }},
      {"normalize without mark arrays",
       [](State& s) {
         s.home()->markArraysAvailable = false;
         s.sum.normalize();
       }},
  };
}

Operations buildersOverArrays() {
  return {
      {"minimum of variables", [](State& s) { s.keep(TavMin(s.vars)); }},
      {"maximum of integer variables", [](State& s) { s.keep(TavMax(s.intVars)); }},
      {"sum of expressions", [](State& s) { s.keep(TavSum(s.nums)); }},
      {"sum of integers", [](State& s) { s.keep(TavSum(s.ints)); }},
      {"sum of variables", [](State& s) { s.keep(TavSum(s.vars)); }},
      {"sum of integer variables", [](State& s) { s.keep(TavSum(s.intVars)); }},
      {"scalar product of numbers", [](State& s) { s.keep(TavScalProd(s.numbers, s.vars)); }},
      {"scalar product of integers", [](State& s) { s.keep(TavScalProd(s.wholes, s.intVars)); }},
      {"scalar product of expressions", [](State& s) { s.keep(TavScalProd(s.nums, s.nums)); }},
      {"scalar product of integer expressions", [](State& s) { s.keep(TavScalProd(s.ints, s.ints)); }},
      {"element of variables", [](State& s) { s.keep(TavElement(s.vars, s.n)); }},
      {"element of integer variables", [](State& s) { s.keep(TavElement(s.intVars, s.n)); }},
      {"conversion of an array", [](State& s) { s.keep(TavConversion(s.env, s.vars, TavNumVar::Int, "array")); }},
      {"conversion of a variable", [](State& s) { s.keep(TavConversion(s.env, s.x, TavNumVar::Int, "one")); }},
      {"array", [](State& s) { s.keepArray(TavNumArray(s.env, 3000)); }},
      {"array grows", [](State& s) { s.numbers.getImpl()->addArray(s.longArray.getImpl()); }},
      {"array takes itself in", [](State& s) { s.vars.add(s.vars); }},
      {"array of numbers", [](State& s) { s.keepArray(s.wholes.toNumArray()); }},
      {"array of elements", [](State& s) { s.keepArray(TavNumVarArray(s.env, 5, s.x, s.x, s.y, s.x, s.y)); }},
      {"array as expressions", [](State& s) { s.keepArray(s.vars.toNumExprArray()); }},
      {"array as integers", [](State& s) { s.keepArray(TavNumVarArray(s.intVars.getImpl()).toIntExprArray()); }},
      {"array as variables", [](State& s) { s.keepArray(s.intVars.toNumVarArray()); }},
      {"clones of an array", [](State& s) { s.keepArray(s.vars.getClone(s.other.getImpl())); }},
      {"array replaced by clones",
       [](State& s) {
         TavNumExprArray array = s.nums;
         array.replaceByClone(s.other.getImpl());
         s.keepArray(array);
       }},
  };
}

Operations variables() {
  using Num = TavNumVar;
  return {
      {"variable", [](State& s) { s.keep(Num(s.env, 3.25, 4.5, Num::Float, "a name that is longer than a word")); }},
      {"variable like another", [](State& s) { s.keep(Num(s.env, 0.0, 10.0)); }},
      {"Boolean variable", [](State& s) { s.keep(Num(s.env, 0.0, 1.0, Num::Bool)); }},
      {"integer variable", [](State& s) { s.keep(TavIntVar(s.env, 3, 77, "n")); }},
      {"0-1 variable", [](State& s) { s.keep(TavBoolVar(s.env, "b")); }},
      {"0-1 variable by column", [](State& s) { s.keep(TavBoolVar(TavAddNumVar(&s.column), "b")); }},
      {"variable by column", [](State& s) { s.keep(Num(TavAddNumVar(&s.column), 1.0, 7.0)); }},
      {"variable over values", [](State& s) { s.keep(Num(s.env, s.numbers)); }},
      {"integer variable over values", [](State& s) { s.keep(TavIntVar(s.env, s.wholes)); }},
      {"variable over objects",
       [](State& s) { s.keep(Num(new (s.home()) TavNumVarI(s.home(), TavAnyArray(s.wholes.getImpl()), "any"))); }},
      {"variable over a range", [](State& s) { s.keep(Num(s.range, "r")); }},
      {"range", [](State& s) { TavNumRange(s.env, 0.0, 10.0); }},
      {"semi-continuous variable", [](State& s) { s.keep(TavSemiContVar(s.env, 1.0, 8.0)); }},
      {"indicator", [](State& s) { s.keep(Num(s.constraint)); }},
      {"variables", [](State& s) { s.keepArray(TavNumVarArray(s.env, 50, 0.0, 4.0)); }},
      {"variables of bounds", [](State& s) { s.keepArray(TavNumVarArray(s.env, s.numbers, s.numbers)); }},
      {"variables by columns", [](State& s) { s.keepArray(TavNumVarArray(s.env, s.columns)); }},
      {"integer variables by columns",
       [](State& s) { s.keepArray(TavIntVarArray(s.env, s.columns, s.numbers, s.numbers)); }},
      {"0-1 variables by columns", [](State& s) { s.keepArray(TavBoolVarArray(s.env, s.columns)); }},
      {"semi-continuous variables", [](State& s) { s.keepArray(TavSemiContVarArray(s.env, s.numbers, s.numbers)); }},
      {"lower bound of a shared domain", [](State& s) { s.x.setLB(1.0); }},
      {"upper bound of a value list", [](State& s) { s.listed.setUB(1.5); }},
      {"bounds without a domain", [](State& s) { s.bare.setBounds(1.0, 2.0); }},
      {"bounds of a 0-1 variable", [](State& s) { s.flag.setBounds(0, 0); }},
      {"values of a shared domain", [](State& s) { s.x.setPossibleValues(s.numbers); }},
      {"values of a value list", [](State& s) { s.listed.setPossibleValues(s.numbers); }},
      {"values without a domain", [](State& s) { s.bare.setPossibleValues(s.numbers); }},
      {"whole values", [](State& s) { s.i.setPossibleValues(s.wholes); }},
      {"whole values of a real variable", [](State& s) { s.x.getImpl()->setPossibleValues(s.wholes); }},
      {"values read", [](State& s) { s.listed.getPossibleValues(s.numbers); }},
      {"threshold", [](State& s) { s.semi.setSemiContinuousLb(2.0); }},
      {"a new domain", [](State& s) { s.x.getImpl()->makeDomain(1.0, 2.0); }},
      {"name", [](State& s) { s.x.setName("a name that is longer than the one before"); }},
      {"bounds of an array", [](State& s) { s.mixed.setBounds(s.longArray, s.longArray); }},
  };
}

Operations endings() {
  const auto removal = [](State& s) { s.home()->removeFromAllOnDestroy = true; };
  const auto extracted = [](State& s) { s.home()->oneByOneRemoval = true; };
  return {
      {"a variable of no sum", [](State& s) { s.bareToo.end(); }},
      {"a variable of a sum", [](State& s) { s.doomed[3].end(); }},
      {"a variable of a sum, one by one", [](State& s) { s.doomed[3].end(); }, extracted},
      {"an array of variables", [](State& s) { s.doomed.TavExtractableArray::endElements(); }},
      {"a constraint", [](State& s) { s.constraint.end(); }},
      {"a conversion", [](State& s) { s.conversion.end(); }},
      {"a handle's node", [](State& s) { s.node.end(); }, removal},
      {"a handle's sum", [](State& s) { s.sum.end(); }, removal},
      {"an element's array", [](State& s) { s.nums.endElements(); }, removal},
      {"a removed variable of a conversion", [](State& s) { s.conversion.removeVar(s.x); }},
  };
}

Operations hostOperations() {
  return {
      {"an environment", [](State&) { TavEnv().end(); }},
      {"an algorithm", [](State& s) { ScriptedAlgorithm(s.home()); }},
      {"a registered clone", [](State& s) { s.node.setClone(s.sum, s.other); }},
      {"a mark array", [](State& s) { s.home()->releaseMarkArray(s.home()->getMarkArray()); }},
  };
}

Operations clones() {
  Operations table;
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.make) continue;
    const auto prepare = [&sample](State& s) {
      s.cloned = sample.make(s.operands());
      s.cloned->setName("sample");
      s.pass.emplace(s.home(), s.other.getImpl());
    };
    table.push_back({std::string("clone of ") + sample.facts.name,
                     [](State& s) { s.keep(TavExtractable(s.pass->clone(s.cloned))); }, prepare});
  }
  return table;
}

/// Leaves every pool, the list of cells and the identifier table so that the next request needs the system.
void exhaustMemory(TavEnvI* env) {
  const auto drain = [](auto take) {
    AllocationGate gate(0, true);
    try {
      for (int k = 0; k < 20000; ++k) take();
    } catch (const std::bad_alloc&) {
    }
  };
  TavInt id = 0;
  do {  // a table that has just been doubled as often as this is full
    id = (new (env) LeafI(env, 0.0, nullptr))->getId();
  } while (!std::has_single_bit(static_cast<std::uint64_t>(id + 1)));
  drain([env] { env->newTerm(nullptr, 0.0); });
  for (std::size_t bytes = 256; bytes > 0; bytes -= 8) {
    drain([&] { env->getMemory()->alloc(bytes); });
  }
}

/// One of the next allocations of a call fails.
struct Failing final : Shortage {
  void exhaust(TavEnvI* env) override { exhaustMemory(env); }
  bool refuses(const std::function<void()>& call) override {
    AllocationGate gate(static_cast<long>(random() % ++_room));
    try {
      call();
    } catch (const std::bad_alloc&) {
      return ++refused > 0;
    }
    _room = 1;
    return false;
  }
  std::mt19937 random{1};
  int refused = 0;

 private:
  unsigned _room = 1;
};

class FailedAllocations : public ::testing::Test {
 protected:
  static TavInt usedBytes(const State& s) {
    return s.home()->getMemory()->usedBytes() + s.other.getImpl()->getMemory()->usedBytes();
  }
  static void runAll(const Operations& table) {
    for (const Operation& operation : table) run(operation);
  }
  static void run(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    const auto prepared = [&operation](State& s) {
      if (operation.prepare) operation.prepare(s);
      exhaustMemory(s.home());
      return usedBytes(s);
    };
    State undisturbed;
    TavInt bytes = prepared(undisturbed);
    operation.run(undisturbed);
    bytes = usedBytes(undisturbed) - bytes;
    const std::string wanted = seen(undisturbed, false);
    for (int n = 0;; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      State s;
      const TavInt bytesBefore = prepared(s);
      const std::string before = seen(s, true);
      bool thrown = false, failed = false;
      {
        AllocationGate gate(n);
        try {
          operation.run(s);
        } catch (const std::bad_alloc&) {
          thrown = true;
        }
        failed = gate.hasFailed();
      }
      if (!failed) break;
      ASSERT_LT(n, 1000);
      if (thrown) {
        ASSERT_EQ(seen(s, true), before);
        operation.run(s);
      }
      ASSERT_EQ(usedBytes(s) - bytesBefore, bytes);
      ASSERT_EQ(seen(s, false), wanted);
    }
  }
};

TEST_F(FailedAllocations, OfSums) { runAll(sums()); }
TEST_F(FailedAllocations, OfBuildersOverArrays) { runAll(buildersOverArrays()); }
TEST_F(FailedAllocations, OfVariables) { runAll(variables()); }
TEST_F(FailedAllocations, OfEndings) { runAll(endings()); }
TEST_F(FailedAllocations, OfTheHost) { runAll(hostOperations()); }
TEST_F(FailedAllocations, OfClones) { runAll(clones()); }

TEST_F(FailedAllocations, OfRandomProgramsLeaveWhatTheModelSays) {
  Failing failing;
  for (unsigned seed = 1; seed <= 500; ++seed) ASSERT_EQ(runRandomProgram(Choices(seed), &failing), "") << seed;
  EXPECT_GT(failing.refused, 3000);
}

}  // namespace
