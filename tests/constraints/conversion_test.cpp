#include "tests/support/fixture.h"

class Conversion : public TavTest {
 protected:
  TavConversion relax(const TavNumVarArray& vars) { return TavConversion(env, vars, TavNumVar::Float, "c"); }

  TavNumVar x = num("x", 1), y = num("y", 2);
};

TEST_F(Conversion, AnEndedVariableLeavesItAlsoWhenAListenerThrows) {
  const TavConversion conversion = relax(TavNumVarArray(env, 2, y, y));
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
