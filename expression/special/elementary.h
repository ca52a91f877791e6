#pragma once
/// Class header for authors of algorithms: elementary functions.

#include <cmath>

#include "expression/core/families.h"

#pragma GCC visibility push(default)

/// sin x.
class TavSinI final : public TavUnaryI<TavSinI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavSinI";
  static constexpr TavTexts kTexts{{"TavSin(", "", ") "}, {"sin(", "", ")"}};
  static double apply(double x) { return std::sin(x); }
};

/// cos x.
class TavCosI final : public TavUnaryI<TavCosI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavCosI";
  static constexpr TavTexts kTexts{{"TavCos(", "", ") "}, {"cos(", "", ")"}};
  static double apply(double x) { return std::cos(x); }
};

/// tan x.
class TavTanI final : public TavUnaryI<TavTanI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavTanI";
  static constexpr TavTexts kTexts{{"TavTan(", "", ") "}, {"tan(", "", ")"}};
  static double apply(double x) { return std::tan(x); }
};

/// The arc sine.
class TavArcSinI final : public TavUnaryI<TavArcSinI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavArcSinI";
  static constexpr TavTexts kTexts{{"TavArcSin(", "", ") "}, {"arc-sin(", "", ")"}};
  static double apply(double x) { return std::asin(x); }
};

/// The arc cosine.
class TavArcCosI final : public TavUnaryI<TavArcCosI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavArcCosI";
  static constexpr TavTexts kTexts{{"TavArcCos(", "", ") "}, {"arc-cos(", "", ")"}};
  static double apply(double x) { return std::acos(x); }
};

/// The arc tangent.
class TavArcTanI final : public TavUnaryI<TavArcTanI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavArcTanI";
  static constexpr TavTexts kTexts{{"TavArcTan(", "", ") "}, {"arc-tan(", "", ")"}};
  static double apply(double x) { return std::atan(x); }
};

/// The natural logarithm.
class TavLogI final : public TavUnaryI<TavLogI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavLogI";
  static constexpr TavTexts kTexts{{"TavLog(", "", ") "}, {"log(", "", ")"}};
  static double apply(double x) { return std::log(x); }
};

/// e to the power x.
class TavExponentI final : public TavUnaryI<TavExponentI, TavNumExprI> {
 public:
  using TavUnaryI::TavUnaryI;
  static constexpr const char* kTypeName = "TavExponentI";
  static constexpr TavTexts kTexts{{"TavExponent(", "", ") "}, {"exp(", "", ")"}};
  static double apply(double x) { return std::exp(x); }
};

static_assert(sizeof(TavSinI) == 48);

#pragma GCC visibility pop
