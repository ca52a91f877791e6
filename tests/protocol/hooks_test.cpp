#include "tests/support/protocol.h"

namespace {

/// What the last hook was called with.
struct Call {
  int hook = 0;
  const void* object = nullptr;
  void* data = nullptr;
  TavAlgorithmI* algorithm = nullptr;
  bool operator==(const Call&) const = default;
} call;

template <int Hook>
void objectHook(TavAlgorithm algorithm, const TavExtractableI* object, void* data) {
  call = {Hook, object, data, algorithm.getImpl()};
}
void* extractHook(TavAlgorithm algorithm, const TavExtractableI* object) {
  call = {1, object, nullptr, algorithm.getImpl()};
  return &call;
}
void applyHook(TavAlgorithm algorithm, const TavChange* change, void* data) {
  call = {4, change, data, algorithm.getImpl()};
}

using Hooks = ProtocolTest;

TEST_F(Hooks, AClassCallsItsOwnAndFailsWhenAllOtherClassesHaveTheirs) {
  const TavAlgorithm handle(&algorithm);
  forEachNode([&](const NodeSample& sample, const TavExtractableI* object) {
    const auto install = [&](bool own) {
      for (const NodeSample& each : nodeSamples()) {
        const bool installed = (&each == &sample) == own;
        *each.extract = installed ? extractHook : nullptr;
        *each.unextract = installed ? objectHook<2> : nullptr;
        *each.modify = installed ? objectHook<3> : nullptr;
      }
    };
    install(false);
    refuses<TavAlgorithm::ExtractFailure>("", {[&] { object->extractToCP(handle); }});
    refuses<TavAlgorithm::RemoveFailure>(
        "", {[&] { object->unextractFromCP(handle, this); }, [&] { object->modifyCP(handle, this); }});
    install(true);
    EXPECT_EQ(object->extractToCP(handle), &call);
    EXPECT_EQ(call, (Call{1, object, nullptr, &algorithm}));
    object->unextractFromCP(handle, this);
    EXPECT_EQ(call, (Call{2, object, this, &algorithm}));
    object->modifyCP(handle, this);
    EXPECT_EQ(call, (Call{3, object, this, &algorithm}));
  });
}

TEST_F(Hooks, AChangeRecordIsAppliedByItsOwnHookOrRefused) {
  const TavAlgorithm handle(&algorithm);
  forEachChange([&](const ChangeSample& sample, const TavChange& change) {
    for (const ChangeSample& each : changeSamples()) *each.apply = &each == &sample ? nullptr : applyHook;
    try {
      change.applyToCP(handle, this);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const TavAlgorithm::CannotChangeException& refusal) {
      EXPECT_EQ(refusal.getAlgorithm(), &algorithm);
    }
    for (const ChangeSample& each : changeSamples()) *each.apply = &each == &sample ? applyHook : nullptr;
    change.applyToCP(handle, this);
    EXPECT_EQ(call, (Call{4, &change, this, &algorithm}));
  });
}

TEST_F(Hooks, AChangeRecordShowsItsVariableAsAPartOfTheObject) {
  struct Visitor final : TavChangeVisitor {
    void visitChild(TavExtractableI* object, TavExtractableI* shown) override { owner = object, part = shown; }
    TavExtractableI* owner = nullptr;
    TavExtractableI* part = nullptr;
  };
  forEachChange([&](const ChangeSample& sample, const TavChange& change) {
    Visitor visitor;
    change.visitChange(env.getImpl(), o.x.getImpl(), &visitor);
    EXPECT_EQ(visitor.part ? visitor.part->getName() : std::string(), sample.part);
    const bool ofConversion = change.isType(TavConversionRemoveVar::GetTypeInfo());
    EXPECT_EQ(visitor.owner, ofConversion ? change.getChangedExtractable() : visitor.part ? o.x.getImpl() : nullptr);
    EXPECT_NE(change.isApplyingOnArray(), change.getChangedExtractable() != nullptr);
    EXPECT_EQ(change.isApplyingOnArray(), change.getChangedExtractableArray() != nullptr);
  });
}

}  // namespace
