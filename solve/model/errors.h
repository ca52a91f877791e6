#pragma once
/// The failure that the user can mend.

#include <stdexcept>

namespace tavsolve {

/// What is wrong with the command line or the model file, in one line.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The solver has failed: what it threw, in one line.
class SolverError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tavsolve
