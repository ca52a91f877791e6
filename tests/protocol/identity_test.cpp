#include <filesystem>
#include <fstream>
#include <map>
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
    forEachNode([&](const NodeSample& sample, const TavExtractableI* node) { check(sample.facts, *node); });
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
