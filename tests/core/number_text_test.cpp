#include <random>

#include "tests/support/fixture.h"

namespace {

std::string convert(double x, int precision) {
  char out[64] = {};
  int status = 7;
  const int length = convertTavNum(out, x, precision, &status);
  EXPECT_EQ(status, std::isfinite(x) ? 0 : -1);
  EXPECT_EQ(std::string(out).size(), static_cast<std::size_t>(length));
  EXPECT_LT(length, 24);
  return out;
}

TEST(NumberText, ReadsAsItIsWritten) {
  const struct {
    double x;
    int precision;
    const char* text;
  } kCases[] = {{0.1, 6, "0.1"},       {-2.5, 6, "2.5"},        {1.5e20, 6, "1.5e+20"},
                {1e-7, 6, "1e-7"},     {1e-6, 6, "0.000001"},   {9.99999999e-7, 6, "0.000001"},
                {9.9999996, 6, "10"},  {1e7, 6, "1e+7"},        {9999999.6, 6, "1e+7"},
                {1.5e-3, 6, "0.0015"}, {1200, 6, "1200"},       {-0.0, 6, "0"},
                {kNaN, 6, "?"},        {-kInf, 6, "?"},         {1.0 / 3, -1, "0.333333333333333"},
                {1.0 / 3, 0, "0.33"},  {1234567, 6, "1234567"}, {1.0 / 3, 15, "0.333333333333333"},
                {123.45, 6, "123.45"}, {1e15, 14, "1e+15"},     {1e14, 14, "100000000000000"}};
  for (const auto& c : kCases) EXPECT_EQ(convert(c.x, c.precision), c.text);
}

TEST(NumberText, HasTheDigitsOfTheCLibraryAndNoTrailingZeros) {
  std::mt19937 random(3);
  for (int precision = -3; precision <= 17; ++precision) {
    const int digits = precision == -1 || precision > 14 ? 14 : precision < 1 ? 1 : precision;
    for (int exponent = -20; exponent <= 20; ++exponent) {
      for (const double mantissa :
           {1.0, 9.9995, 9.99999999999999, 5.0 + static_cast<double>(random() % 1000000) / 1e6}) {
        const double x = mantissa * std::pow(10.0, exponent);
        char expected[64];
        std::snprintf(expected, sizeof expected, "%.*e", digits, x);
        const std::string found = convert(x, precision), number = found.substr(0, found.find('e'));
        const double shown = std::stod(found);
        ASSERT_EQ(shown, std::stod(expected)) << x << " " << precision;
        ASSERT_EQ(convert(-x, precision), found);
        ASSERT_TRUE(number.find('.') == number.npos || std::string("0.").find(number.back()) == number.npos) << found;
        ASSERT_EQ(number != found, shown < 1e-6 || shown >= std::pow(10.0, digits + 1)) << found;
      }
    }
  }
}

TEST(NumberText, WholeNumbersAreToldFromOthers) {
  for (const double x : {0.0, -0.0, 3.0, -3.0, 1e300, 0x1p53}) EXPECT_TRUE(TavNumIsInteger(x)) << x;
  for (const double x : {0.5, -0.5, 1e-300, 2.0000001, kInf, -kInf, kNaN}) EXPECT_FALSE(TavNumIsInteger(x)) << x;
}

}  // namespace
