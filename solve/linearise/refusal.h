#pragma once
/// The answer to what cannot be linearised.

#include <stdexcept>

namespace tavlinear {

/// Says which row or objective, which expression in it, and why it has no exact linear form.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tavlinear
