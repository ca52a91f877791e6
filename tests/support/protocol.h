#pragma once
/// The fixture of the protocol's tests: the operands of the samples, named by their letters, each retained once.

#include "tests/support/fixture.h"
#include "tests/support/samples.h"

class ProtocolTest : public TavTest {
 protected:
  ProtocolTest() : o(env) {
    o.x = leaf(2, "x"), o.y = leaf(-1.5, "y"), o.i = intLeaf(1, "i"), o.j = intLeaf(2, "j");
    for (const TavNumExprArg operand : {o.x, o.y, TavNumExprArg(o.i), TavNumExprArg(o.j)}) operand.getImpl()->retain();
    o.X = exprs({o.x, o.y}), o.I = intExprs({o.i, o.j});
    o.c = 3, o.d = 4, o.k = 2;
    o.C = nums({0, 1}), o.D = nums({1, 2, 3}), o.K = ints({4, 5});
    o.v = num("v", 1), o.w = integer("w", 1);
    o.truth = TavConstraint(new (env.getImpl()) TavConstConstraintI(env.getImpl(), "truth", 1));
  }
  /// Calls check(sample, object) with a new object of every concrete node class.
  template <class Check>
  void forEachNode(Check check) {
    for (const NodeSample& sample : nodeSamples()) {
      SCOPED_TRACE(sample.name);
      check(sample, sample.make(o));
    }
  }
  /// Calls check(sample, record) with a record of every class of changes, while it is sent.
  template <class Check>
  void forEachChange(Check check) {
    for (const ChangeSample& sample : changeSamples()) {
      SCOPED_TRACE(sample.name);
      env.getImpl()->setChangeListener([&](const TavChange& change) { check(sample, change); });
      sample.edit(o);
    }
    env.getImpl()->setChangeListener(nullptr);
  }
  Operands o;
};
