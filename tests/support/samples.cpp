#include "tests/support/samples.h"

#include <algorithm>
#include <cmath>

namespace {

using O = const Operands&;
using Values = const std::vector<double>&;

/// A class that random programs do not compose.
template <class Class, class Make>
NodeSample special(Make) {
  return {Class::kTypeName, std::is_base_of_v<TavIntExprI, Class>,
          [](O o) -> TavExtractableI* { return Make()(o).getImpl(); }};
}

template <class Class, class Make>
NodeSample expression(const char* library, const char* plain, Value value, Make make) {
  NodeSample sample = special<Class>(make);
  sample.library = library;
  sample.plain = plain;
  sample.value = std::move(value);
  return sample;
}

/// A numeric expression that is integer when its operands and constants are.
template <class Class, class Make>
NodeSample following(const char* library, const char* plain, Value value, Make make) {
  NodeSample sample = expression<Class>(library, plain, std::move(value), make);
  sample.follows = true;
  return sample;
}

NodeSample folding(NodeSample sample) {
  sample.folds = true;
  return sample;
}

double times(double x, double y) { return x * y; }
double over(double x, double y) { return x / y; }
double min(double x, double y) { return y > x ? x : y; }
double max(double x, double y) { return x > y ? x : y; }
double power(double x, double y) { return std::pow(x, y); }
template <bool remainder>
double whole(double x, double y) {
  const TavInt a = TavTrunc(x), b = TavTrunc(y);
  if (b == 0 || (b == -1 && a == std::numeric_limits<TavInt>::min())) throw Undefined();
  return static_cast<double>(remainder ? a % b : a / b);
}
template <double (*f)(double, double)>
double swapped(double x, double y) {
  return f(y, x);
}
double square(double x) { return x * x; }
double sign(double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; }
double cut(double x) { return static_cast<double>(TavTrunc(x)); }
double fraction(double x) { return x - cut(x); }
double distance(double x) { return std::fabs(std::round(x) - x); }
double conversion(double x) {
  if (!std::isfinite(x) || std::trunc(x) != x) throw Undefined();
  return cut(x);
}
double least(Values v) {
  if (v.empty()) throw Undefined();
  return *std::min_element(v.begin(), v.end());
}
double greatest(Values v) {
  if (v.empty()) throw Undefined();
  return *std::max_element(v.begin(), v.end());
}
double count(Values v) { return static_cast<double>(std::count(v.begin(), v.end() - 1, v.back())); }
double deviation(Values v) {
  double sum = 0.0, squares = 0.0;
  for (const double x : v) sum += x;
  for (const double x : v) squares += square(x - sum / static_cast<double>(v.size()));
  return std::sqrt(squares / static_cast<double>(v.size()));
}
double element(Values v) {
  const TavInt i = TavTrunc(v[0]);
  if (i < 0 || i >= static_cast<TavInt>(v.size()) - 1) throw Undefined();
  return v[static_cast<std::size_t>(i) + 1];
}

TavNumLinTermI* numLinear(O o) {
  auto* linear = static_cast<TavNumLinTermI*>((2 * o.v + 0 * o.w + 1.5).getImpl());
  linear->append(o.x.getImpl());
  return linear;
}
TavIntLinTermI* intLinear(O o) {
  auto* linear = static_cast<TavIntLinTermI*>((2 * o.w + 0 * o.w + 4).getImpl());
  linear->append(o.i.getImpl());
  return linear;
}

/// i ? then : else.
template <class Node, class Arg>
Arg conditional(O o, Arg thenExpr, Arg elseExpr) {
  TavEnvI* env = o.env.getImpl();
  return Arg(new (env) Node(env, TavNumExprArg(o.i).getImpl(), thenExpr.getImpl(), elseExpr.getImpl(), 0, 0));
}

}  // namespace

const std::vector<NodeSample>& nodeSamples() {
  static const std::vector<NodeSample> kSamples = {
      special<TavNumVarI>([](O o) { return o.v; }),
      special<TavSemiContVarI>([](O o) { return TavSemiContVar(o.env, 1.0, 5.0); }),
      special<TavConstraintIndVarI>([](O o) { return TavNumVar(o.truth); }),
      special<TavConstConstraintI>([](O o) { return o.truth; }),
      special<TavConversionI>(
          [](O o) { return TavConversion(o.env, TavNumVarArray(o.env, 2, o.v, o.w), TavNumVar::Int); }),
      special<TavNumLinTermI>([](O o) { return TavNumExprArg(numLinear(o)); }),
      special<TavIntLinTermI>([](O o) { return TavIntExprArg(intLinear(o)); }),
      special<TavConditionalNumExprI>([](O o) { return conditional<TavConditionalNumExprI>(o, o.x, o.y); }),
      special<TavConditionalIntExprI>([](O o) { return conditional<TavConditionalIntExprI>(o, o.i, o.j); }),

      folding(following<TavNumTimesCstI>("( %x* %c) ", "%x * %c", times, [](O o) { return o.x * o.c; })),
      folding(expression<TavIntTimesCstI>("( %i* %k) ", "%i * %k", times, [](O o) { return o.i * o.k; })),
      folding(following<TavNumTimesI>("( %x* %y) ", "%x * %y", times, [](O o) { return o.x * o.y; })),
      expression<TavIntTimesI>("( %i* %j) ", "%i * %j", times, [](O o) { return o.i * o.j; }),
      folding(expression<TavNumDivCstI>("( %x/ %c) ", "%x/ %c", over, [](O o) { return o.x / o.c; })),
      expression<TavIntDivCstI>("( %i/ %k) ", "%i / %k", whole<false>, [](O o) { return TavDiv(o.i, o.k); }),
      expression<TavNumRecDivCstI>("( %c/ %x) ", "%c / %x", swapped<over>, [](O o) { return o.c / o.x; }),
      expression<TavIntRecDivCstI>("( %k/ %i) ", "%k / %i", swapped<whole<false>>,
                                   [](O o) { return TavDiv(o.k, o.i); }),
      expression<TavNumDivI>("( %x/ %y) ", "%x / %y", over, [](O o) { return o.x / o.y; }),
      expression<TavIntDivI>("( %i/ %j) ", "%i / %j", whole<false>, [](O o) { return TavDiv(o.i, o.j); }),
      expression<TavIntModuloI>("( %i% %j) ", "%i % %j", whole<true>, [](O o) { return o.i % o.j; }),
      expression<TavIntModuloCstI>("( %i% %k) ", "%i% %k", whole<true>, [](O o) { return o.i % o.k; }),
      expression<TavIntRecModuloCstI>("(%k% %i)", "%k % %i", swapped<whole<true>>, [](O o) { return o.k % o.i; }),

      following<TavNumPowerCstI>("( %x^ %c) ", "%x ^ %c", power, [](O o) { return TavPower(o.x, o.c); }),
      following<TavNumRecPowerCstI>("( %c^ %x) ", "%c ^ %x", swapped<power>, [](O o) { return TavPower(o.c, o.x); }),
      following<TavNumPowerI>("( %x^ %y) ", "%x ^ %y", power, [](O o) { return TavPower(o.x, o.y); }),
      following<TavNumSquareI>("TavSquare(%x) ", "square(%x)", square, [](O o) { return TavSquare(o.x); }),
      expression<TavIntSquareI>("TavSquare(%i) ", "square(%i)", square, [](O o) { return TavSquare(o.i); }),
      following<TavNumAbsI>("TavAbs(%x) ", "abs(%x)", std::fabs, [](O o) { return TavAbs(o.x); }),
      expression<TavIntAbsI>("TavAbs(%i) ", "abs(%i)", std::fabs, [](O o) { return TavAbs(o.i); }),
      expression<TavSgnI>("TavSgn(%x) ", "sgn(%x)", sign, [](O o) { return TavSgn(o.x); }),

      following<TavNumMinCstI>("TavMin( %x, %c) ", "min( %x, %c)", min, [](O o) { return TavMin(o.c, o.x); }),
      following<TavNumMaxCstI>("TavMax( %x, %c) ", "max(%x, %c)", max, [](O o) { return TavMax(o.x, o.c); }),
      expression<TavIntMinCstI>("( %i, %k) ", "min(%i, %k)", min, [](O o) { return TavMin(o.i, o.k); }),
      expression<TavIntMaxCstI>("( %i, %k) ", "max(%i, %k)", max, [](O o) { return TavMax(o.k, o.i); }),
      following<TavNumMinI>("TavMin( %x, %y) ", "min(%x, %y)", min, [](O o) { return TavMin(o.x, o.y); }),
      following<TavNumMaxI>("TavMax( %x, %y) ", "max(%x, %y)", max, [](O o) { return TavMax(o.x, o.y); }),
      expression<TavIntMinI>("TavMin( %i, %j) ", "min(%i, %j)", min, [](O o) { return TavMin(o.i, o.j); }),
      expression<TavIntMaxI>("TavMax( %i, %j) ", "max(%i, %j)", max, [](O o) { return TavMax(o.i, o.j); }),
      following<TavNumMinArrayI>("TavMin( %X) ", "min( %X)", least, [](O o) { return TavMin(o.X); }),
      following<TavNumMaxArrayI>("TavMax( %X) ", "max(%X)", greatest, [](O o) { return TavMax(o.X); }),
      expression<TavIntMinArrayI>("TavMin( %I) ", "min(%I)", least, [](O o) { return TavMin(o.I); }),
      expression<TavIntMaxArrayI>("TavMax( %I) ", "max(%I)", greatest, [](O o) { return TavMax(o.I); }),

      expression<TavSinI>("TavSin(%x) ", "sin(%x)", std::sin, [](O o) { return TavSin(o.x); }),
      expression<TavCosI>("TavCos(%x) ", "cos(%x)", std::cos, [](O o) { return TavCos(o.x); }),
      expression<TavTanI>("TavTan(%x) ", "tan(%x)", std::tan, [](O o) { return TavTan(o.x); }),
      expression<TavArcSinI>("TavArcSin(%x) ", "arc-sin(%x)", std::asin, [](O o) { return TavArcSin(o.x); }),
      expression<TavArcCosI>("TavArcCos(%x) ", "arc-cos(%x)", std::acos, [](O o) { return TavArcCos(o.x); }),
      expression<TavArcTanI>("TavArcTan(%x) ", "arc-tan(%x)", std::atan, [](O o) { return TavArcTan(o.x); }),
      expression<TavLogI>("TavLog(%x) ", "log(%x)", std::log, [](O o) { return TavLog(o.x); }),
      expression<TavExponentI>("TavExponent(%x) ", "exp(%x)", std::exp, [](O o) { return TavExponent(o.x); }),
      following<TavNumCeilI>("TavCeil(%x) ", "ceil(%x)", std::ceil, [](O o) { return TavCeil(o.x); }),
      following<TavNumFloorI>("TavFloor(%x) ", "floor(%x)", std::floor, [](O o) { return TavFloor(o.x); }),
      following<TavNumTruncI>("TavTrunc(%x) ", "trunc(%x)", cut, [](O o) { return TavTrunc(o.x); }),
      following<TavDistToIntI>("TavDistToInt(%x) ", "distToInt(%x)", distance, [](O o) { return TavDistToInt(o.x); }),
      following<TavNumFractI>("TavFract(%x) ", "fract(%x)", fraction, [](O o) { return TavFract(o.x); }),
      following<TavNumRoundI>("TavVurRound(%x) ", "round(%x)", TavVurRound, [](O o) { return TavVurRound(o.x); }),
      expression<TavNumToIntI>("TavNumToInt(%x) ", "numToInt(%x)", conversion, [](O o) { return TavNumToInt(o.x); }),

      following<TavNumExprArrayElementI>("TavNumExprArrayIndex(%i, %X) ", "num-exprs[%i]", element,
                                         [](O o) { return o.X[o.i]; }),
      expression<TavIntExprArrayElementI>("TavIntExprArrayIndex(%i, %I) ", "int-exprs[%i]", element,
                                          [](O o) { return o.I[o.i]; }),
      following<TavNumArrayElementI>("TavNumArrayIndex(%i, %C) ", "nums[%i]", element,
                                     [](O o) { return TavElement(o.C, o.i); }),
      expression<TavIntArrayElementI>("TavIntArrayIndex(%i, %K) ", "ints[%i]", element,
                                      [](O o) { return TavElement(o.K, o.i); }),
      expression<TavCountI>("TavCount( %I, %k) ", "count(%I, %k)", count, [](O o) { return TavCount(o.I, o.k); }),
      expression<TavStandardDeviationI>("TavStandardDeviation( %I) ", "stddev(%I)", deviation,
                                        [](O o) { return TavStandardDeviation(o.I); }),
      expression<TavExprPiecewiseLinearI>("piecewiselinear(%x, %C, %D, %c, %d)", "piecewiselinear(%x, %C, %D, %c, %d)",
                                          {}, [](O o) { return TavPiecewiseLinear(o.x, o.C, o.D, o.c, o.d); }),
      expression<TavMonotonicNumExprI>("TavMonotonicIncreasingNumExpr(%x)", "TavMonotonicIncreasingNumExpr(%x)", square,
                                       [](O o) { return TavMonotonicIncreasingNumExpr(o.x, square, square); }),
  };
  return kSamples;
}

const std::vector<ChangeSample>& changeSamples() {
  static const std::vector<ChangeSample> kSamples = {
      {TavNumLinTermAddVar::kTypeName, "w", [](O o) { numLinear(o)->setCoef(o.w, 3.0); }},
      {TavNumLinTermRemoveVar::kTypeName, "v", [](O o) { numLinear(o)->setCoef(o.v, 3.0); }},
      {TavIntLinTermRemoveVar::kTypeName, "w",
       [](O o) {
         o.env.getImpl()->oneByOneRemoval = true;
         intLinear(o)->atRemove(o.w.getImpl(), nullptr);
       }},
      {TavSetNumVarBounds::kTypeName, "", [](O o) { o.v.setLB(1.0); }},
      {TavSetNumVarArrayBounds::kTypeName, "", [](O o) { TavNumVarArray(o.env, 2, o.v, o.w).setBounds(o.C, o.C); }},
      {TavSetNumVarPossibleValues::kTypeName, "", [](O o) { o.v.setPossibleValues(o.C); }},
      {TavSetSemiContBound::kTypeName, "", [](O o) { TavSemiContVar(o.env, 1.0, 5.0).setSemiContinuousLb(2.0); }},
      {TavConversionRemoveVar::kTypeName, "v", [](O o) { TavConversion(o.env, o.v, TavNumVar::Int).removeVar(o.v); }}};
  return kSamples;
}
