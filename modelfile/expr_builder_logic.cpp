#include <cassert>
#include <utility>

#include "expression/core/array_family.h"
#include "modelfile/compositions.h"
#include "modelfile/expr_builder.h"

// Statements become integer expressions of value 1 or 0: max(sgn(a - b), 0) for a > b, |sgn(a - b)| for a != b.

TavBuildItem TavExprBuilder::greater(Item& a, Item& b) {
  Item difference = subtract(a, b);
  return Item::ofTruth(tavcompose::positive(TavNumExprArg(nodeOf(difference))));
}

TavBuildItem TavExprBuilder::different(Item& a, Item& b) {
  Item difference = subtract(a, b);
  return Item::ofTruth(tavcompose::nonZero(TavNumExprArg(nodeOf(difference))));
}

TavBuildItem TavExprBuilder::negated(Item x) { return Item::ofTruth(tavcompose::negated(truthOf(x))); }

TavBuildItem TavExprBuilder::applyLogical(TavFileOp op, std::span<Item> args) {
  switch (op) {
    case TavFileOp::GreaterThan:
    case TavFileOp::NotCountAtLeast:  // n > count
      return greater(args[0], args[1]);
    case TavFileOp::LessThan:
    case TavFileOp::NotCountAtMost:  // n < count
      return greater(args[1], args[0]);
    case TavFileOp::AtMost:
    case TavFileOp::CountAtLeast:  // n <= count
      return negated(greater(args[0], args[1]));
    case TavFileOp::AtLeast:
    case TavFileOp::CountAtMost:  // n >= count
      return negated(greater(args[1], args[0]));
    case TavFileOp::NotEqual:
    case TavFileOp::NotCountExactly:
      return different(args[0], args[1]);
    case TavFileOp::Equal:
    case TavFileOp::CountExactly:
      return negated(different(args[0], args[1]));
    case TavFileOp::AllDifferent:
      return allDifferent(args);
    case TavFileOp::NotAllDifferent:
      return negated(allDifferent(args));
    default:
      return connect(op, args);
  }
}

TavBuildItem TavExprBuilder::connect(TavFileOp op, std::span<Item> args) {
  for (Item& arg : args) truthOf(arg);
  switch (op) {
    case TavFileOp::Not:
      return negated(args[0]);
    case TavFileOp::Iff:
      return negated(different(args[0], args[1]));
    case TavFileOp::Implies:
      return Item::ofTruth(new (_env) TavConditionalIntExprI(_env, args[0].node, truthOf(args[1]), truthOf(args[2]),
                                                             TavInt{0}, TavInt{0}));
    default:
      break;
  }
  if (args.size() == 1) return std::exchange(args[0], Item());
  if (op == TavFileOp::And || op == TavFileOp::All) {
    return Item::ofTruth(TavMakeArrayNode<TavIntMinArrayI>(_env, truthsOf(args)));
  }
  assert((op == TavFileOp::Or || op == TavFileOp::Any) && "the table has no other statement");
  return Item::ofTruth(TavMakeArrayNode<TavIntMaxArrayI>(_env, truthsOf(args)));
}

TavBuildItem TavExprBuilder::numberOf(std::span<Item> args) {
  Item wanted = scale(args[0], -1.0);
  TavIntExprArray signs{TavEnv(_env)};
  TavGuard<TavArrayI> guard(signs.getImpl());
  for (Item& arg : args.subspan(1)) signs.add(TavIntExprArg(signOfSum(arg, wanted)));
  guard.release();
  return {.kind = Item::Node, .node = TavMakeArrayNode<TavCountI>(_env, signs, TavInt{0})};
}

TavBuildItem TavExprBuilder::allDifferent(std::span<Item> args) {
  TavIntExprArray pairs{TavEnv(_env)};
  TavGuard<TavArrayI> guard(pairs.getImpl());
  for (std::size_t i = 1; i < args.size(); ++i) {
    keep(args[i]);
    Item negative = scale(args[i], -1.0);
    for (Item& other : args.first(i)) pairs.add(TavIntExprArg(new (_env) TavIntAbsI(_env, signOfSum(other, negative))));
  }
  pairs.add(TavIntExprArg(new (_env) TavIntLinTermI(_env, 1)));  // also for one argument, which differs from all others
  guard.release();
  return Item::ofTruth(TavMakeArrayNode<TavIntMinArrayI>(_env, pairs));
}

void TavExprBuilder::keep(Item& item) {
  if (item.kind == Item::Sum) item.kind = Item::Node;
}

TavSgnI* TavExprBuilder::signOfSum(Item& a, Item& b) {
  keep(a);
  keep(b);
  auto sum = TavMakeNode<TavNumLinTermI>(_env, _env, 0.0);
  addTo(sum.get(), a);
  addTo(sum.get(), b);
  return new (_env) TavSgnI(_env, sum.release());
}
