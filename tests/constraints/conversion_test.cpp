#include "tests/support/fixture.h"

using Conversion = TavTest;

TEST_F(Conversion, AListenerMayThrowOrTakeVariablesOutItself) {
  TavNumVar x = num("x", 1), y = num("y", 2);
  const TavConversion conversion(env, TavNumVarArray(env, 5, y, y, x, x, x), TavNumVar::Float);
  env.getImpl()->setChangeListener([&](const TavChange& change) {
    if (static_cast<const TavConversionRemoveVar&>(change).getVar() == y.getImpl()) throw TavException("refused");
    conversion.removeVar(x);
  });
  conversion.removeVar(x);
  EXPECT_EQ(plain(conversion.getImpl()->getVars()), "[y[0 .. 10] , y[0 .. 10] ]");
  EXPECT_THROW(y.end(), TavException);
  EXPECT_EQ(conversion.getImpl()->getVars().getSize(), 0);
}
