// Includes the public header alone, as a model's author does: no node class is defined here.
#include "expression/tavexpression.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(PublicHeader, SufficesForEveryHandleAsAnOperand) {
  TavEnv env;
  TavNumVar x(env, 0.0, 1.0, "x");
  TavIntVar i(env, 0, 1, "i");
  TavExpr linear = 2 * x;
  TavNumExpr any = TavSin(linear) * linear;
  TavIntExpr whole = i + 1;
  TavNumExpr sum = linear + any - whole * i + TavMin(linear, whole);
  sum += linear;
  linear += any;
  linear += whole;
  std::ostringstream os;
  os << linear << "|" << whole << "|" << TavConstraint() << sum.isInteger();
  EXPECT_EQ(os.str(), "2 * x  + i  + sin(2 * x ) * 2 * x  + 1 |i  + 1 |0");
  env.end();
}
