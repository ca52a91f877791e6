#include "tests/support/fixture.h"

namespace {

class RowI final : public TavNode<RowI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "RowI";
  using TavNode::TavNode;
  void visitSubExtractables(TavExtractableVisitor*) override {}
};

class Constraints : public TavTest {
 protected:
  TavConstraint constant(const char* name, TavInt truth) {
    return TavConstraint(new (env.getImpl()) TavConstConstraintI(env.getImpl(), name, truth));
  }
  TavConstraint row{new (env.getImpl()) RowI(env.getImpl(), "row")};
  double holds = 0.5;
};

TEST_F(Constraints, ConstantOnesAreTrueForAnythingButZeroInBothSyntaxes) {
  for (const TavInt truth : {TavInt{0}, TavInt{1}, TavInt{-7}}) {
    const TavConstraint c = constant("named", truth);
    EXPECT_EQ(TavIntExprArg(c).eval(TavAlgorithm()), truth ? 1.0 : 0.0);
    EXPECT_EQ(plain(c), truth ? "TrueConstraint " : "FalseConstraint ");
    EXPECT_EQ(library(c), plain(c));
  }
}

TEST_F(Constraints, TheEvaluatorIsAskedBeforeTheAlgorithmAndOnlyUnboundPasses) {
  const TavModelEvaluator evaluator = env.getImpl()->getModelEvaluator();
  EXPECT_THROW(eval(TavIntExprArg(row)), TavAlgorithm::Exception);
  algorithm.constraintValue = &holds;
  EXPECT_EQ(eval(TavIntExprArg(row) * 4 + 1), 3.0);
  evaluator.activate([](TavIntExprI*) { return TavInt{3}; });
  EXPECT_EQ(eval(TavIntExprArg(row)), 3.0);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw TavException("other"); });
  EXPECT_EQ(eval(TavIntExprArg(row)), 0.5);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw 5; });
  EXPECT_EQ(eval(TavIntExprArg(row)), 0.5);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw TavModelEvaluator::Unbound(); });
  EXPECT_THROW(eval(TavIntExprArg(row)), TavModelEvaluator::Unbound);
}

TEST_F(Constraints, TheHooksOfAdditionAndRemovalAreSharedByAllClasses) {
  static std::vector<const void*> called;
  called.clear();
  const auto add = [](TavAlgorithm, const TavExtractableI* object, void* data) { called = {object, data}; };
  const auto remove = [](TavAlgorithm, const TavExtractableI* object, void*) { called = {object}; };
  for (const TavConstraint constraint : {row, constant(nullptr, 1)}) {
    const TavExtractableI* object = constraint.getImpl();
    EXPECT_THROW(object->whenAddedToCP(&algorithm, this), TavAlgorithm::ExtractFailure);
    EXPECT_THROW(object->whenRemovedFromCP(&algorithm, this), TavAlgorithm::ExtractFailure);
    TavConstraintI::_addToCP = add;
    object->whenAddedToCP(&algorithm, this);
    EXPECT_EQ(called, (std::vector<const void*>{object, this}));
    EXPECT_THROW(object->whenRemovedFromCP(&algorithm, this), TavAlgorithm::ExtractFailure);
    TavConstraintI::_removeFromCP = remove;
    object->whenRemovedFromCP(&algorithm, this);
    EXPECT_EQ(called, std::vector<const void*>{object});
    TavConstraintI::_addToCP = TavConstraintI::_removeFromCP = nullptr;
  }
}

}  // namespace
