#include "expression/special/piecewise.h"

#include <limits>
#include <ostream>

#include "expression/core/array_family.h"
#include "expression/core/build.h"

TavExprPiecewiseLinearI::TavExprPiecewiseLinearI(TavEnvI* env, TavNumExprI* expr, TavNumArray breakpoints,
                                                 TavNumArray slopes, double anchor, double anchorValue)
    : TavNested(env, nullptr), _operand(expr), _form(kBySlopes), _first(anchor), _second(anchorValue) {
  copyArrays(breakpoints, slopes);
  if (expr) expr->retain();
}

TavExprPiecewiseLinearI::TavExprPiecewiseLinearI(TavEnvI* env, TavNumExprI* expr, double firstSlope,
                                                 TavNumArray breakpoints, TavNumArray values, double lastSlope)
    : TavNested(env, nullptr), _operand(expr), _form(kByValues), _first(firstSlope), _second(lastSlope) {
  copyArrays(breakpoints, values);
  if (expr) expr->retain();
}

TavExprPiecewiseLinearI::TavExprPiecewiseLinearI(TavEnvI* env, TavInt form, TavNumExprI* expr, TavNumArray breakpoints,
                                                 TavNumArray slopesOrValues, double first, double second)
    : TavNested(env, nullptr),
      _operand(expr),
      _form(form),
      _breakpoints(breakpoints),
      _slopesOrValues(slopesOrValues),
      _first(first),
      _second(second) {
  if (expr) expr->retain();
}

TavExprPiecewiseLinearI::~TavExprPiecewiseLinearI() {
  _breakpoints.end();
  _slopesOrValues.end();
  if (_operand) getEnv()->release(_operand);
}

void TavExprPiecewiseLinearI::copyArrays(TavNumArray breakpoints, TavNumArray slopesOrValues) {
  _breakpoints = TavCopyOfArray(breakpoints);
  TavGuard<TavArrayI> guard(_breakpoints.getImpl());
  _slopesOrValues = TavCopyOfArray(slopesOrValues);
  guard.release();
}

double TavExprPiecewiseLinearI::getPiecewiseLinearValue(double x) const {
  if (_form == kByValues) return valueForm(x);
  return x >= _first ? rightOfAnchor(x) : leftOfAnchor(x);
}

/// The number of leading breakpoints up to the first number, which is the anchor, or the first slope.
TavInt TavExprPiecewiseLinearI::startIndex() const {
  const TavNumArray p = _breakpoints;
  TavInt k = 0;
  while (k < p.getSize() && p[k] <= _first) ++k;
  return k;
}

double TavExprPiecewiseLinearI::rightOfAnchor(double x) const {
  const TavNumArray p = _breakpoints;
  const TavNumArray slopes = _slopesOrValues;
  double value = _second;
  double at = _first;
  TavInt i = startIndex();
  for (; i < p.getSize() && x >= p[i]; ++i) {
    value += i > 0 && p[i - 1] == p[i] ? slopes[i] : (p[i] - at) * slopes[i];
    at = p[i];
  }
  return value + (x - at) * slopes[i];
}

double TavExprPiecewiseLinearI::leftOfAnchor(double x) const {
  const TavNumArray p = _breakpoints;
  const TavNumArray slopes = _slopesOrValues;
  double value = _second;
  double at = _first;
  TavInt i = startIndex() - 1;
  for (; i >= 0 && p[i] > x; --i) {
    if (i < p.getSize() - 1 && p[i] == p[i + 1]) {
      value -= slopes[i + 1];
    } else {
      value += (p[i] - at) * slopes[i + 1];
    }
    at = p[i];
  }
  return value + (x - at) * slopes[i + 1];
}

double TavExprPiecewiseLinearI::valueForm(double x) const {
  const TavNumArray p = _breakpoints;
  const TavNumArray values = _slopesOrValues;
  const TavInt n = p.getSize();
  if (n == 0) return std::numeric_limits<double>::quiet_NaN();
  TavInt k = startIndex();  // by contract: the segment follows from the first slope, wherever x lies
  if (k == 0) return values[0] + (x - p[0]) * _first;
  if (k == n) k = n > 1 ? n - 2 : 0;  // there is no segment behind the last breakpoint: the last one inside the array
  if (k == n - 1) return values[k] + (x - p[k]) * _second;
  return values[k] + (x - p[k]) * (values[k + 1] - values[k]) / (p[k + 1] - p[k]);
}

double TavExprPiecewiseLinearI::getPiecewiseLinearSlope(double x) const {
  const TavNumArray p = _breakpoints;
  const TavNumArray numbers = _slopesOrValues;
  const TavInt n = p.getSize();
  TavInt k = startIndex();
  if (_form == kBySlopes) {
    if (x >= _first) {
      while (k < n && x >= p[k]) ++k;
    } else {
      while (k > 0 && p[k - 1] > x) --k;
    }
    return numbers[k];
  }
  if (n == 0) return std::numeric_limits<double>::quiet_NaN();
  if (k == 0) return _first;
  if (k == n) k = n > 1 ? n - 2 : 0;  // as the value's segment
  return k == n - 1 ? _second : (numbers[k + 1] - numbers[k]) / (p[k + 1] - p[k]);
}

void TavExprPiecewiseLinearI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  if (_operand) visitor->visitChild(this, _operand);
  visitor->endVisit(this);
}

TavExtractableI* TavExprPiecewiseLinearI::makeClone(TavEnvI* target) const {
  TavNumExprI* operand = _operand ? TavCloneOf(_operand, getEnv()) : nullptr;
  TavGuard<TavArrayI> breakpoints(_breakpoints.getImpl()->makeCopy(target->getMemory()));
  TavGuard<TavArrayI> slopesOrValues(_slopesOrValues.getImpl()->makeCopy(target->getMemory()));
  auto* clone = new (target) TavExprPiecewiseLinearI(target, _form, operand, TavNumArray(breakpoints.get()),
                                                     TavNumArray(slopesOrValues.get()), _first, _second);
  breakpoints.release();
  slopesOrValues.release();
  return clone;
}

void TavExprPiecewiseLinearI::write(std::ostream& os) const {
  os << "piecewiselinear(";
  if (_operand) {
    _operand->display(os);
  } else {
    os << "0 ";
  }
  if (_form == kBySlopes) {
    os << ", " << _breakpoints << ", " << _slopesOrValues << ", " << _first << ", " << _second << ")";
  } else {
    os << ", " << _first << ", " << _breakpoints << ", " << _slopesOrValues << ", " << _second << ")";
  }
}

TavMonotonicNumExprI::TavMonotonicNumExprI(TavEnvI* env, TavNumExprI* operand, Function function, Function second,
                                           TavInt decreasing)
    : TavNested(env, nullptr), _operand(operand), _function(function), _second(second), _decreasing(decreasing) {
  operand->retain();
}

void TavMonotonicNumExprI::visitSubExtractables(TavExtractableVisitor* visitor) {
  visitor->beginVisit(this);
  visitor->visitChild(this, _operand);
  visitor->endVisit(this);
}

TavExtractableI* TavMonotonicNumExprI::makeClone(TavEnvI* target) const {
  return new (target) TavMonotonicNumExprI(target, TavCloneOf(_operand, getEnv()), _function, _second, _decreasing);
}

void TavMonotonicNumExprI::write(std::ostream& os) const {
  os << "TavMonotonic" << (_decreasing ? "Decreasing" : "Increasing") << "NumExpr(";
  _operand->display(os);
  os << ")";
}

TavNumExprArg TavPiecewiseLinear(TavNumExprArg x, TavNumArray breakpoints, TavNumArray slopes, double anchor,
                                 double anchorValue) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  if (!breakpoints.getImpl() || !slopes.getImpl()) throw TavEmptyHandleException();
  return TavNumExprArg(new (env) TavExprPiecewiseLinearI(env, x.getImpl(), breakpoints, slopes, anchor, anchorValue));
}

TavNumExprArg TavPiecewiseLinear(TavNumExprArg x, double firstSlope, TavNumArray breakpoints, TavNumArray values,
                                 double lastSlope) {
  TavEnvI* env = TavRequireEnv(x.getImpl());
  if (!breakpoints.getImpl() || !values.getImpl()) throw TavEmptyHandleException();
  return TavNumExprArg(new (env) TavExprPiecewiseLinearI(env, x.getImpl(), firstSlope, breakpoints, values, lastSlope));
}

TavNumExprArg TavMonotonicDecreasingNumExpr(TavNumExprArg x, double (*function)(double), double (*second)(double)) {
  return TavBuild<TavMonotonicNumExprI>(x, function, second, 1);
}

TavNumExprArg TavMonotonicIncreasingNumExpr(TavNumExprArg x, double (*function)(double), double (*second)(double)) {
  return TavBuild<TavMonotonicNumExprI>(x, function, second, 0);
}
