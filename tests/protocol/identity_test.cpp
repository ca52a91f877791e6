#include <filesystem>
#include <fstream>
#include <set>

#include "tests/support/samples.h"

namespace {

class Identity : public ProtocolTest {
 protected:
  static std::vector<ClassFacts> allClasses() {
    std::vector<ClassFacts> all;
    for (const NodeSample& sample : nodeSamples()) all.push_back(sample.facts);
    for (const ChangeSample& sample : changeSamples()) all.push_back(sample.facts);
    return all;
  }
  /// Calls check(facts, object) for an object of every concrete class.
  template <class Check>
  void forEachObject(Check check) {
    for (const NodeSample& sample : nodeSamples()) {
      SCOPED_TRACE(sample.facts.name);
      if (sample.make) check(sample.facts, *sample.make(world));
    }
    for (const ChangeSample& sample : changeSamples()) {
      SCOPED_TRACE(sample.facts.name);
      sample.with(world, [&](const TavChange& change) { check(sample.facts, change); });
    }
  }
};

TEST_F(Identity, EveryClassOfTheLibrarysHeadersHasASample) {
  std::set<std::string> sampled, declared;
  for (const ClassFacts& facts : allClasses()) sampled.insert(facts.name);
  const auto headers = std::filesystem::path(__FILE__).parent_path() / ".." / ".." / "expression";
  const std::string kBefore = "kTypeName = \"";
  for (const auto& file : std::filesystem::recursive_directory_iterator(headers)) {
    if (file.path().extension() != ".h") continue;
    std::stringstream content;
    content << std::ifstream(file.path()).rdbuf();
    const std::string textOfFile = content.str();
    for (auto at = textOfFile.find(kBefore); at != std::string::npos; at = textOfFile.find(kBefore, at)) {
      at += kBefore.size();
      declared.insert(textOfFile.substr(at, textOfFile.find('"', at) - at));
    }
  }
  EXPECT_EQ(sampled, declared);
}

TEST_F(Identity, TokensArePairwiseDistinctAndSizesAreTheObjects) {
  std::set<TavTypeInfo> tokens{TavExtractableI::GetTypeInfo(), TavChange::GetTypeInfo()};
  for (const ClassFacts& facts : allClasses()) EXPECT_TRUE(tokens.insert(facts.token()).second) << facts.name;
  EXPECT_EQ(tokens.size(), allClasses().size() + 2);
}

TEST_F(Identity, ObjectsAnswerAsTheirClassDoes) {
  std::set<std::string> names;
  forEachObject([&](const ClassFacts& facts, const auto& object) {
    EXPECT_TRUE(names.insert(object.getRttiTypeName()).second);
    EXPECT_STREQ(object.getRttiTypeName(), facts.name);
    EXPECT_EQ(object.getTypeInfo(), facts.token());
    EXPECT_EQ(object.getBaseTypeInfo(), facts.tokenOfBase());
    EXPECT_EQ(facts.baseToken(), facts.tokenOfBase());
    EXPECT_EQ(object.getExtractableSize(), facts.size);
  });
}

TEST_F(Identity, AnObjectIsOfItsClassAndOfItsBasesAndOfNoOther) {
  forEachObject([&](const ClassFacts& facts, const auto& object) {
    std::set<TavTypeInfo> chain{facts.token()};
    for (TavTypeInfo next = facts.tokenOfBase(); next;) {
      chain.insert(next);
      TavTypeInfo base = nullptr;
      for (const ClassFacts& each : allClasses()) {
        if (each.token() == next) base = each.tokenOfBase();
      }
      next = base;
    }
    for (const ClassFacts& each : allClasses()) {
      EXPECT_EQ(object.isType(each.token()), chain.count(each.token()) == 1) << each.name;
    }
    EXPECT_EQ(object.isType(TavExtractableI::GetTypeInfo()), chain.count(TavExtractableI::GetTypeInfo()) == 1);
    EXPECT_EQ(object.isType(TavChange::GetTypeInfo()), chain.count(TavChange::GetTypeInfo()) == 1);
  });
}

TEST_F(Identity, AnIndexIsGivenOutByTheStaticFormAlone) {
  forEachObject([&](const ClassFacts& facts, const auto& object) {
    *facts.slot = 0;
    *facts.slotOfBase = 0;
    EXPECT_EQ(object.getTypeIndex(), 0);
    const TavInt last = TavRtti::_counter;
    EXPECT_EQ(facts.index(), last + 1);
    EXPECT_EQ(*facts.slotOfBase, 0);
    EXPECT_EQ(facts.index(), last + 1);
    EXPECT_EQ(object.getTypeIndex(), last + 1);
    EXPECT_EQ(object.getBaseTypeIndex(), last + 2);  // asking for the base's index gives it one
    EXPECT_EQ(facts.indexOfBase(), last + 2);
    EXPECT_EQ(TavRtti::_counter, last + 2);
  });
}

}  // namespace
