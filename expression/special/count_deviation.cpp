#include "expression/special/count_deviation.h"

#include <cmath>
#include <ostream>

namespace {

/// The messages of one function.
struct Texts {
  const char* noElement;
  const char* emptyElement;
  const char* otherEnv;
};

/// The array's environment. Each element is tested for both faults before the next one.
TavEnvI* requireElements(TavIntExprArray exprs, const Texts& texts) {
  if (!exprs.getImpl()) throw TavEmptyHandleException();
  TavEnvI* env = exprs.getImpl()->getEnv();
  if (exprs.getSize() == 0) throw TavArrayError(texts.noElement);
  for (TavInt i = 0; i < exprs.getSize(); ++i) {
    const TavIntExprArg expr = exprs[i];
    if (!expr) throw TavArrayError(texts.emptyElement);
    if (expr.getImpl()->getEnv() != env) throw TavWrongUsage(texts.otherEnv);
  }
  return env;
}

}  // namespace

double TavCountI::value(TavAlgorithm algorithm) const {
  const TavIntExprArray exprs = getExprs();
  if (exprs.getSize() == 0) throw TavArrayError("Array of size 0 in evaluation of TavCount");
  const auto wanted = static_cast<double>(_value);
  TavInt count = 0;
  for (TavInt i = 0; i < exprs.getSize(); ++i) {
    if (exprs[i].eval(algorithm) == wanted) ++count;
  }
  return static_cast<double>(count);
}

TavExtractableI* TavCountI::makeClone(TavEnvI* target) const {
  return TavMakeArrayNode<TavCountI>(target, TavCloneOfArray(getExprs(), target), _value);
}

void TavCountI::write(std::ostream& os) const {
  const bool library = getEnv()->librarySyntaxDisplay;
  os << (library ? "TavCount( " : "count(") << getExprs() << ", " << _value << (library ? ") " : ")");
}

double TavStandardDeviationI::value(TavAlgorithm algorithm) const {
  const TavIntExprArray exprs = getExprs();
  const TavInt n = exprs.getSize();
  if (n == 0) throw TavArrayError("Array of size 0 in evaluation of TavStandardDeviation");
  double sum = 0.0;
  for (TavInt i = 0; i < n; ++i) sum += exprs[i].eval(algorithm);
  const double mean = sum / static_cast<double>(n);
  double squares = 0.0;
  for (TavInt i = 0; i < n; ++i) {
    const double difference = exprs[i].eval(algorithm) - mean;  // by contract: every element is evaluated twice
    squares += difference * difference;
  }
  return std::sqrt(squares / static_cast<double>(n));
}

TavExtractableI* TavStandardDeviationI::makeClone(TavEnvI* target) const {
  return TavMakeArrayNode<TavStandardDeviationI>(target, TavCloneOfArray(getExprs(), target), _lowerBound, _upperBound);
}

void TavStandardDeviationI::write(std::ostream& os) const {
  const bool library = getEnv()->librarySyntaxDisplay;
  os << (library ? "TavStandardDeviation( " : "stddev(") << getExprs() << (library ? ") " : ")");
}

TavIntExprArg TavCount(TavIntExprArray exprs, TavInt value) {
  static constexpr Texts kTexts{"TavCount: array of size 0", "TavCount: empty handle in array",
                                "TavCount: mixing mismatch Environments"};
  TavEnvI* env = requireElements(exprs, kTexts);
  return TavIntExprArg(TavMakeArrayNode<TavCountI>(env, TavCopyOfArray(exprs), value));
}

TavNumExprArg TavStandardDeviation(TavIntExprArray exprs, double lowerBound, double upperBound) {
  static constexpr Texts kTexts{"TavStandardDeviation: array of size 0", "TavStandardDeviation: empty handle in array",
                                "TavStandardDeviation: mixing mismatch Environments"};
  TavEnvI* env = requireElements(exprs, kTexts);
  return TavNumExprArg(TavMakeArrayNode<TavStandardDeviationI>(env, TavCopyOfArray(exprs), lowerBound, upperBound));
}

TavNumExprArg TavStandardDeviation(TavIntExprArray exprs) {
  return TavStandardDeviation(exprs, -TavGetInfinity(), TavGetInfinity());
}
