// A program and the plug-in that it loads see one library: the same type tokens, index slots and hooks, and each
// catches what the other throws. Its argument is the plug-in's file.
#include <dlfcn.h>

#include <iostream>

#include "plugin.h"
#include "views.h"

namespace {

int faults = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  std::cerr << "wrong: " << what << "\n";
  ++faults;
}

struct CountingLock : TavLock {
  void lock() override { ++taken; }
  void unlock() override {}
  int taken = 0;
};

bool throws(void (*call)()) {
  try {
    call();
  } catch (const TavException& failure) {
    return failure.getMessage() != nullptr;
  }
  return false;
}

}  // namespace

int main(int, char** arguments) {
  void* file = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (!file) {
    std::cerr << dlerror() << "\n";
    return 1;
  }
  const auto& plugin = *reinterpret_cast<const Plugin* (*)()>(dlsym(file, "tavPlugin"))();

  faults += reportDifferences(viewsOfAllClasses(), plugin.classes());

  TavEnv env;
  const TavNumExpr sine{TavNumExprArg(plugin.makeSine(TavNumVar(env).getImpl()))};
  expect(sine.getImpl()->isType(TavSinI::GetTypeInfo()), "the class of a node from the plug-in");
  expect(dynamic_cast<TavSinI*>(sine.getImpl()) != nullptr, "the C++ class of a node from the plug-in");
  TavSinI::_extractCP = [](TavAlgorithm, const TavExtractableI*) -> void* { return &faults; };
  expect(plugin.extract(TavAlgorithm(nullptr), sine.getImpl()) == &faults, "the program's hook, called by the plug-in");

  CountingLock lock;
  TavEnvI::Mutex = &lock;
  static_cast<void>(TavSinI::GetTypeIndex());
  expect(lock.taken == 1, "the program's lock, taken by the library");
  TavEnvI::Mutex = nullptr;

  expect(throws(plugin.mixEnvironments), "the program does not catch what the plug-in lets pass");
  expect(plugin.catches([] { throw TavWrongUsage("thrown by the program"); }), "the plug-in does not catch");
  env.end();
  return faults;
}
