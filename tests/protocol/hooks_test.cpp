#include "tests/support/protocol.h"

namespace {

/// The arguments of the last call of a hook.
struct Call {
  int hook = 0;
  const void* object = nullptr;
  void* data = nullptr;
  TavAlgorithmI* algorithm = nullptr;
  bool operator==(const Call&) const = default;
} call;

template <int Hook, class Object>
void hook(TavAlgorithm algorithm, const Object* object, void* data) {
  call = {Hook, object, data, algorithm.getImpl()};
}
void* extractHook(TavAlgorithm algorithm, const TavExtractableI* object) {
  call = {1, object, nullptr, algorithm.getImpl()};
  return &call;
}

/// Installs hooks for the class of this name only, or for all other classes only.
void install(const std::string& name, bool own) {
#define TAV_NODE(Class, Base)                                                                                        \
  if (const bool set = (name == Class::kTypeName) == own; true)                                                      \
    Class::_extractCP = set ? extractHook : nullptr, Class::_unextractCP = set ? hook<2, TavExtractableI> : nullptr, \
    Class::_modifyCP = set ? hook<3, TavExtractableI> : nullptr;
#define TAV_CHANGE(Class) Class::_applyCP = (name == Class::kTypeName) == own ? hook<4, TavChange> : nullptr;
#include "expression/classes.inc"
#undef TAV_NODE
#undef TAV_CHANGE
}

using Hooks = ProtocolTest;

TEST_F(Hooks, AClassCallsItsOwnAndFailsWhenAllOtherClassesHaveTheirs) {
  const TavAlgorithm handle(&algorithm);
  const auto expectCall = [&](int hook, const void* object, void* data) {
    EXPECT_EQ(call, (Call{hook, object, data, &algorithm}));
  };
  forEachNode([&](const NodeSample& sample, const TavExtractableI* object) {
    install(sample.name, false);
    refuses<TavAlgorithm::ExtractFailure>("", {[&] { object->extractToCP(handle); }});
    refuses<TavAlgorithm::RemoveFailure>(
        "", {[&] { object->unextractFromCP(handle, this); }, [&] { object->modifyCP(handle, this); }});
    install(sample.name, true);
    EXPECT_EQ(object->extractToCP(handle), &call);
    expectCall(1, object, nullptr);
    object->unextractFromCP(handle, this);
    expectCall(2, object, this);
    object->modifyCP(handle, this);
    expectCall(3, object, this);
  });
  forEachChange([&](const ChangeSample& sample, const TavChange& change) {
    install(sample.name, false);
    try {
      change.applyToCP(handle, this);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const TavAlgorithm::CannotChangeException& refusal) {
      EXPECT_EQ(refusal.getAlgorithm(), &algorithm);
    }
    install(sample.name, true);
    change.applyToCP(handle, this);
    expectCall(4, &change, this);
  });
}

TEST_F(Hooks, AChangeRecordShowsItsVariableAsAPartOfTheObject) {
  forEachChange([&](const ChangeSample& sample, const TavChange& change) {
    struct Visitor final : TavChangeVisitor {
      void visitChild(TavExtractableI* object, TavExtractableI* shown) override { owner = object, part = shown; }
      TavExtractableI *owner = nullptr, *part = nullptr;
    } visitor;
    change.visitChange(env.getImpl(), o.x.getImpl(), &visitor);
    EXPECT_EQ(visitor.part ? visitor.part->getName() : std::string(), sample.part);
    const bool ofConversion = change.isType(TavConversionRemoveVar::GetTypeInfo());
    EXPECT_EQ(visitor.owner, ofConversion ? change.getChangedExtractable() : visitor.part ? o.x.getImpl() : nullptr);
    EXPECT_NE(change.isApplyingOnArray(), change.getChangedExtractable() != nullptr);
    EXPECT_EQ(change.isApplyingOnArray(), change.getChangedExtractableArray() != nullptr);
  });
}

}  // namespace
