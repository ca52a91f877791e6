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
  TavConstraint constant(TavInt truth) {
    return TavConstraint(new (env.getImpl()) TavConstConstraintI(env.getImpl(), "named", truth));
  }
  TavIntExprArg row{new (env.getImpl()) RowI(env.getImpl(), "row")};
};

TEST_F(Constraints, ConstantOnesAreTrueForAnythingButZeroInBothSyntaxes) {
  for (const TavInt truth : {0, 1, -7}) {
    const TavConstraint c = constant(truth);
    EXPECT_EQ(TavIntExprArg(c).eval(TavAlgorithm()), truth ? 1.0 : 0.0);
    EXPECT_EQ(plain(c), truth ? "TrueConstraint " : "FalseConstraint ");
    EXPECT_EQ(library(c), plain(c));
    EXPECT_EQ(plain(c.getImpl()->makeClone(other.getImpl())), plain(c));
  }
}

TEST_F(Constraints, TheEvaluatorIsAskedBeforeTheAlgorithmAndOnlyUnboundPasses) {
  const TavModelEvaluator evaluator = env.getImpl()->getModelEvaluator();
  EXPECT_THROW(eval(row), TavAlgorithm::Exception);
  const double holds = 0.5;
  algorithm.constraintValue = &holds;
  EXPECT_EQ(eval(row * 4 + 1), 3.0);
  evaluator.activate([](TavIntExprI*) { return TavInt{3}; });
  EXPECT_EQ(eval(row), 3.0);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw 5; });
  EXPECT_EQ(eval(row), 0.5);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw TavModelEvaluator::Unbound(); });
  EXPECT_THROW(eval(row), TavModelEvaluator::Unbound);
}

TEST_F(Constraints, TheHooksOfAdditionAndRemovalAreSharedByAllClasses) {
  static std::string called;
  static const void* with;
  const auto hook = [](TavAlgorithm, const TavExtractableI* object, void* data) {
    called += object->getName();
    with = data;
  };
  const TavConstraint truth = constant(1);
  for (const TavExtractableI* object : {row.getImpl(), TavIntExprArg(truth).getImpl()}) {
    const auto added = [&] { object->whenAddedToCP(&algorithm, this); };
    const auto removed = [&] { object->whenRemovedFromCP(&algorithm, this); };
    TavConstraintI::_addToCP = nullptr;
    TavConstraintI::_removeFromCP = hook;
    refuses<TavAlgorithm::ExtractFailure>("", {added});
    removed();
    TavConstraintI::_addToCP = hook;
    TavConstraintI::_removeFromCP = nullptr;
    refuses<TavAlgorithm::ExtractFailure>("", {removed});
    added();
    EXPECT_EQ(with, this);
  }
  EXPECT_EQ(called, "rowrownamednamed");
  TavConstraintI::_addToCP = nullptr;
}

}  // namespace
