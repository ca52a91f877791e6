#include "expression/core/linear.h"

TavRemovalMarks::TavRemovalMarks(TavEnvI* env, TavExtractableArray objects) : _env(env), _count(env->markedCount()) {
  env->markRemoved(objects);
}

bool TavContains(TavExtractableArray objects, const TavExtractableI* object) noexcept {
  TavArrayReader<const TavExtractableI*> element(objects.getImpl());
  for (TavInt left = objects.getSize(); left > 0; --left) {
    if (element.next() == object) return true;
  }
  return false;
}
