// A program without the library loads two plug-ins, each for itself: they still share one library. Its arguments are
// the plug-ins' files.
#include <dlfcn.h>

#include <iostream>

#include "plugin.h"

int main(int, char** arguments) {
  std::vector<ClassView> views[2];
  for (int i = 0; i < 2; ++i) {
    void* file = dlopen(arguments[i + 1], RTLD_NOW | RTLD_LOCAL);
    if (!file) {
      std::cerr << dlerror() << "\n";
      return 1;
    }
    views[i] = reinterpret_cast<const Plugin* (*)()>(dlsym(file, "tavPlugin"))()->classes();
  }
  return reportDifferences(views[0], views[1]);
}
