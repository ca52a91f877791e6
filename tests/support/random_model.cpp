#include "tests/support/random_model.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

namespace model {

namespace {

std::string number(double x) {
  std::ostringstream os;
  os << x;
  return os.str();
}

/// One-operand functions: library and plain prefix and the function.
struct Unary {
  const char* library;
  const char* plain;
  double (*apply)(double);
  bool integerFollows;
};
double square(double v) { return v * v; }
double sign(double v) { return v > 0 ? 1.0 : v < 0 ? -1.0 : 0.0; }
double trunc64(double v) { return static_cast<double>(TavTrunc(v)); }
double fraction(double v) { return v - static_cast<double>(TavTrunc(v)); }
double distance(double v) { return std::fabs(std::round(v) - v); }
double whole(double v) {
  if (!std::isfinite(v) || std::trunc(v) != v) throw Throws();
  return trunc64(v);
}
const std::map<std::string, Unary> kUnary = {
    {"TavNumSquareI", {"TavSquare(", "square(", square, true}},
    {"TavIntSquareI", {"TavSquare(", "square(", square, false}},
    {"TavNumAbsI", {"TavAbs(", "abs(", [](double v) { return std::fabs(v); }, true}},
    {"TavIntAbsI", {"TavAbs(", "abs(", [](double v) { return std::fabs(v); }, false}},
    {"TavSgnI", {"TavSgn(", "sgn(", sign, false}},
    {"TavSinI", {"TavSin(", "sin(", [](double v) { return std::sin(v); }, false}},
    {"TavCosI", {"TavCos(", "cos(", [](double v) { return std::cos(v); }, false}},
    {"TavTanI", {"TavTan(", "tan(", [](double v) { return std::tan(v); }, false}},
    {"TavArcSinI", {"TavArcSin(", "arc-sin(", [](double v) { return std::asin(v); }, false}},
    {"TavArcCosI", {"TavArcCos(", "arc-cos(", [](double v) { return std::acos(v); }, false}},
    {"TavArcTanI", {"TavArcTan(", "arc-tan(", [](double v) { return std::atan(v); }, false}},
    {"TavLogI", {"TavLog(", "log(", [](double v) { return std::log(v); }, false}},
    {"TavExponentI", {"TavExponent(", "exp(", [](double v) { return std::exp(v); }, false}},
    {"TavNumCeilI", {"TavCeil(", "ceil(", [](double v) { return std::ceil(v); }, true}},
    {"TavNumFloorI", {"TavFloor(", "floor(", [](double v) { return std::floor(v); }, true}},
    {"TavNumTruncI", {"TavTrunc(", "trunc(", trunc64, true}},
    {"TavDistToIntI", {"TavDistToInt(", "distToInt(", distance, true}},
    {"TavNumFractI", {"TavFract(", "fract(", fraction, true}},
    {"TavNumRoundI", {"TavVurRound(", "round(", [](double v) { return TavVurRound(v); }, true}},
    {"TavNumToIntI", {"TavNumToInt(", "numToInt(", whole, false}},
};

/// Two-operand shapes, x and y being two operands, or one and a constant: the texts, before, between and behind.
struct Pair {
  const char* library[3];
  const char* plain[3];
  double (*apply)(double x, double y);
  bool constantFirst;
};
TavInt wholeDivision(TavInt x, TavInt y, bool remainder) {
  if (y == 0 || (y == -1 && x == std::numeric_limits<TavInt>::min())) throw Undefined();
  return remainder ? x % y : x / y;
}
double times(double x, double y) { return x * y; }
double over(double x, double y) { return x / y; }
double div(double x, double y) { return static_cast<double>(wholeDivision(TavTrunc(x), TavTrunc(y), false)); }
double mod(double x, double y) { return static_cast<double>(wholeDivision(TavTrunc(x), TavTrunc(y), true)); }
double power(double x, double y) { return std::pow(x, y); }
double least(double x, double y) { return y > x ? x : y; }
double greatest(double x, double y) { return x > y ? x : y; }
template <double (*f)(double, double)>
double swapped(double x, double y) {
  return f(y, x);
}
const std::map<std::string, Pair> kPairs = {
    {"TavNumTimesCstI", {{"( ", "* ", ") "}, {"", " * ", ""}, times, false}},
    {"TavIntTimesCstI", {{"( ", "* ", ") "}, {"", " * ", ""}, times, false}},
    {"TavNumTimesI", {{"( ", "* ", ") "}, {"", " * ", ""}, times, false}},
    {"TavIntTimesI", {{"( ", "* ", ") "}, {"", " * ", ""}, times, false}},
    {"TavNumDivCstI", {{"( ", "/ ", ") "}, {"", "/ ", ""}, over, false}},
    {"TavIntDivCstI", {{"( ", "/ ", ") "}, {"", " / ", ""}, div, false}},
    {"TavNumRecDivCstI", {{"( ", "/ ", ") "}, {"", " / ", ""}, swapped<over>, true}},
    {"TavIntRecDivCstI", {{"( ", "/ ", ") "}, {"", " / ", ""}, swapped<div>, true}},
    {"TavNumDivI", {{"( ", "/ ", ") "}, {"", " / ", ""}, over, false}},
    {"TavIntDivI", {{"( ", "/ ", ") "}, {"", " / ", ""}, div, false}},
    {"TavIntModuloI", {{"( ", "% ", ") "}, {"", " % ", ""}, mod, false}},
    {"TavIntModuloCstI", {{"( ", "% ", ") "}, {"", "% ", ""}, mod, false}},
    {"TavIntRecModuloCstI", {{"(", "% ", ")"}, {"", " % ", ""}, swapped<mod>, true}},
    {"TavNumPowerCstI", {{"( ", "^ ", ") "}, {"", " ^ ", ""}, power, false}},
    {"TavNumRecPowerCstI", {{"( ", "^ ", ") "}, {"", " ^ ", ""}, swapped<power>, true}},
    {"TavNumPowerI", {{"( ", "^ ", ") "}, {"", " ^ ", ""}, power, false}},
    {"TavNumMinCstI", {{"TavMin( ", ", ", ") "}, {"min( ", ", ", ")"}, least, false}},
    {"TavNumMaxCstI", {{"TavMax( ", ", ", ") "}, {"max(", ", ", ")"}, greatest, false}},
    {"TavIntMinCstI", {{"( ", ", ", ") "}, {"min(", ", ", ")"}, least, false}},
    {"TavIntMaxCstI", {{"( ", ", ", ") "}, {"max(", ", ", ")"}, greatest, false}},
    {"TavNumMinI", {{"TavMin( ", ", ", ") "}, {"min(", ", ", ")"}, least, false}},
    {"TavIntMinI", {{"TavMin( ", ", ", ") "}, {"min(", ", ", ")"}, least, false}},
    {"TavNumMaxI", {{"TavMax( ", ", ", ") "}, {"max(", ", ", ")"}, greatest, false}},
    {"TavIntMaxI", {{"TavMax( ", ", ", ") "}, {"max(", ", ", ")"}, greatest, false}},
};

bool hasConstant(const Node* n) { return n->ops.size() == 1; }
bool integralConstant(const Node* n) { return std::isfinite(n->c) && std::trunc(n->c) == n->c; }
bool endsWith(const std::string& s, const char* tail) {
  const std::string t = tail;
  return s.size() >= t.size() && s.compare(s.size() - t.size(), t.size(), t) == 0;
}
bool isExtremum(const Node* n) { return endsWith(n->cls, "MinArrayI") || endsWith(n->cls, "MaxArrayI"); }
bool isElement(const Node* n) { return endsWith(n->cls, "ArrayElementI"); }

double evalArray(const Node* n, const Naming& naming) {
  if (n->ops.empty()) throw Throws();
  std::vector<double> v;
  for (const Node* op : n->ops) v.push_back(eval(op, naming));
  if (n->cls == "TavCountI") {
    return static_cast<double>(std::count(v.begin(), v.end(), static_cast<double>(n->k)));
  }
  if (n->cls == "TavStandardDeviationI") {
    double sum = 0.0, squares = 0.0;
    for (double x : v) sum += x;
    const double mean = sum / static_cast<double>(v.size());
    for (double x : v) squares += (x - mean) * (x - mean);
    return std::sqrt(squares / static_cast<double>(v.size()));
  }
  const bool min = endsWith(n->cls, "MinArrayI");
  double m = v[0];
  for (double x : v) {
    if (min ? m > x : x > m) m = x;
  }
  return m;
}

double evalElement(const Node* n, const Naming& naming) {
  const TavInt i = TavTrunc(eval(n->ops[0], naming));
  const TavInt size =
      static_cast<TavInt>(n->cls.find("ExprArray") != std::string::npos ? n->ops.size() - 1 : n->nums.size());
  if (i < 0 || i >= size) throw Undefined();
  const auto at = static_cast<std::size_t>(i);
  return n->cls.find("ExprArray") != std::string::npos ? eval(n->ops[at + 1], naming) : n->nums[at];
}

/// The slope form: walk from the anchor to x, adding up slopes and jumps.
double evalPiecewise(const Node* n, double x) {
  if (n->k == 0) throw Undefined();
  const std::vector<double>&p = n->nums, &s = n->nums2;
  const auto count = static_cast<int>(p.size());
  const auto at = [](const std::vector<double>& v, int i) { return v[static_cast<std::size_t>(i)]; };
  int k = 0;
  while (k < count && at(p, k) <= n->c) ++k;
  double value = n->c2, current = n->c;
  if (x >= n->c) {
    for (; k < count && x >= at(p, k); ++k) {
      value += k > 0 && at(p, k - 1) == at(p, k) ? at(s, k) : (at(p, k) - current) * at(s, k);
      current = at(p, k);
    }
    return value + (x - current) * at(s, k);
  }
  for (--k; k >= 0 && at(p, k) > x; --k) {
    if (k < count - 1 && at(p, k) == at(p, k + 1)) {
      value -= at(s, k + 1);
    } else {
      value += (at(p, k) - current) * at(s, k + 1);
    }
    current = at(p, k);
  }
  return value + (x - current) * at(s, k + 1);
}

std::string arrayText(const std::vector<std::string>& elements) {
  std::string out = "[";
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (i > 0) out += i % 10 == 0 ? ",\n" : ", ";
    out += elements[i];
  }
  return out + "]";
}
template <class Number>
std::string numbersText(const std::vector<Number>& numbers) {
  std::vector<std::string> elements;
  for (Number x : numbers) {
    std::ostringstream os;
    os << x;
    elements.push_back(os.str());
  }
  return arrayText(elements);
}
std::string opsText(const Node* n, std::size_t first, bool library, const Naming& naming) {
  std::vector<std::string> elements;
  for (std::size_t i = first; i < n->ops.size(); ++i) elements.push_back(text(n->ops[i], library, naming));
  return arrayText(elements);
}

std::string linearText(const Node* n, bool library, const Naming& naming) {
  const std::string constant = n->isInt ? std::to_string(n->k) : number(n->c);
  const bool zero = n->isInt ? n->k == 0 : n->c == 0.0;
  std::string out;
  bool wrote = false, first = true;
  for (const auto& [var, coef] : n->terms) {
    const std::string name = naming.name(var).empty() ? naming.full(var) : naming.name(var) + " ";
    if (library ? !first : wrote) out += " + ";
    first = false;
    wrote = coef != 0.0;
    if (coef == 0.0) {
      out += library ? "0 " : "";
    } else {
      out += (coef == 1.0 ? "" : number(coef) + " * ") + name;
    }
  }
  for (const Node* part : n->ops) {
    if (library ? !first : wrote) out += " + ";
    first = false;
    wrote = true;
    out += text(part, library, naming);
  }
  if (library) return "( " + out + (zero ? "" : (first ? "" : " + ") + constant + " ") + ") ";
  if (zero && wrote) return out;
  return out + (wrote ? " + " : "") + constant + " ";
}

std::string elementText(const Node* n, bool library, const Naming& naming) {
  const bool exprs = n->cls.find("ExprArray") != std::string::npos;
  const std::string index = text(n->ops[0], library, naming);
  const std::string kind = n->cls.substr(3, 3) == "Num" ? "num" : "int";
  if (!library) return (exprs ? kind + "-exprs[" : kind + "s[") + index + "]";
  const std::string array = exprs           ? opsText(n, 1, library, naming)
                            : kind == "num" ? numbersText(n->nums)
                                            : numbersText(n->ints);
  return n->cls.substr(0, n->cls.size() - 8) + "Index(" + index + ", " + array + ") ";
}

}  // namespace

bool isVar(const Node* n) { return n->cls == "TavNumVarI" || n->cls == "TavSemiContVarI"; }
bool isLinear(const Node* n) { return n->cls == "TavNumLinTermI" || n->cls == "TavIntLinTermI"; }
bool isConstant(const Node* n) { return isLinear(n) && n->terms.empty() && n->ops.empty(); }

double eval(const Node* n, const Naming& naming) {
  if (isVar(n)) return n->value;
  if (isLinear(n)) {
    double sum = 0.0;
    for (const Node* part : n->ops) sum += eval(part, naming);
    for (const auto& [var, coef] : n->terms) {
      sum += coef * var->value;
    }
    return (n->isInt ? static_cast<double>(n->k) : n->c) + sum;
  }
  if (const auto unary = kUnary.find(n->cls); unary != kUnary.end())
    return unary->second.apply(eval(n->ops[0], naming));
  if (const auto pair = kPairs.find(n->cls); pair != kPairs.end()) {
    const double x = eval(n->ops[0], naming);
    const bool remainder = n->cls.find("Modulo") != std::string::npos;
    if (n->isInt && hasConstant(n) && (remainder || n->cls.find("Div") != std::string::npos)) {
      const TavInt v = TavTrunc(x);  // the constant has more digits than a double
      const bool first = pair->second.constantFirst;
      return static_cast<double>(wholeDivision(first ? n->k : v, first ? v : n->k, remainder));
    }
    const double y = !hasConstant(n) ? eval(n->ops[1], naming) : n->isInt ? static_cast<double>(n->k) : n->c;
    return pair->second.apply(x, y);
  }
  if (isElement(n)) return evalElement(n, naming);
  if (n->cls == "TavExprPiecewiseLinearI") return evalPiecewise(n, eval(n->ops[0], naming));
  if (n->cls == "TavMonotonicNumExprI") return square(eval(n->ops[0], naming));
  return evalArray(n, naming);
}

bool isInteger(const Node* n, const Naming& naming) {
  if (isVar(n)) return naming.isInteger(n);
  if (n->isInt) return true;
  const auto all = [&naming](const auto& nodes, std::size_t first) {
    return std::all_of(nodes.begin() + static_cast<std::ptrdiff_t>(first), nodes.end(),
                       [&naming](const Node* op) { return isInteger(op, naming); });
  };
  if (isLinear(n)) {
    for (const auto& [var, coef] : n->terms) {
      if (!isInteger(var, naming) || std::trunc(coef) != coef || !std::isfinite(coef)) return false;
    }
    return all(n->ops, 0) && integralConstant(n);
  }
  if (const auto unary = kUnary.find(n->cls); unary != kUnary.end()) {
    return unary->second.integerFollows && isInteger(n->ops[0], naming);
  }
  if (kPairs.count(n->cls)) {
    if (n->cls.find("Div") != std::string::npos) return false;
    return all(n->ops, 0) && (!hasConstant(n) || integralConstant(n));
  }
  if (n->cls == "TavNumArrayElementI") {
    return std::all_of(n->nums.begin(), n->nums.end(), [](double x) { return std::isfinite(x) && std::trunc(x) == x; });
  }
  if (isElement(n)) return all(n->ops, 1);
  return isExtremum(n) && all(n->ops, 0);
}

std::string text(const Node* n, bool library, const Naming& naming) {
  if (isVar(n)) return naming.full(n);
  if (isLinear(n)) return linearText(n, library, naming);
  const auto op = [&](std::size_t i) { return text(n->ops[i], library, naming); };
  if (const auto unary = kUnary.find(n->cls); unary != kUnary.end()) {
    return (library ? unary->second.library : unary->second.plain) + op(0) + (library ? ") " : ")");
  }
  if (const auto pair = kPairs.find(n->cls); pair != kPairs.end()) {
    const auto& t = library ? pair->second.library : pair->second.plain;
    const std::string constant = n->isInt ? std::to_string(n->k) : number(n->c);
    const std::string second = hasConstant(n) ? constant : op(1);
    return t[0] + (pair->second.constantFirst ? second + t[1] + op(0) : op(0) + t[1] + second) + t[2];
  }
  if (isElement(n)) return elementText(n, library, naming);
  if (n->cls == "TavExprPiecewiseLinearI") {
    const std::string arrays = numbersText(n->nums) + ", " + numbersText(n->nums2);
    return "piecewiselinear(" + op(0) + ", " +
           (n->k == 1 ? arrays + ", " + number(n->c) + ", " + number(n->c2)
                      : number(n->c) + ", " + arrays + ", " + number(n->c2)) +
           ")";
  }
  if (n->cls == "TavMonotonicNumExprI") {
    return std::string("TavMonotonic") + (n->k ? "Decreasing" : "Increasing") + "NumExpr(" + op(0) + ")";
  }
  const std::string array = opsText(n, 0, library, naming);
  if (n->cls == "TavCountI") {
    return (library ? "TavCount( " : "count(") + array + ", " + std::to_string(n->k) + (library ? ") " : ")");
  }
  if (n->cls == "TavStandardDeviationI")
    return library ? "TavStandardDeviation( " + array + ") " : "stddev(" + array + ")";
  const std::string name = endsWith(n->cls, "MinArrayI") ? "Min" : "Max";
  if (library) return "Tav" + name + "( " + array + ") ";
  return (n->cls == "TavNumMinArrayI" ? "min( " : name == "Min" ? "min(" : "max(") + array + ")";
}

std::vector<const Node*> children(const Node* n) {
  std::vector<const Node*> out(n->ops.begin(), n->ops.end());
  for (const auto& [var, coef] : n->terms) {
    if (coef != 0.0) out.push_back(var);
  }
  return out;
}

long weight(const Node* n, long limit) {
  long w = 1 + static_cast<long>(n->terms.size());
  for (const Node* op : n->ops) {
    if (w > limit) break;
    w += weight(op, limit);
  }
  return w;
}

// ---- World: nodes and counts

Node* World::make(const std::string& cls, bool isInt, std::vector<Node*> ops) {
  _nodes.push_back(std::make_unique<Node>());
  Node* n = _nodes.back().get();
  n->cls = cls;
  n->isInt = isInt;
  n->ops = std::move(ops);
  for (Node* op : n->ops) ++op->refs;
  return n;
}

Node* World::variable(const std::string& cls) { return make(cls, true, {}); }

Node* World::linear(bool isInt, double constant, TavInt k) {
  Node* n = make(isInt ? "TavIntLinTermI" : "TavNumLinTermI", isInt, {});
  n->c = constant;
  n->k = k;
  return n;
}

void World::release(Node* n) {
  if (!isVar(n)) end(n);
}

void World::end(Node* n) {
  if (--n->refs <= 0) destroy(n);
}

void World::destroy(Node* n) {
  n->dead = true;
  for (Node* op : n->ops) release(op);
}

long World::liveNodes() const {
  return std::count_if(_nodes.begin(), _nodes.end(), [](const auto& n) { return !n->dead; });
}

long World::liveTerms() const {
  long terms = 0;
  for (const auto& n : _nodes) terms += n->dead ? 0 : static_cast<long>(n->terms.size());
  return terms;
}

// ---- World: linear nodes

Node* World::copy(const Node* n) {
  Node* fresh = linear(n->isInt, n->c, n->k);
  for (Node* part : n->ops) append(fresh, part);
  fresh->terms = n->terms;
  return fresh;
}

Node* World::toNumeric(Node* n) {
  if (n->cls == "TavNumLinTermI") return n->refs < 1 ? n : copy(n);
  Node* fresh = linear(false, n->cls == "TavIntLinTermI" ? static_cast<double>(n->k) : 0.0);
  if (n->cls == "TavIntLinTermI") {
    for (Node* part : n->ops) append(fresh, part);
    fresh->terms = n->terms;
  } else if (isVar(n)) {
    fresh->terms = {{n, 1.0}};
  } else {
    append(fresh, n);
  }
  return fresh;
}

void World::append(Node* n, Node* summand) {
  n->ops.push_back(summand);
  ++summand->refs;
}

void World::merge(Node* into, Node* from) {
  into->terms.insert(into->terms.end(), from->terms.begin(), from->terms.end());
  into->ops.insert(into->ops.end(), from->ops.begin(), from->ops.end());
  into->c += from->c;
  into->k = TavWrapAdd(into->k, from->k);
  from->terms.clear();
  from->ops.clear();
  end(from);
}

/// A linear operand that may be changed, of the side's kind.
Node* World::draft(Node* n, bool isInt, bool shared) {
  if (!isInt && n->isInt) return toNumeric(n);
  return n->refs <= 0 && !shared ? n : copy(n);
}

void World::multiply(Node* n, double d, TavInt k) {
  for (Node*& part : n->ops) {
    Node* fresh = n->isInt ? times(part, k) : times(part, d);
    ++fresh->refs;
    release(part);
    part = fresh;
  }
  for (auto& term : n->terms) term.second *= n->isInt ? static_cast<double>(k) : d;
  if (n->isInt) {
    n->k = TavWrapMul(n->k, k);
  } else {
    n->c *= d;
  }
}

void World::divide(Node* n, double d) {
  for (Node*& part : n->ops) {
    Node* fresh = over(part, d);
    ++fresh->refs;
    release(part);
    part = fresh;
  }
  for (auto& term : n->terms) term.second /= d;
  n->c /= d;
}

long World::normalize(Node* n) {
  long merged = 0;
  std::vector<std::pair<Node*, double>> kept;
  for (std::size_t i = 0; i < n->terms.size(); ++i) {
    const auto later =
        std::find_if(n->terms.rbegin(), n->terms.rend(), [&](const auto& t) { return t.first == n->terms[i].first; });
    const std::size_t last = n->terms.size() - 1 - static_cast<std::size_t>(later - n->terms.rbegin());
    if (last != i) {
      n->terms[last].second += n->terms[i].second;
      ++merged;
    } else if (n->terms[i].second != 0.0) {
      kept.push_back(n->terms[i]);
    }
  }
  n->terms = kept;
  return merged;
}

double World::setCoef(Node* n, Node* var, double coef) {
  normalize(n);
  for (std::size_t i = 0; i < n->terms.size(); ++i) {
    if (n->terms[i].first != var) continue;
    const double old = n->terms[i].second;
    n->terms[i].second = coef;
    if (coef == 0.0) n->terms.erase(n->terms.begin() + static_cast<std::ptrdiff_t>(i));
    return old;
  }
  if (coef != 0.0) n->terms.emplace_back(var, coef);
  return 0.0;
}

void World::addInPlace(Node* into, Node* operand, bool negated) {
  if (isVar(operand)) {
    into->terms.emplace_back(operand, negated ? -1.0 : 1.0);
  } else if (isLinear(operand)) {
    Node* from = draft(operand, false);
    if (negated) multiply(from, -1.0, 0);
    merge(into, from);
  } else {
    append(into, negated ? times(operand, -1.0) : operand);
  }
}

// ---- World: operators

Node* World::sum(Node* a, Node* b, bool isInt) {
  if (isLinear(a) && isLinear(b)) {
    Node* left = draft(a, isInt);
    merge(left, draft(b, isInt, a == b));
    return left;
  }
  if (isLinear(a) || isLinear(b)) {
    Node* n = draft(isLinear(a) ? a : b, isInt);
    Node* summand = isLinear(a) ? b : a;
    if (!isVar(summand)) {
      append(n, summand);
    } else {
      n->terms.insert(isLinear(a) ? n->terms.end() : n->terms.begin(), {summand, 1.0});
    }
    return n;
  }
  Node* n = linear(isInt, 0.0);
  for (Node* summand : {a, b}) {
    if (isVar(summand)) {
      n->terms.emplace_back(summand, 1.0);
    } else {
      append(n, summand);
    }
  }
  return n;
}

Node* World::difference(Node* a, Node* b, bool isInt) {
  if (a == b && isLinear(b) && b->refs <= 0 && b->isInt == isInt) b = copy(b);
  ++a->refs;  // a stays while the negation lets go of parts, of which it may be one
  Node* negated = isInt ? times(b, TavInt{-1}) : times(b, -1.0);
  --a->refs;
  return sum(a, negated, isInt);
}

Node* World::sumTerm(Node* a, Node* var, double coef, bool isInt, bool termFirst) {
  Node* n = isLinear(a) ? draft(a, isInt) : linear(isInt, 0.0);
  if (isVar(a)) n->terms.emplace_back(a, 1.0);
  if (!isVar(a) && !isLinear(a)) append(n, a);
  n->terms.insert(termFirst ? n->terms.begin() : n->terms.end(), {var, coef});
  return n;
}

Node* World::plus(Node* e, double d) {
  if (!isLinear(e)) return sum(e, linear(false, d), false);
  Node* n = draft(e, false);
  n->c += d;
  return n;
}

Node* World::plus(Node* e, TavInt k) {
  Node* n = isLinear(e) ? draft(e, true) : sum(e, linear(true, 0.0), true);
  n->k = TavWrapAdd(n->k, k);
  return n;
}

Node* World::times(Node* e, double d) {
  if (isVar(e)) {
    Node* n = linear(false, 0.0);
    n->terms = {{e, d}};
    return n;
  }
  if (isLinear(e)) {
    Node* n = draft(e, false);
    multiply(n, d, 0);
    return n;
  }
  if (e->cls == "TavNumTimesCstI") return times(e->ops[0], e->c * d);
  if (e->cls == "TavIntTimesCstI") return times(e->ops[0], static_cast<double>(e->k) * d);
  Node* n = make("TavNumTimesCstI", false, {e});
  n->c = d;
  return n;
}

Node* World::times(Node* e, TavInt k) {
  if (isVar(e)) {
    Node* n = linear(true, 0.0);
    n->terms = {{e, static_cast<double>(k)}};
    return n;
  }
  if (isLinear(e)) {
    Node* n = draft(e, true);
    multiply(n, 0.0, k);
    return n;
  }
  if (e->cls == "TavIntTimesCstI") return times(e->ops[0], TavWrapMul(e->k, k));
  Node* n = make("TavIntTimesCstI", true, {e});
  n->k = k;
  return n;
}

Node* World::over(Node* e, double d) {
  if (isVar(e)) return times(e, 1.0 / d);
  if (isLinear(e)) {
    Node* n = draft(e, false);
    divide(n, d);
    return n;
  }
  Node* n = make("TavNumDivCstI", false, {e});
  n->c = d;
  return n;
}

Node* World::product(Node* a, Node* b, bool isInt) {
  const auto constant = [](const Node* n) { return n->isInt ? static_cast<double>(n->k) : n->c; };
  if (isInt) return make("TavIntTimesI", true, {a, b});
  if (isConstant(a)) return times(b, constant(a));
  if (isConstant(b)) return times(a, constant(b));
  return make("TavNumTimesI", false, {a, b});
}

}  // namespace model
