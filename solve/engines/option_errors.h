#pragma once
/// What engines say of options of their solvers that they refuse.

#include <string>

#include "solve/model/errors.h"

namespace tavsolve {

inline InputError noOption(const std::string& engine, const std::string& name) {
  return InputError("engine " + engine + " has no option " + name);
}

inline InputError noValue(const std::string& engine, const std::string& name, const std::string& value) {
  return InputError("engine " + engine + " does not take the value " + value + " for its option " + name);
}

}  // namespace tavsolve
