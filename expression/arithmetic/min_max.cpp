#include "expression/arithmetic/min_max.h"

#include "expression/core/build.h"

namespace {

constexpr const char* kMixedMin = "TavMin: mixing mismatch Environments";
constexpr const char* kMixedMax = "TavMax: mixing mismatch Environments";
constexpr const char* kNoneToMin = "Array of size 0 in call to TavMin";
constexpr const char* kNoneToMax = "Array of size 0 in call to TavMax";

/// The node over a copy of the caller's array.
template <class Node, class Array>
Node* extremeOf(Array array, const char* mixed) {
  TavEnvI* env = TavRequireElements(array, mixed);
  return TavMakeArrayNode<Node>(env, TavCopyOfArray(array));
}

/// The number that no other one replaces.
template <class Array, class Replaces>
auto extremeNumber(Array numbers, const char* emptyText, Replaces replaces) {
  if (!numbers.getImpl()) throw TavEmptyHandleException();
  if (numbers.getSize() == 0) throw TavArrayError(emptyText);
  auto extreme = numbers[0];
  for (TavInt i = 0; i < numbers.getSize(); ++i) {
    if (replaces(numbers[i], extreme)) extreme = numbers[i];
  }
  return extreme;
}

}  // namespace

TavNumExprArg TavMin(TavNumExprArg a, TavNumExprArg b) { return TavBuildOfTwo<TavNumMinI>(a, b, kMixedMin); }

TavNumExprArg TavMax(TavNumExprArg a, TavNumExprArg b) { return TavBuildOfTwo<TavNumMaxI>(a, b, kMixedMax); }

TavIntExprArg TavMin(TavIntExprArg a, TavIntExprArg b) { return TavBuildOfTwo<TavIntMinI>(a, b, kMixedMin); }

TavIntExprArg TavMax(TavIntExprArg a, TavIntExprArg b) { return TavBuildOfTwo<TavIntMaxI>(a, b, kMixedMax); }

TavNumExprArg TavMin(TavNumExprArg x, TavNumArg c) { return TavBuild<TavNumMinCstI>(x, c.value); }

TavNumExprArg TavMax(TavNumExprArg x, TavNumArg c) { return TavBuild<TavNumMaxCstI>(x, c.value); }

TavIntExprArg TavMin(TavIntExprArg x, TavIntArg c) { return TavBuild<TavIntMinCstI>(x, c.value); }

TavIntExprArg TavMax(TavIntExprArg x, TavIntArg c) { return TavBuild<TavIntMaxCstI>(x, c.value); }

TavNumExprArg TavMin(TavNumExprArray array) { return TavNumExprArg(extremeOf<TavNumMinArrayI>(array, kMixedMin)); }
TavNumExprArg TavMax(TavNumExprArray array) { return TavNumExprArg(extremeOf<TavNumMaxArrayI>(array, kMixedMax)); }
TavIntExprArg TavMin(TavIntExprArray array) { return TavIntExprArg(extremeOf<TavIntMinArrayI>(array, kMixedMin)); }
TavIntExprArg TavMax(TavIntExprArray array) { return TavIntExprArg(extremeOf<TavIntMaxArrayI>(array, kMixedMax)); }

TavNumExprArg TavMin(TavNumVarArray array) {
  TavEnvI* env = TavRequireElements(array, kMixedMin);
  return TavNumExprArg(TavMakeArrayNode<TavNumMinArrayI>(env, array.toNumExprArray()));
}

TavNumExprArg TavMax(TavNumVarArray array) {
  TavEnvI* env = TavRequireElements(array, kMixedMax);
  return TavNumExprArg(TavMakeArrayNode<TavNumMaxArrayI>(env, array.toNumExprArray()));
}

TavIntExprArg TavMin(TavIntVarArray array) {
  TavEnvI* env = TavRequireElements(array, kMixedMin);
  return TavIntExprArg(TavMakeArrayNode<TavIntMinArrayI>(env, array.toIntExprArray()));
}

TavIntExprArg TavMax(TavIntVarArray array) {
  TavEnvI* env = TavRequireElements(array, kMixedMax);
  return TavIntExprArg(TavMakeArrayNode<TavIntMaxArrayI>(env, array.toIntExprArray()));
}

double TavMin(TavNumArray array) {
  return extremeNumber(array, kNoneToMin, [](double v, double m) { return m > v; });
}

double TavMax(TavNumArray array) {
  return extremeNumber(array, kNoneToMax, [](double v, double m) { return v > m; });
}

TavInt TavMin(TavIntArray array) {
  return extremeNumber(array, kNoneToMin, [](TavInt v, TavInt m) { return v < m; });
}

TavInt TavMax(TavIntArray array) {
  return extremeNumber(array, kNoneToMax, [](TavInt v, TavInt m) { return v > m; });
}
