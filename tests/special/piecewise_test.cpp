#include "tests/support/fixture.h"

class Piecewise : public TavTest {
 protected:
  /// Both arrays, both numbers, and points with the function's values there.
  struct Curve {
    std::initializer_list<double> breakpoints, second;
    double first, last;
    std::initializer_list<std::pair<double, double>> points;
  };
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
    for (const auto& [x, value] : c.points) {
      expectValue(TavPiecewiseLinear(leaf(x), nums(c.breakpoints), nums(c.second), c.first, c.last), value);
    }
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
    for (const auto& [x, value] : c.points) {
      expectValue(TavPiecewiseLinear(leaf(x), c.first, nums(c.breakpoints), nums(c.second), c.last), value);
    }
  }
}

TEST_F(Piecewise, WithoutExpressionTheArgumentIsZero) {
  TavEnvI* e = env.getImpl();
  const TavNumExprArg node(new (e) TavExprPiecewiseLinearI(e, nullptr, nums({0, 10}), nums({1, 2, 3}), 5, 4));
  EXPECT_EQ(eval(node), -6.0);
  EXPECT_TRUE(children(node.getImpl()).empty());
  EXPECT_EQ(plain(node), "piecewiselinear(0 , [0, 10], [1, 2, 3], 5, 4)");
  EXPECT_EQ(plain(TavClonePass(e, other.getImpl()).clone(node.getImpl())), plain(node));
  EXPECT_EQ(library(TavPiecewiseLinear(leaf(1), 0.5, nums({0, 10}), nums({1, 2}), 4)),
            "piecewiselinear(leaf, 0.5, [0, 10], [1, 2], 4)");
}

TEST_F(Piecewise, RefusesEmptyHandles) {
  const TavNumExprArg x = leaf(5);
  const TavNumArray slopes = nums({1, 2, 3}), none;
  refusesEmpty(
      {[&] { TavPiecewiseLinear({}, slopes, slopes, 0, 0); }, [&] { TavPiecewiseLinear(x, none, slopes, 0, 0); },
       [&] { TavPiecewiseLinear(x, slopes, none, 0, 0); }, [&] { TavPiecewiseLinear({}, 0, slopes, slopes, 0); },
       [&] { TavPiecewiseLinear(x, 0, none, slopes, 0); }, [&] { TavPiecewiseLinear(x, 0, slopes, none, 0); }});
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
