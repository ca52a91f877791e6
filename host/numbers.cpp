#include "host/numbers.h"

// Written without the floating-point environment, whose rounding mode a client may have changed.
double TavVurRound(double x) noexcept {
  const double nearest = std::round(x);
  const bool half = std::fabs(x - std::trunc(x)) == 0.5;
  return half ? std::copysign(2.0 * std::round(std::fabs(x) / 2.0), x) : nearest;
}
