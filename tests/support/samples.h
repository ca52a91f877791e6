#pragma once
/// One sample of every class: what the tests of the protocol run over. A class that stands in a header of the library
/// and not in these tables fails a test.

#include <vector>

#include "tests/support/fixture.h"

/// Where samples are made: named operands of every kind, held with one reference.
struct SampleWorld {
  explicit SampleWorld(TavEnv home);
  TavEnv env;
  TavNumVar x, y;
  TavIntVar i, j;
  TavNumExprArg p, q;
  TavIntExprArg m, n;
  TavConstraint c;
};

/// The static side of one class.
struct ClassFacts {
  const char* name;
  TavInt size;
  TavTypeInfo (*token)();
  TavTypeInfo (*baseToken)();
  TavTypeInfo (*tokenOfBase)();
  TavInt (*index)();
  TavInt (*indexOfBase)();
  TavInt* slot;
  TavInt* slotOfBase;
};

template <class Class, class Base>
ClassFacts factsOf() {
  return {Class::GetRttiTypeName(), Class::GetExtractableSize(), &Class::GetTypeInfo,
          &Class::GetBaseTypeInfo,  &Base::GetTypeInfo,          &Class::GetTypeIndex,
          &Base::GetTypeIndex,      &Class::_rttiIndex,          &Base::_rttiIndex};
}

struct NodeSample {
  ClassFacts facts;
  TavExtractHook* extract;
  TavObjectHook* unextract;
  TavObjectHook* modify;
  /// Null for an abstract class.
  TavExtractableI* (*make)(const SampleWorld&);
  /// The names of the children that a visit shows, each followed by a blank.
  const char* children;
  /// Where makeClone looks clones of operands up: in the node's own environment, in the target, some here and some
  /// there, or in the target with null for those that are not found.
  enum Lookup { kOwn, kTarget, kBoth, kTargetOrNull } lookup = kOwn;
  /// Whether the clone prints as the node does.
  bool sameText = true;
};

struct ChangeSample {
  ClassFacts facts;
  TavApplyHook* apply;
  /// Makes a record and hands it on.
  void (*with)(const SampleWorld&, const std::function<void(const TavChange&)>& use);
  /// What visitChange shows.
  const char* parts;
};

const std::vector<NodeSample>& nodeSamples();
const std::vector<ChangeSample>& changeSamples();

/// Values by the variables' names, so that clones have the same ones.
class NamedValues : public TavAlgorithmI {
 public:
  explicit NamedValues(TavEnv env) : TavAlgorithmI(env.getImpl()) {}
  double getValue(const TavNumVarI* variable) const override {
    return variable->getName() ? variable->getName()[0] - 'a' - 7 : 0;
  }
  double getValue(const TavIntExprI*) const override { return 1.0; }
};

class ProtocolTest : public TavTest {
 protected:
  ProtocolTest() : world(env), values(env) {}
  /// Calls check(sample, object) with a new object of every concrete node class.
  template <class Check>
  void forEachNode(Check check) {
    for (const NodeSample& sample : nodeSamples()) {
      SCOPED_TRACE(sample.facts.name);
      if (sample.make) check(sample, sample.make(world));
    }
  }
  SampleWorld world;
  NamedValues values;
};
