#include "tests/support/fixture.h"

class Conversion : public TavTest {
 protected:
  /// The variables that leave a conversion during `edit`, by name, with the size that is left.
  std::string leaving(const std::function<void()>& edit) {
    std::string names;
    env.getImpl()->setChangeListener([&names](const TavChange& change) {
      ASSERT_TRUE(change.isType(TavConversionRemoveVar::GetTypeInfo()));
      const auto& record = static_cast<const TavConversionRemoveVar&>(change);
      EXPECT_EQ(record.getChangedExtractable(), record.getConversion());
      names += record.getVar()->getName() + std::to_string(record.getConversion()->getVars().getSize()) + " ";
    });
    edit();
    env.getImpl()->setChangeListener(nullptr);
    return names;
  }
  TavConversion relax(const TavNumVarArray& vars) { return TavConversion(env, vars, TavNumVar::Float, "c"); }

  TavNumVar x = num("x", 1), y = num("y", 2);
  TavIntVar i = integer("i", 3);
};

TEST_F(Conversion, KeepsItsOwnCopyInTheVariablesEnvironmentAndLeavesThemAsTheyAre) {
  TavNumVarArray vars(env, 2, x, TavNumVar(i));
  const TavConversion conversion(other, vars, TavNumVar::Bool, "c");  // the environment given is not used
  vars.set(0, y);
  vars.end();
  EXPECT_EQ(conversion.getEnv().getImpl(), env.getImpl());
  EXPECT_EQ(plain(conversion), "TavConversionI (c)\n  vars [x[0 .. 10] , i[0 .. 10] ]\n  type 3\n");
  EXPECT_EQ(library(conversion), plain(conversion));
  EXPECT_EQ(x.getType(), TavNumVar::Float);
  const TavConversion one(other, x, TavNumVar::Int), ints(other, TavIntVarArray(env, 1, i), TavNumVar::Float, "d");
  EXPECT_EQ(plain(one), "TavConversionI (" + std::to_string(one.getId()) + ")\n  vars [x[0 .. 10] ]\n  type 1\n");
  EXPECT_EQ(plain(ints), "TavConversionI (d)\n  vars [i[0 .. 10] ]\n  type 2\n");
  const TavInt before = env.getImpl()->liveObjectCount();
  EXPECT_THROW(TavConversion(env, TavNumVar(), TavNumVar::Int), TavEmptyHandleException);
  EXPECT_THROW(TavConversion(env, TavNumVarArray(), TavNumVar::Int), TavEmptyHandleException);
  EXPECT_THROW(TavConversion(env, TavIntVarArray(), TavNumVar::Int), TavEmptyHandleException);
  EXPECT_THROW(one.removeVar(TavNumVar()), TavEmptyHandleException);
  EXPECT_EQ(env.getImpl()->liveObjectCount(), before);
}

TEST_F(Conversion, EveryOccurrenceLeavesLastFirst) {
  const TavConversion conversion = relax(TavNumVarArray(env, 4, x, y, x, TavNumVar(i)));
  EXPECT_EQ(leaving([&] { conversion.removeVar(x); }), "x3 x2 ");
  EXPECT_EQ(leaving([&] { conversion.removeVar(x); }), "");
  EXPECT_EQ(children(conversion.getImpl()), (std::vector<TavExtractableI*>{y.getImpl(), i.getImpl()}));
}

TEST_F(Conversion, EndedVariablesLeaveItOneByOneAlsoWhenAListenerThrows) {
  const TavConversion conversion = relax(TavNumVarArray(env, 5, x, y, TavNumVar(i), x, y));
  TavNumVarArray batch(env, 2, x, TavNumVar(i));
  EXPECT_EQ(leaving([&] { batch.endElements(); }), "x4 i3 x2 ");
  env.getImpl()->setChangeListener([](const TavChange&) { throw TavWrongUsage("no"); });
  EXPECT_THROW(y.end(), TavWrongUsage);
  EXPECT_EQ(conversion.getImpl()->getVars().getSize(), 0);
  env.getImpl()->setChangeListener(nullptr);
}

TEST_F(Conversion, AListenerMayTakeVariablesOutItself) {
  const TavConversion conversion = relax(TavNumVarArray(env, 4, y, x, x, x));
  env.getImpl()->setChangeListener([&](const TavChange& change) {
    if (static_cast<const TavConversionRemoveVar&>(change).getVar() == x.getImpl()) conversion.removeVar(x);
  });
  conversion.removeVar(x);
  EXPECT_EQ(children(conversion.getImpl()), std::vector<TavExtractableI*>{y.getImpl()});
}

TEST_F(Conversion, ACloneHoldsTheClonesAndAnEndedOneGivesItsArrayBack) {
  const TavNumVarArray vars(env, 2, x, x);
  const TavInt bytes = env.getImpl()->getMemory()->usedBytes();
  TavConversion conversion = relax(vars);
  const TavExtractableI* clone = TavClonePass(env.getImpl(), other.getImpl()).clone(conversion.getImpl());
  EXPECT_EQ(text(clone),
            "TavConversionI (" + std::to_string(clone->getId()) + ")\n  vars [x[0 .. 10] , x[0 .. 10] ]\n  type 2\n");
  conversion.end();
  EXPECT_EQ(env.getImpl()->getMemory()->usedBytes(), bytes);
}
