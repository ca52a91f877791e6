#include "tests/support/protocol.h"

using Evaluation = ProtocolTest;

TEST_F(Evaluation, EvaluatesEveryOperandOnceInTheOrderOfAVisitExceptInTheseClasses) {
  const std::map<std::string, std::string> kOthers = {
      {"TavDistToIntI", "xx"},           {"TavNumMinArrayI", "xxy"},        {"TavNumMaxArrayI", "xxy"},
      {"TavIntMinArrayI", "iij"},        {"TavIntMaxArrayI", "iij"},        {"TavStandardDeviationI", "ijij"},
      {"TavNumExprArrayElementI", "iy"}, {"TavIntExprArrayElementI", "ij"}, {"TavConditionalNumExprI", "ix"},
      {"TavConditionalIntExprI", "ii"}};
  forEachNode([&](const NodeSample& sample, TavExtractableI* node) {
    if (!node->isType(TavNumExprI::GetTypeInfo())) return;
    std::string wanted;
    for (const TavExtractableI* child : childrenOf(node)) wanted += child->isRefCountedExpr() ? child->getName() : "";
    if (kOthers.count(sample.name)) wanted = kOthers.at(sample.name);
    evaluatedLeaves = "";
    if (node->isType(TavNumVarI::GetTypeInfo())) algorithm[TavNumVar(static_cast<TavNumVarI*>(node))] = 1;
    eval(TavNumExprArg(static_cast<TavNumExprI*>(node)));
    EXPECT_EQ(evaluatedLeaves, wanted);
  });
}
