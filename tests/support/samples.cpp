#include "tests/support/samples.h"

namespace {

template <class Node>
Node* operand(Node* node, const char* name) {
  node->setName(name);
  node->retain();
  return node;
}

}  // namespace

SampleWorld::SampleWorld(TavEnv home)
    : env(home),
      x(home, 0.0, 10.0, "x"),
      y(home, -5.0, 5.0, "y"),
      i(home, 0, 9, "i"),
      j(home, -3, 3, "j"),
      p(operand(new (home.getImpl()) LeafI(home.getImpl(), 2.5), "p")),
      q(operand(new (home.getImpl()) LeafI(home.getImpl(), -1.5), "q")),
      m(operand(new (home.getImpl()) IntLeafI(home.getImpl(), 7), "m")),
      n(operand(new (home.getImpl()) IntLeafI(home.getImpl(), 2), "n")),
      c(new (home.getImpl()) TavConstConstraintI(home.getImpl(), "c", 1)) {}

namespace {

using World = const SampleWorld&;
using Use = const std::function<void(const TavChange&)>&;

using enum NodeSample::Lookup;

/// A sample of Class, whose base is Base, that `Make` makes.
template <class Class, class Base, class Make>
NodeSample node(Make, const char* children, NodeSample::Lookup lookup = kOwn, bool sameText = true) {
  const auto make = [](World w) -> TavExtractableI* { return Make()(w).getImpl(); };
  return {factsOf<Class, Base>(),
          &Class::_extractCP,
          &Class::_unextractCP,
          &Class::_modifyCP,
          make,
          children,
          lookup,
          sameText};
}

template <class Class, class Base>
NodeSample abstract() {
  return {factsOf<Class, Base>(), &Class::_extractCP, &Class::_unextractCP, &Class::_modifyCP, nullptr, ""};
}

template <class Class, class Make>
NodeSample num(Make make, const char* children, NodeSample::Lookup lookup = kOwn) {
  return node<Class, TavNumExprI>(make, children, lookup);
}

template <class Class, class Make>
NodeSample integral(Make make, const char* children, NodeSample::Lookup lookup = kOwn) {
  return node<Class, TavIntExprI>(make, children, lookup);
}

template <class Class>
ChangeSample record(void (*with)(World, Use), const char* parts) {
  return {factsOf<Class, TavChange>(), &Class::_applyCP, with, parts};
}

TavNumLinTermI* numLinear(World w) {
  auto* linear = static_cast<TavNumLinTermI*>((2 * w.x + 0 * w.y + 1.5).getImpl());
  linear->append(w.p.getImpl());
  return linear;
}

TavIntLinTermI* intLinear(World w) {
  auto* linear = static_cast<TavIntLinTermI*>((2 * w.i + 0 * w.j + 4).getImpl());
  linear->append(w.m.getImpl());
  return linear;
}

TavNumExprArray nums(World w) {
  TavNumExprArray array(w.env);
  for (const TavNumExprArg element : {w.p, static_cast<TavNumExprArg>(w.x), w.p}) array.add(element);
  return array;
}

TavIntExprArray ints(World w) {
  TavIntExprArray array(w.env);
  for (const TavIntExprArg element : {w.m, static_cast<TavIntExprArg>(w.i), w.m}) array.add(element);
  return array;
}

double twice(double x) { return 2 * x; }

/// i ? then : else.
template <class Node, class Arg>
Arg conditional(World w, Arg thenExpr, Arg elseExpr) {
  TavEnvI* env = w.env.getImpl();
  return Arg(new (env) Node(env, TavNumExprArg(w.i).getImpl(), thenExpr.getImpl(), elseExpr.getImpl(), 0, 0));
}

}  // namespace

const std::vector<NodeSample>& nodeSamples() {
  static const std::vector<NodeSample> kSamples = {
      abstract<TavNumExprI, TavExtractableI>(),
      abstract<TavIntExprI, TavNumExprI>(),
      abstract<TavNumIndexI, TavNumExprI>(),
      abstract<TavIntIndexI, TavIntExprI>(),
      abstract<TavAnyExprI, TavExtractableI>(),
      abstract<TavTupleSubMapExprI, TavAnyExprI>(),
      abstract<TavConstraintI, TavIntExprI>(),
      integral<TavNumVarI>([](World w) { return w.x; }, ""),
      node<TavNumLinTermI, TavNumExprI>([](World w) { return TavNumExprArg(numLinear(w)); }, "p x ", kTarget),
      node<TavIntLinTermI, TavIntExprI>([](World w) { return TavIntExprArg(intLinear(w)); }, "m i ", kTarget),
      num<TavNumTimesCstI>([](World w) { return w.p * 3.0; }, "p "),
      num<TavNumTimesI>([](World w) { return w.x * w.p; }, "x p "),
      num<TavNumDivCstI>([](World w) { return w.p / 4.0; }, "p "),
      num<TavNumRecDivCstI>([](World w) { return 5.0 / w.q; }, "q "),
      num<TavNumDivI>([](World w) { return w.p / w.q; }, "p q "),
      num<TavNumMinCstI>([](World w) { return TavMin(w.p, 2.0); }, "p "),
      num<TavNumMaxCstI>([](World w) { return TavMax(w.p, 2.0); }, "p "),
      num<TavNumMinI>([](World w) { return TavMin(w.p, w.x); }, "p x "),
      num<TavNumMaxI>([](World w) { return TavMax(w.p, w.x); }, "p x "),
      num<TavNumPowerCstI>([](World w) { return TavPower(w.p, 2.0); }, "p "),
      num<TavNumRecPowerCstI>([](World w) { return TavPower(2.0, w.p); }, "p "),
      num<TavNumPowerI>([](World w) { return TavPower(w.p, w.q); }, "p q "),
      num<TavNumSquareI>([](World w) { return TavSquare(w.p); }, "p "),
      num<TavNumAbsI>([](World w) { return TavAbs(w.p); }, "p "),
      num<TavSinI>([](World w) { return TavSin(w.p); }, "p "),
      num<TavCosI>([](World w) { return TavCos(w.p); }, "p "),
      num<TavTanI>([](World w) { return TavTan(w.p); }, "p "),
      num<TavArcSinI>([](World w) { return TavArcSin(w.p); }, "p "),
      num<TavArcCosI>([](World w) { return TavArcCos(w.p); }, "p "),
      num<TavArcTanI>([](World w) { return TavArcTan(w.p); }, "p "),
      num<TavLogI>([](World w) { return TavLog(w.p); }, "p "),
      num<TavExponentI>([](World w) { return TavExponent(w.p); }, "p "),
      num<TavNumCeilI>([](World w) { return TavCeil(w.p); }, "p "),
      num<TavNumFloorI>([](World w) { return TavFloor(w.p); }, "p "),
      num<TavNumTruncI>([](World w) { return TavTrunc(w.p); }, "p "),
      num<TavDistToIntI>([](World w) { return TavDistToInt(w.p); }, "p "),
      num<TavNumFractI>([](World w) { return TavFract(w.p); }, "p "),
      num<TavNumRoundI>([](World w) { return TavVurRound(w.p); }, "p "),
      num<TavNumMinArrayI>([](World w) { return TavMin(nums(w)); }, "p x p ", kTarget),
      num<TavNumMaxArrayI>([](World w) { return TavMax(nums(w)); }, "p x p ", kTarget),
      num<TavNumExprArrayElementI>([](World w) { return nums(w)[w.n]; }, "n p x p ", kBoth),
      num<TavNumArrayElementI>([](World w) { return TavElement(TavNumArray(w.env, 4), w.n); }, "n "),
      num<TavStandardDeviationI>([](World w) { return TavStandardDeviation(ints(w)); }, "m i m ", kTarget),
      num<TavExprPiecewiseLinearI>(
          [](World w) { return TavPiecewiseLinear(w.p, TavNumArray(w.env, 1), TavNumArray(w.env, 2), 0.0, 4.0); },
          "p "),
      num<TavMonotonicNumExprI>([](World w) { return TavMonotonicIncreasingNumExpr(w.p, &twice, &twice); }, "p "),
      num<TavConditionalNumExprI>([](World w) { return conditional<TavConditionalNumExprI>(w, w.p, w.q); }, "i p q "),
      integral<TavIntTimesCstI>([](World w) { return w.m * 3; }, "m "),
      integral<TavIntTimesI>([](World w) { return w.m * w.i; }, "m i "),
      integral<TavIntDivCstI>([](World w) { return TavDiv(w.m, 2); }, "m "),
      integral<TavIntRecDivCstI>([](World w) { return TavDiv(20, w.n); }, "n "),
      integral<TavIntDivI>([](World w) { return TavDiv(w.m, w.n); }, "m n "),
      integral<TavIntModuloI>([](World w) { return w.m % w.n; }, "m n "),
      integral<TavIntModuloCstI>([](World w) { return w.m % 4; }, "m "),
      integral<TavIntRecModuloCstI>([](World w) { return 20 % w.n; }, "n "),
      integral<TavIntSquareI>([](World w) { return TavSquare(w.m); }, "m "),
      integral<TavIntAbsI>([](World w) { return TavAbs(w.m); }, "m "),
      integral<TavSgnI>([](World w) { return TavSgn(w.q); }, "q "),
      integral<TavIntMinCstI>([](World w) { return TavMin(w.m, 2); }, "m "),
      integral<TavIntMaxCstI>([](World w) { return TavMax(w.m, 2); }, "m "),
      integral<TavIntMinI>([](World w) { return TavMin(w.m, w.n); }, "m n "),
      integral<TavIntMaxI>([](World w) { return TavMax(w.m, w.n); }, "m n "),
      integral<TavNumToIntI>([](World w) { return TavNumToInt(w.m); }, "m "),
      integral<TavIntMinArrayI>([](World w) { return TavMin(ints(w)); }, "m i m ", kTarget),
      integral<TavIntMaxArrayI>([](World w) { return TavMax(ints(w)); }, "m i m ", kTarget),
      integral<TavCountI>([](World w) { return TavCount(ints(w), 7); }, "m i m ", kTarget),
      integral<TavIntExprArrayElementI>([](World w) { return ints(w)[w.n]; }, "n m i m ", kBoth),
      integral<TavIntArrayElementI>([](World w) { return TavElement(TavIntArray(w.env, 4), w.n); }, "n "),
      integral<TavConditionalIntExprI>([](World w) { return conditional<TavConditionalIntExprI>(w, w.m, w.n); },
                                       "i m n "),
      node<TavConstConstraintI, TavConstraintI>([](World w) { return w.c; }, ""),
      node<TavSemiContVarI, TavNumVarI>([](World w) { return TavSemiContVar(w.env, 1.0, 5.0); }, "", kOwn, false),
      node<TavConstraintIndVarI, TavNumVarI>([](World w) { return TavNumVar(w.c); }, "c ", kTarget),
      node<TavConversionI, TavExtractableI>(
          [](World w) { return TavConversion(w.env, TavNumVarArray(w.env, 2, w.x, w.i), TavNumVar::Int); }, "x i ",
          kTargetOrNull, false),
  };
  return kSamples;
}

const std::vector<ChangeSample>& changeSamples() {
  static const std::vector<ChangeSample> kSamples = {
      record<TavNumLinTermAddVar>([](World w, Use use) { use(TavNumLinTermAddVar(numLinear(w), w.y.getImpl())); },
                                  "y "),
      record<TavNumLinTermRemoveVar>([](World w, Use use) { use(TavNumLinTermRemoveVar(numLinear(w), w.y.getImpl())); },
                                     "y "),
      record<TavIntLinTermRemoveVar>([](World w, Use use) { use(TavIntLinTermRemoveVar(intLinear(w), w.j.getImpl())); },
                                     "j "),
      record<TavSetNumVarBounds>([](World w, Use use) { use(TavSetNumVarBounds(w.x.getImpl(), 1.0, 2.0)); }, ""),
      record<TavSetNumVarArrayBounds>(
          [](World w, Use use) {
            const TavNumVarArray vars(w.env, 2, w.x, w.y);
            const TavNumArray bounds(w.env, 2);
            use(TavSetNumVarArrayBounds(vars.getImpl(), bounds.getImpl(), bounds.getImpl()));
          },
          ""),
      record<TavSetNumVarPossibleValues>(
          [](World w, Use use) { use(TavSetNumVarPossibleValues(w.x.getImpl(), nullptr, nullptr)); }, ""),
      record<TavSetSemiContBound>(
          [](World w, Use use) { use(TavSetSemiContBound(TavSemiContVar(w.env, 1.0, 5.0).getImpl(), 1.0, 2.0)); }, ""),
      record<TavConversionRemoveVar>(
          [](World w, Use use) {
            const TavConversion conversion(w.env, w.y, TavNumVar::Int);
            use(TavConversionRemoveVar(w.y.getImpl(), conversion.getImpl()));
          },
          "y "),
  };
  return kSamples;
}
