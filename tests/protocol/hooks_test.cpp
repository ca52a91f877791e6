#include "tests/support/samples.h"

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

class Hooks : public ProtocolTest {
 protected:
  /// Installs or removes the hooks of a class.
  static void set(const NodeSample& sample, bool installed) {
    *sample.extract = installed ? extractHook : nullptr;
    *sample.unextract = installed ? objectHook<2> : nullptr;
    *sample.modify = installed ? objectHook<3> : nullptr;
  }
  TavAlgorithm handle{&algorithm};
  int data = 0;
};

TEST_F(Hooks, AClassCallsItsOwnHooksAndFailsWhenAllOtherClassesHaveThem) {
  forEachNode([&](const NodeSample& sample, const TavExtractableI* object) {
    for (const NodeSample& each : nodeSamples()) set(each, &each != &sample);
    EXPECT_EQ(messageOf<TavAlgorithm::ExtractFailure>([&] { object->extractToCP(handle); }), "");
    EXPECT_THROW(object->unextractFromCP(handle, &data), TavAlgorithm::RemoveFailure);
    EXPECT_THROW(object->modifyCP(handle, &data), TavAlgorithm::RemoveFailure);
    for (const NodeSample& each : nodeSamples()) set(each, &each == &sample);
    EXPECT_EQ(object->extractToCP(handle), &call);
    EXPECT_EQ(call, (Call{1, object, nullptr, &algorithm}));
    object->unextractFromCP(handle, &data);
    EXPECT_EQ(call, (Call{2, object, &data, &algorithm}));
    object->modifyCP(handle, &data);
    EXPECT_EQ(call, (Call{3, object, &data, &algorithm}));
    set(sample, false);
  });
}

TEST_F(Hooks, AChangeRecordIsAppliedByItsOwnHookOrRefused) {
  for (const ChangeSample& sample : changeSamples()) {
    SCOPED_TRACE(sample.facts.name);
    for (const ChangeSample& each : changeSamples()) *each.apply = &each == &sample ? nullptr : applyHook;
    sample.with(world, [&](const TavChange& change) {
      try {
        change.applyToCP(handle, &data);
        ADD_FAILURE() << "nothing was thrown";
      } catch (const TavAlgorithm::CannotChangeException& refusal) {
        EXPECT_EQ(refusal.getAlgorithm(), &algorithm);
      }
      for (const ChangeSample& each : changeSamples()) *each.apply = nullptr;
      *sample.apply = applyHook;
      change.applyToCP(handle, &data);
      EXPECT_EQ(call, (Call{4, &change, &data, &algorithm}));
      *sample.apply = nullptr;
    });
  }
}

TEST_F(Hooks, AChangeRecordShowsItsVariableAsAPartOfTheObject) {
  struct Visitor final : TavChangeVisitor {
    void visitChild(TavExtractableI* object, TavExtractableI* part) override {
      owner = object;
      parts += std::string(part->getName()) + " ";
    }
    TavExtractableI* owner = nullptr;
    std::string parts;
  };
  for (const ChangeSample& sample : changeSamples()) {
    SCOPED_TRACE(sample.facts.name);
    sample.with(world, [&](const TavChange& change) {
      Visitor visitor;
      change.visitChange(env.getImpl(), world.p.getImpl(), &visitor);
      EXPECT_EQ(visitor.parts, sample.parts);
      const TavExtractableI* owner = world.p.getImpl();
      if (change.isType(TavConversionRemoveVar::GetTypeInfo())) owner = change.getChangedExtractable();
      EXPECT_EQ(visitor.owner, visitor.parts.empty() ? nullptr : owner);
      EXPECT_NE(change.isApplyingOnArray(), change.getChangedExtractable() != nullptr);
      EXPECT_EQ(change.isApplyingOnArray(), change.getChangedExtractableArray() != nullptr);
    });
  }
}

}  // namespace
