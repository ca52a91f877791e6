#include <random>

#include "tests/support/fixture.h"

namespace {

std::string convert(double x, int precision) {
  char out[64] = {};
  int status = 7;
  convertTavNum(out, x, precision, &status);
  return out;
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

}  // namespace
