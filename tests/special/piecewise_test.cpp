#include "tests/support/fixture.h"

class Piecewise : public TavTest {
 protected:
  /// Both arrays, both numbers, and points with the function's values there.
  struct Curve {
    std::vector<double> breakpoints, second;
    double first, last;
    std::vector<std::pair<double, double>> points;
  };
  TavNumArray doubles(const std::vector<double>& values) {
    TavNumArray array(env);
    for (double value : values) array.add(value);
    return array;
  }
  void check(const Curve& c, const std::function<TavNumExprArg(TavNumExprArg, TavNumArray, TavNumArray)>& build) {
    for (const auto& [x, expected] : c.points) {
      const double value = eval(build(leaf(x), doubles(c.breakpoints), doubles(c.second)));
      EXPECT_TRUE(std::isnan(expected) ? std::isnan(value) : value == expected)
          << "first number " << c.first << ", x " << x << ": " << value << " instead of " << expected;
    }
  }
};

TEST_F(Piecewise, SlopeForm) {
  const Curve curves[] = {
      {{0, 10}, {1, 2, 3}, 0, 0, {{5, 10}, {12, 26}, {-2, -2}, {10, 20}, {kInf, kInf}, {kNaN, kNaN}}},
      {{0, 10}, {1, 2, 3}, 20, 100, {{12, 76}, {5, 60}, {-2, 48}}},
      {{0, 10}, {1, 2, 3}, -5, 1, {{5, 16}}},
      {{5, 5}, {0, 7, 0}, 0, 0, {{4.999, 0}, {5, 7}, {9, 7}}},  // a jump
      {{5, 5}, {0, 7, 0}, 9, 7, {{5, 7}, {4, 0}}},
      {{5, 5}, {0, 7, 0}, 5, 0, {{5, 0}, {4, -7}}},
      {{1, 5, 5, 8}, {1, 2, -4, 0, 3}, 0, 0, {{9, 8}}},
      {{1, 5, 5, 8}, {1, 2, -4, 0, 3}, 9, 8, {{0, 0}}},
      {{}, {2}, 1, 3, {{4, 9}, {-4, -7}}},
      {{2}, {0, 1}, 2, 5, {{2, 5}, {3, 6}, {1, 5}}},
      {{0}, {1, 1}, kNaN, 0, {{3, kNaN}}},
  };
  for (const Curve& c : curves) {
    check(c, [&](auto x, auto points, auto slopes) { return TavPiecewiseLinear(x, points, slopes, c.first, c.last); });
  }
}

TEST_F(Piecewise, ValueFormTakesItsSegmentFromTheFirstSlope) {
  const Curve curves[] = {
      {{0, 10, 20}, {0, 5, 25}, -1, 0.5, {{15, -15}}},
      {{0, 10, 20}, {0, 5, 25}, 2, 0.5, {{15, 15}, {-10, -35}}},
      {{0, 10, 20}, {0, 5, 25}, 12, 0.5, {{15, 22.5}, {30, 30}}},
      {{0, 10, 20}, {0, 5, 25}, 20, 0.5, {{15, 15}, {30, 45}}},  // behind the last breakpoint: the last segment
      {{0, 0, 9}, {1, 2, 3}, 0, 0, {{0, 3}}},
      {{0, 7, 7}, {1, 2, 3}, 5, 0, {{1, -kInf}}},
      {{5}, {1}, 4, 2, {{7, 9}}},
      {{5}, {1}, 9, 2, {{7, 5}}},
      {{}, {}, 1, 1, {{1, kNaN}}},
  };
  for (const Curve& c : curves) {
    check(c, [&](auto x, auto points, auto values) { return TavPiecewiseLinear(x, c.first, points, values, c.last); });
  }
}

TEST_F(Piecewise, WithoutExpressionTheArgumentIsZero) {
  TavEnvI* e = env.getImpl();
  const TavNumExprArg node(new (e) TavExprPiecewiseLinearI(e, nullptr, doubles({0, 10}), doubles({1, 2, 3}), 5, 4));
  EXPECT_EQ(eval(node), -6.0);
  EXPECT_TRUE(children(node.getImpl()).empty());
  EXPECT_EQ(plain(node), "piecewiselinear(0 , [0, 10], [1, 2, 3], 5, 4)");
  EXPECT_EQ(library(node), plain(node));
  EXPECT_EQ(text(TavClonePass(e, other.getImpl()).clone(node.getImpl())), plain(node));
  EXPECT_EQ(library(TavPiecewiseLinear(leaf(1), 0.5, doubles({0, 10}), doubles({1, 2}), 4)),
            "piecewiselinear(leaf, 0.5, [0, 10], [1, 2], 4)");
}

TEST_F(Piecewise, OwnsItsArrays) {
  const TavNumExprArg x = leaf(5);
  TavNumArray breakpoints = doubles({0, 10}), slopes = doubles({1, 2, 3});
  const TavNumExpr node(TavPiecewiseLinear(x, breakpoints, slopes, 0, 0));
  breakpoints.set(0, 100);
  slopes.set(1, 100);
  EXPECT_EQ(eval(node), 10.0);
  const struct {
    TavNumExprArg x;
    TavNumArray first, second;
  } kCases[] = {{{}, slopes, slopes}, {x, {}, slopes}, {x, slopes, {}}};
  for (const auto& c : kCases) {
    EXPECT_EQ(messageOf<TavEmptyHandleException>([&] { TavPiecewiseLinear(c.x, c.first, c.second, 0, 0); }), "");
    EXPECT_EQ(messageOf<TavEmptyHandleException>([&] { TavPiecewiseLinear(c.x, 0, c.first, c.second, 0); }), "");
  }
}

TEST_F(Piecewise, AMonotonicFunctionAndItsCloneKeepBothFunctions) {
  const TavNumExprArg up = TavMonotonicIncreasingNumExpr(
      leaf(3), [](double v) { return std::sqrt(v); }, [](double v) { return std::exp(v); });
  const TavNumExprArg down = TavMonotonicDecreasingNumExpr(
      up, [](double v) { return 1 / v; }, nullptr);
  EXPECT_EQ(plain(down), "TavMonotonicDecreasingNumExpr(TavMonotonicIncreasingNumExpr(leaf))");
  EXPECT_EQ(eval(down), 1 / std::sqrt(3.0));
  TavClonePass pass(env.getImpl(), other.getImpl());
  EXPECT_EQ(static_cast<TavMonotonicNumExprI*>(pass.clone(up.getImpl()))->getSecondFunction()(0), 1.0);
}
