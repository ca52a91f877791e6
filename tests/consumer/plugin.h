#pragma once
// The interface between the programs and their plug-in.

#include <algorithm>
#include <iostream>
#include <vector>

#include "expression/tavexpression.h"

/// The addresses that one program or plug-in sees for a class.
struct ClassView {
  const char* name;
  TavTypeInfo token, base;
  const void* slot;
  const void* hook;
};

/// Compares two views and prints each class that differs. The number of differences.
inline int reportDifferences(const std::vector<ClassView>& here, const std::vector<ClassView>& there) {
  int differences = here.size() < 70 || here.size() != there.size();
  for (std::size_t i = 0; i < std::min(here.size(), there.size()); ++i) {
    const ClassView &a = here[i], &b = there[i];
    if (a.token == b.token && a.base == b.base && a.slot == b.slot && a.hook == b.hook) continue;
    std::cerr << "seen differently: " << a.name << "\n";
    ++differences;
  }
  return differences;
}

struct Plugin {
  std::vector<ClassView> (*classes)();
  /// sin(x), made by the plug-in.
  TavNumExprI* (*makeSine)(TavNumVarI* x);
  /// Calls the hook of the node's class.
  void* (*extract)(TavAlgorithm algorithm, const TavExtractableI* node);
  /// Adds variables of two environments, which throws a TavWrongUsage.
  void (*mixEnvironments)();
  /// Whether `thrower` threw a TavWrongUsage.
  bool (*catches)(void (*thrower)());
};

extern "C" [[gnu::visibility("default")]] const Plugin* tavPlugin();
