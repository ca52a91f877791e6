#include "tests/support/fixture.h"

namespace {

struct Thrown {};
/// Where client code throws next; null for nowhere.
const char* armed = nullptr;

void mayThrow(const char* where) {
  if (armed && std::string(armed) == where) throw Thrown();
}

/// An algorithm that has extracted everything.
struct Algorithm final : TavAlgorithmI {
  using TavAlgorithmI::TavAlgorithmI;
  double getValue(const TavNumVarI*) const override { return mayThrow("value"), 2.0; }
  bool hasExtracted(const TavExtractableI*) const override { return mayThrow("extracted"), true; }
  void change(const TavChange&) override { ++changes, mayThrow("change"); }
  void forget(TavExtractableI*) override { ++forgotten, mayThrow("forget"); }
  int changes = 0, forgotten = 0;
};

struct Lock final : TavLock {
  void lock() override { mayThrow("lock"), ++depth; }
  void unlock() override { --depth; }
  int depth = 0;
};

/// A node of the client's.
struct ClientI final : TavNode<ClientI, TavNumExprI> {
  static constexpr const char* kTypeName = "ClientI";
  explicit ClientI(TavEnvI* env) : TavNode(env, nullptr) {}
  double eval(TavAlgorithm) const override { return mayThrow("eval"), 1.0; }
  void visitSubExtractables(TavExtractableVisitor*) override { mayThrow("visit"); }
  TavExtractableI* makeClone(TavEnvI* target) const override { return mayThrow("clone"), new (target) ClientI(target); }
  TavNumLinTermI* toNumLinTermI() override { return mayThrow("linear"), TavNumExprI::toNumLinTermI(); }
  void display(std::ostream& os) const override { mayThrow("display"), os << "client"; }
  void atRemove(TavExtractableI*, void*) override { mayThrow("remove"); }
};

struct Column final : TavAddExtractable {
  explicit Column(TavEnv home) : env(home.getImpl()) {}
  void install(TavExtractableI*) const override {
    if (++installed > 1) mayThrow("install");
  }
  TavEnvI* getEnv() const override { return env; }
  TavEnvI* env;
  mutable int installed = 0;
};

struct ThrowingBuffer final : std::streambuf {
  int overflow(int c) override { return ++written > 3 ? throw Thrown() : c; }
  int written = 0;
};

class ThrowingClients : public TavTest {
 protected:
  ThrowingClients() {
    impl()->markLock = &lock;
    impl()->setChangeListener([this](const TavChange&) { ++heard, mayThrow("listener"); });
    columns.set(0, TavAddNumVar(&column));
    columns.set(1, TavAddNumVar(&column));
  }
  TavEnvI* impl() const { return env.getImpl(); }
  TavNumExprArg client() { return TavNumExprArg(new (impl()) ClientI(impl())); }
  TavInt objects() const { return impl()->liveObjectCount(); }
  static std::string at(TavNumVar v) { return std::to_string(v.getLB()).substr(0, 1) + std::to_string(v.getUB())[0]; }

  Lock lock;
  Algorithm first{env.getImpl()}, second{env.getImpl()};
  int heard = 0;
  TavNumVar x{env, 0.0, 9.0, "x"}, y{env, 0.0, 9.0, "y"}, z{env, 0.0, 9.0, "z"};
  TavExpr sum{2 * x + 3 * y};
  Column column{env};
  TavNumColumnArray columns{env, 2};
};

/// What throws, the call that meets it, and what holds afterwards.
struct Row {
  const char* thrower;
  const char* name;
  std::function<void()> call;
  std::function<std::string()> seen;
  const char* wanted;
};

TEST_F(ThrowingClients, LeaveWhatTheyInterruptedDoneOrUndoneAndEverythingElseAtWork) {
  const TavSemiContVar semi(env, 1.0, 5.0, TavNumVar::Float, "semi");
  const TavConversion conversion(env, TavNumVarArray(env, 2, x, y), TavNumVar::Int);
  const TavNumArray numbers(env, 2);
  TavNumExpr tree, shared;
  TavNumVar doomed;
  TavNumVarArray several;
  TavInt before = 0;
  const auto sumText = [&] { return shape(sum); };
  const auto vanished = [&] { return std::to_string(before - objects()); };
  const auto remake = [&] {  // before each row
    sum = TavExpr(2 * x + 3 * y);
    sum += client() * 5.0;
    doomed = TavNumVar(env, 0.0, 1.0, "doomed");
    several = TavNumVarArray(env, 2, TavNumVar(env, 0.0, 1.0, "a"), TavNumVar(env, 0.0, 1.0, "b"));
    tree = TavNumExpr(TavSin(TavSin(client())));
    shared = sum;
  };
  const std::vector<Row> rows = {
      {"value", "an evaluation", [&] { sum.eval(&first); }, [&] { return std::to_string(sum.eval(&first)); },
       "15.000000"},
      {"eval", "a client's value", [&] { tree.eval(&first); }, [&] { return plain(tree); }, "sin(sin(client))"},
      {"display", "a client's text", [&] { plain(sum); }, [&] { return plain(sum); }, "2 * x  + 3 * y  + client * 5"},
      {"", "a stream",
       [&] {
         ThrowingBuffer buffer;
         std::ostream os(&buffer);
         os.exceptions(std::ios::badbit);
         os << sum;
       },
       [&] { return plain(sum); }, "2 * x  + 3 * y  + client * 5"},
      {"visit", "a visit", [&] { TavClonePass(impl(), other.getImpl()).clone(tree.getImpl()); },
       [&] { return std::to_string(impl()->getClone(tree.getImpl()) == nullptr); }, "1"},
      {"clone", "a clone", [&] { TavClonePass(impl(), other.getImpl()).clone(tree.getImpl()); },
       [&] { return std::to_string(impl()->getClone(tree.getImpl()) == nullptr); }, "1"},
      {"linear", "a conversion to a sum", [&] { TavExpr(client()).end(); }, vanished, "-1"},
      {"listener", "a coefficient", [&] { sum.setLinearCoef(x, 7.0); }, sumText,
       "7x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"change", "a new term", [&] { sum.setLinearCoef(z, 7.0); }, sumText, "2x 3y 7z <TavNumTimesCstI{client * 5}> 0"},
      {"listener", "a coefficient of a shared sum",
       [&] {
         shared.getImpl()->retain();
         sum.setLinearCoef(x, 7.0);
       },
       [&] { return shape(sum) + " " + shape(shared); },
       "7x 3y <TavNumTimesCstI{client * 5}> 0 2x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"listener", "coefficients", [&] { sum.setLinearCoefs(TavNumVarArray(env, 2, x, y), numbers); }, sumText,
       "0x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"lock", "coefficients under a lock", [&] { sum.setLinearCoefs(TavNumVarArray(env, 2, x, y), numbers); }, sumText,
       "2x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"extracted", "a bound", [&] { x.setUB(4.0); }, [&] { return at(x); }, "04"},
      {"listener", "bounds", [&] { x.setBounds(1.0, 5.0); }, [&] { return at(x); }, "15"},
      {"change", "values", [&] { z.setPossibleValues(numbers); }, [&] { return at(z); }, "00"},
      {"change", "bounds of an array", [&] { several.setBounds(numbers, numbers); }, [&] { return at(several[1]); },
       "00"},
      {"change", "a threshold", [&] { semi.setSemiContinuousLb(3.0); },
       [&] { return std::to_string(semi.getSemiContinuousLb())[0] + std::string(); }, "3"},
      {"listener", "a variable of a conversion", [&] { conversion.removeVar(x); },
       [&] { return std::to_string(conversion.getImpl()->getVars().getSize()); }, "1"},
      {"forget", "the end of a variable", [&] { sum += doomed, doomed.end(); }, sumText,
       "2x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"remove", "the end that a node hears of", [&] { sum += doomed, doomed.end(); }, sumText,
       "2x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"listener", "the end of variables, one by one",
       [&] {
         impl()->oneByOneRemoval = true;
         sum += several[0], sum += several[1];
         several.TavExtractableArray::endElements();
       },
       sumText, "2x 3y <TavNumTimesCstI{client * 5}> 0"},
      {"forget", "the end of a tree", [&] { tree.end(); }, vanished, "3"},
      {"forget", "a cleared sum", [&] { sum.clear(); }, [&] { return vanished() + sumText(); }, "20"},
      {"forget", "a multiplied sum", [&] { sum *= 2.0; }, [&] { return vanished() + " " + sumText(); },
       "0 4x 6y <TavNumTimesCstI{client * 10}> 0"},
      {"forget", "a sum without its part",
       [&] {
         TavExtractableArray parts(env, 1);
         parts.set(0, TavExtractable(sum.getImpl()->getFirstPart()->expr));
         sum.remove(parts);
       },
       [&] { return vanished() + sumText(); }, "22x 3y 0"},
      {"forget", "a sum that takes another one in", [&] { sum += 1 * z + 4; }, sumText,
       "2x 3y 1z <TavNumTimesCstI{client * 5}> 4"},
      {"install", "a variable by column", [&] { TavNumVar(columns[0], 0.0, 1.0), TavNumVar(columns[1], 0.0, 1.0); },
       vanished, "-1"},
      {"install", "variables by columns", [&] { TavNumVarArray(env, columns); }, vanished, "0"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    remake();
    impl()->removeFromAllOnDestroy = true;
    column.installed = 0;
    before = objects();
    armed = row.thrower;
    EXPECT_THROW(row.call(), Thrown);
    armed = nullptr;
    EXPECT_EQ(row.seen(), row.wanted);
    impl()->removeFromAllOnDestroy = impl()->oneByOneRemoval = false;
    EXPECT_EQ(lock.depth, 0);
    EXPECT_EQ(impl()->markedCount(), 0u);
    impl()->releaseMarkArray(impl()->getMarkArray());
    // every removal, notification, clone and normalisation works as it did
    heard = first.changes = second.changes = first.forgotten = 0;
    TavNumVar late(env, 0.0, 1.0, "late");
    TavExpr again(late * 1 + late * 2 + y);
    again.setLinearCoef(late, 8.0);
    again.setLinearCoefs(TavNumVarArray(env, 1, y), TavNumArray(env, 1));
    EXPECT_EQ(shape(again), "8late 0y 0");
    EXPECT_NE(TavClonePass(impl(), other.getImpl()).clone(again.getImpl()), nullptr);
    late.end();
    EXPECT_EQ(shape(again), "0y 0");
    EXPECT_EQ(std::vector<int>({heard, first.changes, second.changes, first.forgotten}),
              std::vector<int>({2, 2, 2, 1}));
    EXPECT_EQ(plain(y), "y[0 .. 9] ");
  }
}

}  // namespace
