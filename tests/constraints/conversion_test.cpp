#include "tests/support/fixture.h"

class Conversion : public TavTest {
 protected:
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
  const TavConversion one(other, x, TavNumVar::Int), list(other, TavIntVarArray(env, 1, i), TavNumVar::Float, "d");
  EXPECT_EQ(one.getEnv().getImpl(), env.getImpl());
  EXPECT_EQ(plain(one), "TavConversionI (" + std::to_string(one.getId()) + ")\n  vars [x[0 .. 10] ]\n  type 1\n");
  EXPECT_EQ(plain(list), "TavConversionI (d)\n  vars [i[0 .. 10] ]\n  type 2\n");
  refusesEmpty({[&] { one.removeVar(TavNumVar()); }});
}

TEST_F(Conversion, EndedVariablesLeaveItOneByOneAlsoWhenAListenerThrows) {
  const TavConversion conversion = relax(TavNumVarArray(env, 5, x, y, TavNumVar(i), x, y));
  TavNumVarArray batch(env, 2, x, TavNumVar(i));
  EXPECT_EQ(records([&] { batch.endElements(); }), "x leaves 4; i leaves 3; x leaves 2; ");
  env.getImpl()->setChangeListener([](const TavChange&) { throw TavException("refused"); });
  EXPECT_THROW(y.end(), TavException);
  EXPECT_EQ(conversion.getImpl()->getVars().getSize(), 0);
}

TEST_F(Conversion, AListenerMayTakeVariablesOutItself) {
  const TavConversion conversion = relax(TavNumVarArray(env, 4, y, x, x, x));
  env.getImpl()->setChangeListener([&](const TavChange& change) {
    if (static_cast<const TavConversionRemoveVar&>(change).getVar() == x.getImpl()) conversion.removeVar(x);
  });
  conversion.removeVar(x);
  EXPECT_EQ(childrenOf(conversion.getImpl()), std::vector<TavExtractableI*>{y.getImpl()});
}
