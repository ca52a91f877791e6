// The vector functions against the C library's in long double, in ulps, for every instruction set of this machine.

#include "evaluator/functions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using tavdetail::TavFunctions;
using tavdetail::TavInstructionSet;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();

/// |value - exact| in units of the last place of `exact` as a double; 0 for the same special value.
double ulps(double value, long double exact) {
  const auto rounded = static_cast<double>(exact);
  if (std::isnan(rounded)) return std::isnan(value) ? 0.0 : kInf;
  if (std::isinf(rounded) || std::isinf(value) || rounded == 0.0) {
    const bool same = value == rounded && std::signbit(value) == std::signbit(rounded);
    // Where the rounded value has just overflowed or vanished, the one before is an ulp away.
    return same ? 0.0 : std::nextafter(rounded, 0.0) == value || std::abs(value) == kTiny ? 1.0 : kInf;
  }
  int exponent = 0;
  std::frexp(rounded, &exponent);
  return static_cast<double>(std::abs(value - exact) / std::ldexp(1.0L, std::max(exponent - 53, -1074)));
}

std::vector<double> argumentsOf(double low, double high, bool logarithmic) {
  std::mt19937_64 random(1);
  std::vector<double> x{0.0,       -0.0, kInf,   -kInf,  std::nan(""),  kTiny,        -kTiny,  1e-310,
                        1.0,       -1.0, 1e22,   0x1p16, 709.8,         710.,         -745.14, -708.5,
                        0x1p-1022, 1e-8, M_PI,   M_PI_2, 2 * M_PI,      100 * M_PI_4, 1e300,   0.5,
                        5.0e-324,  10.0, 1000.0, 8.0,    1.0 - 0x1p-53, 1.0 + 0x1p-52};
  std::uniform_real_distribution<double> between(logarithmic ? std::log(low) : low,
                                                 logarithmic ? std::log(high) : high);
  for (int i = 0; i < 30000; ++i) x.push_back(logarithmic ? std::exp(between(random)) : between(random));
  return x;
}

class Functions : public testing::TestWithParam<TavInstructionSet> {
 protected:
  void SetUp() override {
    functions = tavdetail::functionsFor(GetParam());
    if (functions == nullptr) GTEST_SKIP() << "this processor does not have the instruction set";
  }

  const TavFunctions* functions = nullptr;
};

TEST_P(Functions, OfOneArgumentAreWithinAnUlp) {
  using Exact = long double (*)(long double);
  const struct {
    const char* name;
    TavFunctions::Unary function;
    Exact exact;
    double low, high;
    bool logarithmic;
  } table[] = {
      {"sin", functions->sine, std::sin, -10, 10, false},
      {"sin, large", functions->sine, std::sin, -7e4, 7e4, false},
      {"cos", functions->cosine, std::cos, -10, 10, false},
      {"cos, large", functions->cosine, std::cos, 1e-3, 7e4, true},
      {"tan", functions->tangent, std::tan, -10, 10, false},
      {"tan, all sizes", functions->tangent, std::tan, 1e-300, 1e7, true},
      {"exp", functions->exponent, std::exp, -750, 712, false},
      {"exp, small", functions->exponent, std::exp, -1, 1, false},
      {"log", functions->logarithm, std::log, 0.5, 2, false},
      {"log, all sizes", functions->logarithm, std::log, 1e-320, 1e308, true},
      {"log2", functions->logarithm2, std::log2, 0.5, 2, false},
      {"log2, all sizes", functions->logarithm2, std::log2, 1e-320, 1e308, true},
      {"log10", functions->logarithm10, std::log10, 0.5, 2, false},
      {"log10, all sizes", functions->logarithm10, std::log10, 1e-320, 1e308, true},
  };
  for (const auto& row : table) {
    const std::vector<double> x = argumentsOf(row.low, row.high, row.logarithmic);
    std::vector<double> y(x.size());
    row.function(x.data(), y.data(), static_cast<int>(x.size()));
    double worst = 0.0, at = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      if (const double error = ulps(y[i], row.exact(x[i])); error > worst) worst = error, at = x[i];
    }
    EXPECT_LT(worst, 1.0) << row.name << " at " << std::hexfloat << at;
    RecordProperty(row.name, std::to_string(worst));
  }
}

TEST_P(Functions, PowersAreWithinTwoUlps) {
  std::vector<double> bases = argumentsOf(1e-308, 1e308, true), exponents = argumentsOf(-1, 1, false);
  for (std::size_t i = 100; i < bases.size(); ++i) exponents[i] *= 745.0 / std::max(std::abs(std::log(bases[i])), 1e-3);
  for (const double special : argumentsOf(0.5, 2.0, false)) {
    bases.insert(bases.end(), {special, -2.5, 3.0, 0.999, special});
    exponents.insert(exponents.end(), {3.0, special, special, 700.0 * special, 0.5});
  }
  const std::vector<double> x = bases;
  functions->power(x.data(), exponents.data(), bases.data(), static_cast<int>(x.size()));
  double worst = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double error =
        ulps(bases[i], std::pow(static_cast<long double>(x[i]), static_cast<long double>(exponents[i])));
    worst = std::max(worst, error);
    ASSERT_LE(error, 2.0) << std::hexfloat << x[i] << " to the " << exponents[i] << " gives " << bases[i];
  }
  RecordProperty("pow", std::to_string(worst));
}

TEST_P(Functions, SineAndCosineTogetherAreThoseAlone) {
  const std::vector<double> x = argumentsOf(-100, 100, false);
  const int count = static_cast<int>(x.size());
  std::vector<double> sine(x.size()), cosine(x.size()), alone(x.size());
  functions->sineCosine(x.data(), sine.data(), cosine.data(), count);
  functions->sine(x.data(), alone.data(), count);
  for (std::size_t i = 0; i < x.size(); ++i) EXPECT_EQ(ulps(sine[i], static_cast<long double>(alone[i])), 0.0) << x[i];
  functions->cosine(x.data(), alone.data(), count);
  for (std::size_t i = 0; i < x.size(); ++i)
    EXPECT_EQ(ulps(cosine[i], static_cast<long double>(alone[i])), 0.0) << x[i];
}

INSTANTIATE_TEST_SUITE_P(Sets, Functions,
                         testing::Values(TavInstructionSet::Baseline, TavInstructionSet::Avx2,
                                         TavInstructionSet::Avx512));

}  // namespace
