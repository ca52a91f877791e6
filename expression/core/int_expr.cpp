#include "expression/core/int_linear.h"

TavIntLinTermI* TavIntExprI::toIntLinTermI() {
  auto linear = TavMakeNode<TavIntLinTermI>(getEnv(), getEnv(), 0);
  linear->append(this);
  return linear.release();
}
