#include <cmath>
#include <cstring>
#include <random>

#include "tests/support/fixture.h"

namespace {

/// The text by the rules, step by step, from the digits of the C library.
std::string model(double x, int precision) {
  const int p = precision == -1 || precision > 14 ? 14 : precision < 1 ? 1 : precision;
  if (!std::isfinite(x)) return "?";
  char scratch[64];
  std::snprintf(scratch, sizeof scratch, "%.*e", p, std::fabs(x));
  const std::string formatted = scratch;
  const int exponent = std::stoi(formatted.substr(formatted.find('e') + 1));
  const std::string digits = formatted[0] + formatted.substr(2, static_cast<std::size_t>(p));
  const auto strip = [](std::string fraction) {
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    return fraction.empty() ? fraction : "." + fraction;
  };
  if (exponent > p || exponent < -6) {
    return digits.substr(0, 1) + strip(digits.substr(1)) + (exponent < 0 ? "e-" : "e+") +
           std::to_string(std::abs(exponent));
  }
  if (exponent >= 0) {
    const auto whole = static_cast<std::size_t>(exponent) + 1;
    return digits.substr(0, whole) + strip(digits.substr(whole));
  }
  std::string fraction = digits.substr(1);
  while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
  return "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits[0] + fraction;
}

std::string convert(double x, int precision) {
  char out[64];
  std::memset(out, '#', sizeof out);
  int status = 7;
  const int length = convertTavNum(out, x, precision, &status);
  EXPECT_EQ(status, std::isfinite(x) ? 0 : -1);
  EXPECT_EQ(std::strlen(out), static_cast<std::size_t>(length));
  EXPECT_LT(length, 24);
  return out;
}

TEST(NumberText, ReadsAsItIsWritten) {
  const struct {
    double x;
    int precision;
    const char* text;
  } kCases[] = {{0.1, 6, "0.1"},
                {1e15, 6, "1e+15"},
                {-2.5, 6, "2.5"},
                {1.5e20, 6, "1.5e+20"},
                {1e-7, 6, "1e-7"},
                {1.5e-3, 6, "0.0015"},
                {123.45, 6, "123.45"},
                {1200, 6, "1200"},
                {-0.0, 6, "0"},
                {kNaN, 6, "?"},
                {1234567, 6, "1234567"},
                {-kInf, 6, "?"},
                {1.0 / 3, -1, "0.333333333333333"},
                {1.0 / 3, 0, "0.33"}};
  for (const auto& c : kCases) EXPECT_EQ(convert(c.x, c.precision), c.text);
}

TEST(NumberText, FollowsTheModelOverASweep) {
  std::mt19937_64 random(3);
  for (int precision = -3; precision <= 17; ++precision) {
    for (int exponent = -20; exponent <= 20; ++exponent) {
      for (const double mantissa :
           {1.0, 1.5, 9.9995, 9.99999999999999, 5.0 + static_cast<double>(random() % 1000000) / 1e6}) {
        const double x = mantissa * std::pow(10.0, exponent);
        ASSERT_EQ(convert(x, precision), model(x, precision)) << x << " " << precision;
        ASSERT_EQ(convert(-x, precision), model(x, precision)) << x << " " << precision;
      }
    }
  }
}

TEST(NumberText, WholeNumbersAreToldFromOthers) {
  for (const double x : {0.0, -0.0, 3.0, -3.0, 1e300, 0x1p53}) EXPECT_TRUE(TavNumIsInteger(x)) << x;
  for (const double x : {0.5, -0.5, 1e-300, 2.0000001, kInf, -kInf, kNaN}) EXPECT_FALSE(TavNumIsInteger(x)) << x;
}

}  // namespace
