#include <set>

#include "tests/support/protocol.h"

namespace {

/// The static functions and members of a class.
struct Facts {
  TavInt size;
  TavTypeInfo token, base, tokenOfBase;
  TavInt (*index)();
  TavInt (*indexOfBase)();
  TavInt *slot, *slotOfBase;
};

template <class Class, class Base>
Facts factsOf() {
  return {Class::GetExtractableSize(), Class::GetTypeInfo(), Class::GetBaseTypeInfo(), Base::GetTypeInfo(),
          &Class::GetTypeIndex,        &Base::GetTypeIndex,  &Class::_rttiIndex,       &Base::_rttiIndex};
}

const std::map<std::string, Facts> kFacts = {
#define TAV_NODE(Class, Base) {Class::kTypeName, factsOf<Class, Base>()},
#define TAV_CHANGE(Class) TAV_NODE(Class, TavChange)
#include "expression/classes.inc"
#undef TAV_NODE
};

class Identity : public ProtocolTest {
 protected:
  /// Calls check(name, facts, object) for an object of every concrete class.
  template <class Check>
  void forEachObject(Check check) {
    const auto checkSample = [&](const auto& sample, const auto& object) {
      check(sample.name, kFacts.at(sample.name), object);
    };
    forEachNode([&](const NodeSample& sample, const TavExtractableI* node) { checkSample(sample, *node); });
    forEachChange(checkSample);
  }
};

TEST_F(Identity, ObjectsHaveTheTypeOfTheirClassAndItsBasesAndNoOther) {
  std::map<TavTypeInfo, TavTypeInfo> bases{{TavExtractableI::GetTypeInfo(), nullptr},
                                           {TavChange::GetTypeInfo(), nullptr}};
  for (const auto& [name, facts] : kFacts) {
    EXPECT_TRUE(bases.emplace(facts.token, facts.tokenOfBase).second) << name << " shares its token";
    EXPECT_EQ(facts.base, facts.tokenOfBase) << name;
  }
  std::set<std::string> unseen;
#define TAV_NODE(Class, Base) \
  if (!std::is_abstract_v<Class>) unseen.insert(Class::kTypeName);
#include "expression/classes.inc"
#undef TAV_NODE
#undef TAV_CHANGE
  forEachObject([&](const char* name, const Facts& facts, const auto& object) {
    unseen.erase(name);
    EXPECT_STREQ(object.getRttiTypeName(), name);
    EXPECT_EQ(object.getTypeInfo(), facts.token);
    EXPECT_EQ(object.getBaseTypeInfo(), facts.tokenOfBase);
    EXPECT_EQ(object.getExtractableSize(), facts.size);
    std::set<TavTypeInfo> chain;
    for (TavTypeInfo next = facts.token; next; next = bases.at(next)) chain.insert(next);
    for (const auto& each : bases) EXPECT_EQ(object.isType(each.first), chain.count(each.first) == 1);
  });
  EXPECT_EQ(unseen, std::set<std::string>()) << "have no sample";
}

TEST_F(Identity, OnlyTheStaticFunctionAssignsAnIndex) {
  forEachObject([&](const char*, const Facts& facts, const auto& object) {
    *facts.slot = *facts.slotOfBase = 0;
    EXPECT_EQ(object.getTypeIndex(), 0);
    const TavInt last = TavRtti::_counter;
    for (int again = 0; again < 2; ++again) EXPECT_EQ(facts.index(), last + 1);
    EXPECT_EQ(object.getTypeIndex(), last + 1);
    EXPECT_EQ(*facts.slotOfBase, 0);
    EXPECT_EQ(object.getBaseTypeIndex(), last + 2);  // this call assigns one to the base
    EXPECT_EQ(facts.indexOfBase(), last + 2);
  });
}

}  // namespace
