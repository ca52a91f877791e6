// A plug-in that uses the library, as the program that loads it may do.
#include "plugin.h"
#include "views.h"

namespace {

TavNumExprI* makeSine(TavNumVarI* x) { return TavSin(TavNumVar(x)).getImpl(); }

void* extract(TavAlgorithm algorithm, const TavExtractableI* node) { return node->extractToCP(algorithm); }

void mixEnvironments() {
  TavEnv one, other;
  try {
    static_cast<void>(TavNumVar(one) + TavNumVar(other));
  } catch (...) {
    one.end();
    other.end();
    throw;
  }
}

bool catches(void (*thrower)()) {
  try {
    thrower();
  } catch (const TavWrongUsage&) {
    return true;
  } catch (...) {
  }
  return false;
}

}  // namespace

const Plugin* tavPlugin() {
  static const Plugin plugin{viewsOfAllClasses, makeSine, extract, mixEnvironments, catches};
  return &plugin;
}
