// Lets every allocation of an operation fail once, and every call of client code throw once. Random programs do so for
// operators, edits and builders; the table here has all other operations that allocate or call clients.

#include <bit>
#include <new>
#include <optional>
#include <random>

#include "tests/failures/gate.h"
#include "tests/support/fixture.h"
#include "tests/support/random_programs.h"
#include "tests/support/samples.h"

namespace {

/// An algorithm that has extracted everything.
struct Extractor final : TavAlgorithmI {
  using TavAlgorithmI::TavAlgorithmI;
  double getValue(const TavNumVarI*) const override { return clientCall(), 2.0; }
  bool hasExtracted(const TavExtractableI*) const override { return clientCall(), true; }
  void change(const TavChange&) override { ++changes, clientCall(); }
  void forget(TavExtractableI*) override { ++forgotten, clientCall(); }
  int changes = 0, forgotten = 0;
};

struct Lock final : TavLock {
  void lock() override { clientCall(), ++depth; }
  void unlock() override { --depth; }
  int depth = 0;
};

/// A node class of a client.
struct ClientI final : TavNode<ClientI, TavNumExprI> {
  static constexpr const char* kTypeName = "ClientI";
  explicit ClientI(TavEnvI* env) : TavNode(env, nullptr) {}
  double eval(TavAlgorithm) const override { return clientCall(), 1.0; }
  void visitSubExtractables(TavExtractableVisitor*) override { clientCall(); }
  TavExtractableI* makeClone(TavEnvI* target) const override { return clientCall(), new (target) ClientI(target); }
  TavNumLinTermI* toNumLinTermI() override { return clientCall(), TavNumExprI::toNumLinTermI(); }
  void display(std::ostream& os) const override { clientCall(), os << "client"; }
  void atRemove(TavExtractableI*, void*) override { clientCall(); }
};

struct Column final : TavAddExtractable {
  explicit Column(TavEnvI* home) : env(home) {}
  void install(TavExtractableI*) const override { clientCall(); }
  TavEnvI* getEnv() const override { return env; }
  TavEnvI* env;
};

/// A stream whose buffer is full.
struct Stream final : std::streambuf, std::ostream {
  Stream() : std::ostream(this) { exceptions(std::ios::badbit); }
  int overflow(int c) override { return clientCall(), c; }
};

/// How nodes are destroyed and variables removed.
enum Mode { Destroying, Removing, RemovingOneByOne };

/// An environment with an operand of every kind. A failed operation must leave all of them unchanged.
struct State {
  State(Mode mode, const NodeSample* sample) {
    records.reserve(10'000), results.reserve(2), resultArrays.reserve(2);  // the test itself must not allocate
    home()->markLock = &lock;
    home()->setChangeListener([this](const TavChange& change) {
      records.append(change.getRttiTypeName()).append(" ");
      clientCall();
    });
    for (const TavNumExprArg& held : {TavNumExprArg(sharedSum), p, q, TavNumExprArg(n), client}) {
      held.getImpl()->retain();
    }
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
    o.x = p, o.y = q, o.i = n, o.j = i, o.X = nums, o.I = ints, o.C = o.D = numbers, o.K = wholes;
    o.v = x, o.w = i, o.truth = constraint, o.c = 3, o.d = 4, o.k = 2;
    for (TavNumVar each : {indicator, TavNumVar(semi), listed, TavNumVar(flag)}) each.setName("named");
    if (sample) {
      cloned = sample->make(o);
      cloned->setName("sample");
      pass.emplace(home(), other.getImpl());
    }
    home()->removeFromAllOnDestroy = mode != Destroying;
    home()->oneByOneRemoval = mode == RemovingOneByOne;
  }
  ~State() {
    pass.reset();
    env.end();
    other.end();
  }

  TavEnvI* home() const { return env.getImpl(); }
  TavNumExprArg linear() { return 2 * x + 3 * y + x * 4 + TavCos(p) + 1.5; }
  TavIntExprArg intLinear() { return 2 * i + 3 * i + TavAbs(n) + 4; }
  /// Adds what an operation has made to the objects that are compared.
  template <class Handle>
  void keep(Handle made) {
    if constexpr (requires { made.getSize(); }) {
      resultArrays.emplace_back(made.getImpl(), std::is_base_of_v<TavExtractableArray, Handle>);
    } else {
      results.push_back(TavExtractable(made).getImpl());
    }
  }
  TavInt usedBytes() const { return home()->getMemory()->usedBytes() + other.getImpl()->getMemory()->usedBytes(); }

  TavEnv env, other;
  TavNumVar x{env, 0.0, 10.0, "x"}, y{env, -5.0, 5.0, "y"};
  TavIntVar i{env, 0, 9, "i"};
  TavNumExprArg p{new (home()) LeafI(home(), 1, "p")}, q{new (home()) LeafI(home(), 1, "q")};
  TavNumExprArg client{new (home()) ClientI(home())};
  TavIntExprArg n{new (home()) IntLeafI(home(), 1, "n")};
  Extractor first{home()}, second{home()};
  Lock lock;
  std::string records;
  TavNumExpr node{TavSin(TavAbs(p))}, tree{TavSin(client)};
  TavExpr sum{linear()}, sharedSum{linear()}, ended{linear()}, clientSum{2 * x + 3 * y + client * 5.0};
  TavNumLinExprTerm t = x * 2.5;
  TavNumExprArg summand = 1 * y + 4;
  TavIntLinExprTerm it = i * 4;
  TavNumExprArray nums{env};
  TavIntExprArray ints{env};
  TavNumArray numbers{env, 3}, zeros{env, 3}, longArray{env, 3000};
  TavIntArray wholes{env, 3};
  TavNumVarArray vars{env, 3, x, y, TavNumVar(i)}, one{env, 1, y};
  TavIntVarArray intVars{env, 3, i, i, i};
  Column column{home()};
  TavNumColumnArray columns{env, 3};
  TavConstraint constraint{new (home()) TavConstConstraintI(home(), "constraint", 0)};
  TavNumVar indicator{constraint};
  TavConversion conversion{env, vars, TavNumVar::Int, "conversion"};
  TavSemiContVar semi{env, 1.0, 5.0};
  TavNumVar bare{new (home()) TavNumVarI(home(), "bare")}, bareToo{new (home()) TavNumVarI(home(), "bare too")};
  TavNumVar spare{env, 0.0, 1.0, "spare"};
  TavNumVar listed{env, numbers};
  TavBoolVar flag{TavAddNumVar(&column)};
  TavNumVarArray mixed{env, 4, x, bare, bareToo, bare};
  TavNumRange range{env, 0.0, 10.0};
  TavNumVarArray doomed{env, 40, 0.0, 1.0};
  Operands o{env};
  std::optional<TavClonePass> pass;
  TavExtractableI* cloned = nullptr;
  std::vector<TavExtractableI*> results;
  std::vector<std::pair<TavArrayI*, bool>> resultArrays;
};

/// A text of everything that a client can observe. `identity` adds addresses, and objects that a successful operation
/// may end or consume, to compare two looks at the same state.
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
  const auto& s = state;
  for (const TavExtractable& each : std::initializer_list<TavExtractable>{
           s.x, s.y, s.i, s.p, s.q, s.n, s.sum, s.sharedSum, s.clientSum, TavExtractable(s.cloned)}) {
    line(each.getImpl());
  }
  for (TavArrayI* each : {s.numbers.getImpl(), s.wholes.getImpl()}) words(each, false);
  if (identity) {
    for (const TavExtractable& each : std::initializer_list<TavExtractable>{
             s.node, s.summand, s.constraint, s.indicator, s.conversion, s.semi, s.bare, s.bareToo, s.listed, s.flag}) {
      line(each.getImpl());
    }
    for (TavArrayI* each : {s.nums.getImpl(), s.vars.getImpl()}) words(each, true);
    os << s.t.getCoef() << s.it.getCoef();
  }
  for (TavExtractableI* each : s.results) line(each);
  for (const auto& [array, objects] : s.resultArrays) words(array, objects);
  os << "records " << s.records << "\n";
  if (identity && s.pass) return os.str();  // a failed pass keeps the clones that it has made
  for (TavEnvI* env : {s.home(), s.other.getImpl()}) {
    os << "objects " << env->liveObjectCount() << " cells " << env->liveTermCount() << " marked " << env->markedCount()
       << " flags " << env->oneByOneRemoval << env->ending << s.lock.depth << "\n";
    env->releaseMarkArray(env->getMarkArray());
  }
  return os.str();
}

struct Operation {
  std::string name;
  std::function<void(State&)> run;
  /// The sample that the operation clones in a pass, or null.
  const NodeSample* sample = nullptr;
  /// Whether the operation is half done when a client throws.
  bool partial = false;
};

#define DO(...) operation(#__VA_ARGS__, [](State& s) { __VA_ARGS__; })
#define MAKE(...) DO(s.keep(__VA_ARGS__))

Operation operation(const char* name, void (*run)(State&)) { return {name, run}; }
Operation partial(const Operation& row) { return {row.name, row.run, nullptr, true}; }
std::vector<Operation> tableOf(auto... rows) { return {rows...}; }

using Num = TavNumVar;
constexpr const char* kLong = "a name that is longer than a word";

std::vector<Operation> operations() {
  std::vector<Operation> all = tableOf(
      MAKE(TavNumExpr(s.t)), MAKE(TavNumExpr(s.it)), MAKE(TavIntExpr(s.it)), MAKE(TavIntExpr(s.env, 1)),
      MAKE(TavExpr(s.client)), partial(DO(s.sum.setLinearCoefs(s.vars, s.numbers))),
      DO(s.sharedSum.setLinearCoefs(s.vars, s.numbers)),
      partial(DO(s.sum.getImpl()->setCoef(s.vars, s.numbers, s.numbers))),
      DO(s.clientSum.setLinearCoefs(s.one, s.zeros)), DO(s.sum.remove(s.vars)), DO(s.sharedSum.remove(s.vars)),
      DO(s.home()->markArraysAvailable = false, s.sum.normalize()), DO(s.clientSum.setLinearCoef(s.x, 7.0)),
      DO(s.sharedSum.setLinearCoef(s.bare, 7.0)), DO(s.clientSum.clear()), DO(s.clientSum *= 2.0),
      DO(s.clientSum += s.summand), DO(s.clientSum.eval(&s.first)), DO(s.tree.eval(&s.first)),
      DO(Stream() << s.clientSum), DO(s.tree.end()), MAKE(TavMin(s.vars)), MAKE(TavMax(s.intVars)),
      MAKE(TavSum(s.nums)), MAKE(TavSum(s.ints)), MAKE(TavSum(s.vars)), MAKE(TavSum(s.intVars)),
      MAKE(TavScalProd(s.numbers, s.vars)), MAKE(TavScalProd(s.wholes, s.intVars)), MAKE(TavScalProd(s.nums, s.nums)),
      MAKE(TavScalProd(s.ints, s.ints)), MAKE(TavElement(s.vars, s.n)), MAKE(TavElement(s.intVars, s.n)),
      MAKE(TavConversion(s.env, s.vars, Num::Int, "array")), MAKE(TavConversion(s.env, s.x, Num::Int, "one")),
      MAKE(TavNumArray(s.env, 3000)), DO(s.numbers.getImpl()->addArray(s.longArray.getImpl())), DO(s.vars.add(s.vars)),
      MAKE(s.wholes.toNumArray()), MAKE(TavNumVarArray(s.env, 5, s.x, s.x, s.y, s.x, s.y)),
      MAKE(s.vars.toNumExprArray()), MAKE(TavNumVarArray(s.intVars.getImpl()).toIntExprArray()),
      MAKE(s.intVars.toNumVarArray()), MAKE(s.vars.getClone(s.other.getImpl())),
      DO(TavNumExprArray array = s.nums; array.replaceByClone(s.other.getImpl()); s.keep(array)),
      MAKE(Num(s.env, 3.25, 4.5, Num::Float, kLong)), MAKE(Num(s.env, 0.0, 10.0)),
      MAKE(Num(s.env, 0.0, 1.0, Num::Bool)), MAKE(TavIntVar(s.env, 3, 77, "n")), MAKE(TavBoolVar(s.env, "b")),
      MAKE(TavBoolVar(TavAddNumVar(&s.column), "b")), MAKE(Num(TavAddNumVar(&s.column), 1.0, 7.0)),
      MAKE(Num(s.env, s.numbers)), MAKE(TavIntVar(s.env, s.wholes)),
      MAKE(Num(new (s.home()) TavNumVarI(s.home(), TavAnyArray(s.wholes.getImpl()), "any"))), MAKE(Num(s.range, "r")),
      DO(TavNumRange(s.env, 0.0, 10.0)), MAKE(TavSemiContVar(s.env, 1.0, 8.0)), MAKE(Num(s.constraint)),
      MAKE(TavNumVarArray(s.env, 50, 0.0, 4.0)), MAKE(TavNumVarArray(s.env, s.numbers, s.numbers)),
      MAKE(TavNumVarArray(s.env, s.columns)), MAKE(TavIntVarArray(s.env, s.columns, s.numbers, s.numbers)),
      MAKE(TavBoolVarArray(s.env, s.columns)), MAKE(TavSemiContVarArray(s.env, s.numbers, s.numbers)),
      DO(s.x.setLB(1.0)), DO(s.listed.setUB(1.5)), DO(s.bare.setBounds(1.0, 2.0)), DO(s.flag.setBounds(0, 0)),
      DO(s.x.setPossibleValues(s.numbers)), DO(s.listed.setPossibleValues(s.numbers)),
      DO(s.bare.setPossibleValues(s.numbers)), DO(s.i.setPossibleValues(s.wholes)),
      DO(s.x.getImpl()->setPossibleValues(s.wholes)), DO(s.listed.getPossibleValues(s.numbers)),
      DO(s.semi.setSemiContinuousLb(2.0)), DO(s.x.getImpl()->makeDomain(1.0, 2.0)), DO(s.x.setName(kLong)),
      DO(s.mixed.setBounds(s.longArray, s.longArray)), DO(s.conversion.removeVar(s.x)), DO(s.bareToo.end()),
      DO(s.doomed[3].end()), DO(s.doomed.TavExtractableArray::endElements()), DO(s.constraint.end()),
      DO(s.conversion.end()), DO(s.node.end()), DO(s.ended.end()), DO(s.nums.endElements()), DO(Extractor(s.home())),
      DO(s.node.setClone(s.sum, s.other)), DO(s.home()->releaseMarkArray(s.home()->getMarkArray())));
  for (const NodeSample& sample : nodeSamples()) {
    const std::string name = sample.name;
    if (sample.library)
      all.push_back({"make " + name, [&sample](State& s) { s.keep(TavExtractable(sample.make(s.o))); }});
    all.push_back({"clone " + name, [](State& s) { s.keep(TavExtractable(s.pass->clone(s.cloned))); }, &sample});
  }
  return all;
}

/// Uses up every memory pool, the free list of cells and the identifier table, so that the next request allocates.
void exhaustMemory(TavEnvI* env) {
  const auto drain = [](auto take) {
    Gate gate(0, Gate::Allocations, true);
    try {
      for (int k = 0; k < 200'000; ++k) take();
      ADD_FAILURE() << "memory grows by an allocation that the gate does not see";
    } catch (const std::bad_alloc&) {
    }
  };
  TavInt id = 0;
  do {  // a table that doubles is full at a power of two
    id = (new (env) LeafI(env, 0.0, nullptr))->getId();
  } while (!std::has_single_bit(static_cast<std::uint64_t>(id + 1)));
  drain([env] { env->newTerm(nullptr, 0.0); });
  for (std::size_t bytes = 256; bytes > 0; bytes -= 8) {
    drain([&] { env->getMemory()->alloc(bytes); });
  }
}

/// Expects removals, notifications, clones and normalisation to work as before.
void expectAtWork(State& s) {
  s.home()->oneByOneRemoval = s.home()->removeFromAllOnDestroy = false;
  s.records = "", s.first.changes = s.second.changes = s.first.forgotten = 0;
  TavNumVar late(s.env, 0.0, 1.0, "late");
  TavExpr again(late * 1 + late * 2 + s.spare * 0.5);
  again.setLinearCoef(late, 8.0);
  again.setLinearCoefs(TavNumVarArray(s.env, 1, s.spare), s.zeros);
  EXPECT_NE(TavClonePass(s.home(), s.other.getImpl()).clone(again.getImpl()), nullptr);
  late.end();
  std::ostringstream os;
  os << again << s.records << s.first.changes << s.second.changes << s.first.forgotten;
  EXPECT_EQ(os.str(), "0 TavNumLinTermRemoveVar TavNumLinTermRemoveVar 221");
}

/// Lets a random one of the next allocations fail.
struct Failing final : Shortage {
  void exhaust(TavEnvI* env) override { exhaustMemory(env); }
  bool refuses(const std::function<void()>& call) override {
    Gate gate(static_cast<long>(random() % ++_room));
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

/// How nodes are destroyed and variables removed, and what fails.
using Failures = ::testing::TestWithParam<std::tuple<Mode, Gate::Kind>>;

TEST_P(Failures, OfClientsLeaveAnOperationDoneOrUndoneAndOfAllocationsUndone) {
  const auto [mode, kind] = GetParam();
  const bool memory = kind == Gate::Allocations;
  const auto start = [memory](State& s) {
    if (memory) exhaustMemory(s.home());
    return s.usedBytes();
  };
  const auto look = [mode = mode](State& s, bool identity) {
    if (mode == RemovingOneByOne) s.records.clear();  // a variable that an operation undoes is reported then
    return seen(s, identity);
  };
  for (const Operation& operation : operations()) {
    State undisturbed(mode, operation.sample);
    const TavInt atFirst = start(undisturbed);
    const std::string undone = look(undisturbed, false);
    operation.run(undisturbed);
    const TavInt bytes = undisturbed.usedBytes() - atFirst;
    const std::string done = look(undisturbed, false);
    for (int n = 0, failed = 1; failed; ++n) {
      SCOPED_TRACE(operation.name + ", failure " + std::to_string(n));
      ASSERT_LT(n, 3000);
      State s(mode, operation.sample);
      const TavInt before = start(s);
      const std::string untouched = look(s, true);
      bool thrown = false;
      {
        Gate gate(n, kind);
        try {
          operation.run(s);
        } catch (const std::bad_alloc&) {
          thrown = memory;
        } catch (const ClientFailure&) {
          thrown = true;
        }
        failed = gate.hasFailed();
      }
      if (memory) {
        if (thrown) {
          ASSERT_EQ(look(s, true), untouched);
          operation.run(s);
        }
        ASSERT_EQ(s.usedBytes() - before, bytes);
        ASSERT_EQ(look(s, false), done);
      } else {
        EXPECT_EQ(thrown, failed != 0);
        const std::string found = look(s, false);
        EXPECT_TRUE(found == undone || found == done || operation.partial) << found;
        expectAtWork(s);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(While, Failures,
                         ::testing::Combine(::testing::Values(Destroying, Removing, RemovingOneByOne),
                                            ::testing::Values(Gate::Allocations, Gate::Calls)));

TEST(FailedAllocations, OfRandomProgramsLeaveWhatTheModelSays) {
  Failing failing;
  for (unsigned seed = 1; seed <= 500; ++seed) ASSERT_EQ(runRandomProgram(Choices(seed), &failing), "") << seed;
  EXPECT_GT(failing.refused, 3000);
}

}  // namespace
