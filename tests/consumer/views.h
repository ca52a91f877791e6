#pragma once
// What the shared object that includes this sees of each class of the library.

#include "expression/nodes.h"
#include "plugin.h"

namespace {

template <class Class>
ClassView viewOf() {
  ClassView view{Class::kTypeName, Class::GetTypeInfo(), nullptr, &Class::_rttiIndex, nullptr};
  if constexpr (requires { Class::GetBaseTypeInfo(); }) view.base = Class::GetBaseTypeInfo();
  if constexpr (requires { Class::_extractCP; }) view.hook = &Class::_extractCP;
  if constexpr (requires { Class::_applyCP; }) view.hook = &Class::_applyCP;
  return view;
}

std::vector<ClassView> viewsOfAllClasses() {
  return {
#define VIEW(Class) viewOf<Class>(),
#include "all_classes.inc"
#undef VIEW
  };
}

}  // namespace
