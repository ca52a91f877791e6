#include "expression/core/any_expr.h"

void TavAnyExprI::end() {
  if (--_refCount > 0) return;
  TavEnvI* env = getEnv();
  if (env->removeFromAllOnDestroy) {
    env->removeFromAllAndDestroy(this, 0);
  } else {
    env->destroy(this, 0);
  }
}

void TavAnyExprI::release() {
  if (!getEnv()->ending) end();
}
