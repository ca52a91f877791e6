#pragma once
// The addresses of each library class as the program or plug-in that includes this sees them.

#include "expression/nodes.h"
#include "plugin.h"

namespace {

std::vector<ClassView> viewsOfAllClasses() {
  return {
      {"TavExtractableI", TavExtractableI::GetTypeInfo(), nullptr, &TavExtractableI::_rttiIndex, nullptr},
      {"TavChange", TavChange::GetTypeInfo(), nullptr, &TavChange::_rttiIndex, nullptr},
#define VIEW(Class, hook) {Class::kTypeName, Class::GetTypeInfo(), Class::GetBaseTypeInfo(), &Class::_rttiIndex, &hook},
#define TAV_NODE(Class, Base) VIEW(Class, Class::_extractCP)
#define TAV_CHANGE(Class) VIEW(Class, Class::_applyCP)
#include "expression/classes.inc"
  };
}

}  // namespace
