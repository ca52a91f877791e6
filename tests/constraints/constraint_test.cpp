#include "tests/support/fixture.h"

namespace {

class RowI final : public TavNode<RowI, TavConstraintI> {
 public:
  static constexpr const char* kTypeName = "RowI";
  using TavNode::TavNode;
  void visitSubExtractables(TavExtractableVisitor*) override {}
};

/// Gives a value to one variable, and to constraints when `constraints` is set.
struct Values final : TavAlgorithmI {
  Values(TavEnvI* env, TavNumVar variable) : TavAlgorithmI(env), known(variable.getImpl()) {}
  double getValue(const TavNumVarI* variable) const override {
    return variable == known ? 0.25 : throw TavAlgorithm::Exception("no value", 0);
  }
  double getValue(const TavIntExprI* expression) const override {
    return constraints ? 0.5 : TavAlgorithmI::getValue(expression);
  }
  const TavNumVarI* known;
  bool constraints = false;
};

class Constraints : public TavTest {
 protected:
  TavIntExprArg row{new (env.getImpl()) RowI(env.getImpl(), "row")};
};

TEST_F(Constraints, AskTheEvaluatorFirstAndVariablesTheAlgorithm) {
  const TavNumVar v(env, 0, 1), w(env, 0, 1);
  const TavModelEvaluator evaluator = env.getImpl()->getModelEvaluator();
  Values values(env.getImpl(), v);
  const TavAlgorithm handle(&values);
  const auto ask = [&](TavNumExprArg expression) { return expression.eval(handle); };
  refuses<TavAlgorithm::Exception>("no value", {[&] { ask(w); }});
  EXPECT_THROW(ask(row), TavAlgorithm::Exception);
  EXPECT_THROW(handle.getValue(intLeaf(1)), TavAlgorithm::Exception);
  EXPECT_EQ(handle.getValue(v) + handle.getValue(TavIntExprArg(v.getImpl())), 0.5);
  values.constraints = true;
  EXPECT_EQ(ask(row * 4 + 1), 3.0);
  evaluator.activate([&](TavIntExprI* node) { return TavInt{node == w.getImpl() ? 7 : 8}; });
  EXPECT_EQ(ask(w), 7.0);
  EXPECT_EQ(ask(v), 0.25);
  EXPECT_EQ(ask(row), 8.0);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw 5; });
  EXPECT_EQ(ask(row), 0.5);
  evaluator.activate([](TavIntExprI*) -> TavInt { throw TavModelEvaluator::Unbound(); });
  EXPECT_THROW(ask(row), TavModelEvaluator::Unbound);
  refuses<TavAlgorithm::Exception>("no value", {[&] { ask(w); }});  // the first failure
  evaluator.deactivate();
  EXPECT_THROW(evaluator.evaluate(TavIntExprArg(w.getImpl())), TavModelEvaluator::Unbound);
}

TEST_F(Constraints, TheHooksOfAdditionAndRemovalAreSharedByAllClasses) {
  static std::string called;
  static const void* with;
  const auto hook = [](TavAlgorithm, const TavExtractableI* object, void* data) {
    called += object->getName();
    with = data;
  };
  const TavExtractableI* truth = new (env.getImpl()) TavConstConstraintI(env.getImpl(), "truth", 1);
  for (const TavExtractableI* object : {static_cast<const TavExtractableI*>(row.getImpl()), truth}) {
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
  EXPECT_EQ(called, "rowrowtruthtruth");
  TavConstraintI::_addToCP = nullptr;
}

}  // namespace
