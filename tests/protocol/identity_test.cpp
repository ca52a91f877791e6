#include <set>

#include "tests/support/protocol.h"

namespace {

class Identity : public ProtocolTest {
 protected:
  /// Calls check(facts, object) for an object of every concrete class.
  template <class Check>
  void forEachObject(Check check) {
    forEachNode([&](const NodeSample& sample, const TavExtractableI* node) { check(sample.facts, *node); });
    forEachChange([&](const ChangeSample& sample, const TavChange& change) { check(sample.facts, change); });
  }
};

TEST_F(Identity, ObjectsAnswerAsTheirClassDoesAndAreOfItsBasesAndOfNoOther) {
  std::map<TavTypeInfo, TavTypeInfo> bases{{TavExtractableI::GetTypeInfo(), nullptr},
                                           {TavChange::GetTypeInfo(), nullptr}};
  for (const ClassFacts& facts : allClasses()) {
    EXPECT_TRUE(bases.emplace(facts.token(), facts.tokenOfBase()).second) << facts.name << " shares its token";
    EXPECT_EQ(facts.baseToken(), facts.tokenOfBase()) << facts.name;
  }
  forEachObject([&](const ClassFacts& facts, const auto& object) {
    EXPECT_STREQ(object.getRttiTypeName(), facts.name);
    EXPECT_EQ(object.getTypeInfo(), facts.token());
    EXPECT_EQ(object.getBaseTypeInfo(), facts.tokenOfBase());
    EXPECT_EQ(object.getExtractableSize(), facts.size);
    std::set<TavTypeInfo> chain;
    for (TavTypeInfo next = facts.token(); next; next = bases.at(next)) chain.insert(next);
    for (const auto& each : bases) EXPECT_EQ(object.isType(each.first), chain.count(each.first) == 1);
  });
}

TEST_F(Identity, AnIndexIsGivenOutByTheStaticFormAlone) {
  forEachObject([&](const ClassFacts& facts, const auto& object) {
    *facts.slot = *facts.slotOfBase = 0;
    EXPECT_EQ(object.getTypeIndex(), 0);
    const TavInt last = TavRtti::_counter;
    for (int again = 0; again < 2; ++again) EXPECT_EQ(facts.index(), last + 1);
    EXPECT_EQ(object.getTypeIndex(), last + 1);
    EXPECT_EQ(*facts.slotOfBase, 0);
    EXPECT_EQ(object.getBaseTypeIndex(), last + 2);  // asking for the base's index gives it one
    EXPECT_EQ(facts.indexOfBase(), last + 2);
  });
}

}  // namespace
