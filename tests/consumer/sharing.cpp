// A program and its plug-ins share one library: type tokens, index slots and hooks are the same, and each catches the
// other's exceptions. With APART the program itself is not linked to the library; the plug-ins still share one. The
// arguments are the files of two plug-ins.
#include <dlfcn.h>

#include <cstdlib>
#include <iostream>

#include "plugin.h"

#ifdef APART
int faultsBetweenProgramAnd(const Plugin&) { return 0; }
#else
#include "views.h"

int faultsBetweenProgramAnd(const Plugin& plugin) {
  int faults = reportDifferences(viewsOfAllClasses(), plugin.classes());
  const auto expect = [&faults](bool holds, const char* what) {
    if (!holds) ++faults, std::cerr << "wrong: " << what << "\n";
  };
  const TavScopedEnv env;
  const TavNumExpr sine{TavNumExprArg(plugin.makeSine(TavNumVar(env).getImpl()))};
  expect(sine.getImpl()->isType(TavSinI::GetTypeInfo()), "the class of a node from the plug-in");
  expect(dynamic_cast<TavSinI*>(sine.getImpl()) != nullptr, "the C++ class of a node from the plug-in");
  static char mark;
  TavSinI::_extractCP = [](TavAlgorithm, const TavExtractableI*) -> void* { return &mark; };
  expect(plugin.extract(TavAlgorithm(nullptr), sine.getImpl()) == &mark, "the program's hook, called by the plug-in");

  struct CountingLock final : TavLock {
    void lock() override { ++taken; }
    void unlock() override {}
    int taken = 0;
  } lock;
  TavEnvI::Mutex = &lock;
  static_cast<void>(TavSinI::GetTypeIndex());
  expect(lock.taken == 1, "the program's lock, taken by the library");
  TavEnvI::Mutex = nullptr;

  bool caught = false;
  try {
    plugin.mixEnvironments();
  } catch (const TavException& failure) {
    caught = failure.getMessage() != nullptr;
  }
  expect(caught, "the program does not catch what the plug-in lets pass");
  expect(plugin.catches([] { throw TavWrongUsage("thrown by the program"); }), "the plug-in does not catch");
  return faults;
}
#endif

const Plugin& load(const char* name) {
  void* file = dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (!file) {
    std::cerr << dlerror() << "\n";
    std::exit(1);
  }
  return *reinterpret_cast<const Plugin* (*)()>(dlsym(file, "tavPlugin"))();
}

int main(int, char** arguments) {
  const Plugin &plugin = load(arguments[1]), &second = load(arguments[2]);
  return reportDifferences(plugin.classes(), second.classes()) + faultsBetweenProgramAnd(plugin);
}
