#include "tests/evaluator/jets.h"

#include <algorithm>

namespace jets {

using Jets = std::vector<Jet>;

Jet operator+(const Jet& x, const Jet& y) { return {x.f + y.f, x.a + y.a, x.b + y.b, x.ab + y.ab}; }
Jet operator-(const Jet& x, const Jet& y) { return {x.f - y.f, x.a - y.a, x.b - y.b, x.ab - y.ab}; }
Jet operator*(const Jet& x, const Jet& y) {
  Jet r{x.f * y.f, x.a * y.f + x.f * y.a, x.b * y.f + x.f * y.b, x.ab * y.f + x.a * y.b + x.b * y.a + x.f * y.ab};
  if (r.f.v == 0.0) r.f.v = x.f.v * y.f.v;  // the value itself has no rule for factors 0
  return r;
}

namespace {

/// f(x) with its first three derivatives, the third for the error of the second.
Jet chain(const Jet& x, double f, double f1, double f2, double f3) {
  if (std::isinf(f)) throw Fragile();  // a function of it may be finite again, without a derivative
  const auto at = [&x](double value, double slope) {
    return Number(value, errorOf(value, 8 * std::fabs(value) + std::fabs(slope) * x.f.e));
  };
  const Number d1 = at(f1, f2), d2 = at(f2, f3);
  return {at(f, f1), d1 * x.a, d1 * x.b, d1 * x.ab + d2 * x.a * x.b};
}

Jet reciprocal(const Jet& x) {
  const double r = 1 / x.f.v;
  return chain(x, r, -r * r, 2 * r * r * r, -6 * r * r * r * r);
}

Jet quotient(const Jet& x, const Jet& y) {
  Jet q = x * reciprocal(y);
  q.f.v = x.f.v / y.f.v;
  return q;
}

void requireAwayFrom(const Number& x, double kink) {
  const double distance = std::fabs(x.v - kink);
  if (x.e > 0 && !(distance > x.e * 1e-12)) throw Fragile();
}

Jet step(const Jet& x, double value) {  // constant between jumps at whole numbers, or halves
  requireAwayFrom(x.f, std::round(x.f.v));
  requireAwayFrom(x.f, std::floor(x.f.v) + 0.5);
  return Jet(value);
}
double cut(double x) { return static_cast<double>(TavTrunc(x)); }

const Jet& chosen(bool first, const Jet& x, const Jet& y) {
  requireAwayFrom(x.f - y.f, x.f.v == y.f.v && x.f.e + y.f.e == 0 ? 1 : 0);
  return first ? x : y;
}
Jet least(const Jet& x, const Jet& y) { return chosen(y.f.v > x.f.v, x, y); }
Jet greatest(const Jet& x, const Jet& y) { return chosen(x.f.v > y.f.v, x, y); }

Jet power(const Jet& x, const Jet& y) {
  const double p = x.f.v, q = y.f.v, log = p > 0 ? std::log(p) : 0, value = std::pow(p, q);
  if (!std::isfinite(p) || !std::isfinite(q)) throw Fragile();  // 1 to an infinite power is 1
  const auto falling = [&](int order) {
    double factor = 1;
    for (int k = 0; k < order; ++k) factor *= q - k;
    return factor == 0 ? 0.0 : factor * std::pow(p, q - order);
  };
  const bool hasLog = p > 0;
  const double magnitude = std::fabs(q) + 4;
  const auto number = [&](double v, double slope) {
    const double byExponent = hasLog ? std::fabs(v * log) : 0;
    return Number(v, errorOf(v, 32 * std::fabs(v) * magnitude + std::fabs(slope) * x.f.e +
                                    (byExponent + std::fabs(v) * 4) * y.f.e));
  };
  const Number byX = number(falling(1), falling(2)), byXX = number(falling(2), falling(3));
  const double px = hasLog ? std::pow(p, q - 1) : 0;
  const Number byY = number(hasLog ? value * log : 0, px * (1 + std::fabs(q * log)));
  const Number byYY = number(hasLog ? value * log * log : 0, px * (2 * std::fabs(log) + std::fabs(q) * log * log));
  const Number byXY =
      number(hasLog ? px * (1 + q * log) : 0, px / (hasLog ? p : 1) * (1 + std::fabs(2 * q) + std::fabs(q * q * log)));
  const auto first = [&](const Number& dx, const Number& dy) { return byX * dx + byY * dy; };
  return {number(value, falling(1)), first(x.a, y.a), first(x.b, y.b),
          first(x.ab, y.ab) + byXX * x.a * x.b + byYY * y.a * y.b + byXY * (x.a * y.b) + byXY * (x.b * y.a)};
}

Jet deviation(const Jets& v) {
  Jet mean, squares;
  const double n = static_cast<double>(v.size());
  if (v.empty()) throw Undefined();
  for (const Jet& x : v) mean = mean + x;
  mean = quotient(mean, n);
  const auto size = [](const Number& x, const Number& y) { return std::fabs(x.v) + std::fabs(y.v); };
  for (const Jet& x : v) {
    squares = squares + (x - mean) * (x - mean);
    // Reverse accumulation subtracts products where this subtracts factors.
    squares.a.e += 8 * size(x.f, mean.f) * size(x.a, mean.a);
    squares.b.e += 8 * size(x.f, mean.f) * size(x.b, mean.b);
    squares.ab.e += 8 * (size(x.a, mean.a) * size(x.b, mean.b) + size(x.f, mean.f) * size(x.ab, mean.ab));
  }
  squares = quotient(squares, n);
  requireAwayFrom(squares.f, 0);
  const double s = std::sqrt(squares.f.v);
  if (s == 0) return {Number(0), 0.0, 0.0, 0.0};
  return chain(squares, s, 0.5 / s, -0.25 / (s * squares.f.v), 0.375 / (s * squares.f.v * squares.f.v));
}

template <Jet (*f)(const Jet&, const Jet&)>
Jet extreme(const Jets& v) {
  if (v.empty()) throw Undefined();
  Jet result = v[0];
  for (const Jet& x : v) result = f(x, result);
  return result;
}

Jet element(const Jets& v) {
  const TavInt i = TavTrunc(step(v[0], v[0].f.v).f.v);
  if (i < 0 || i >= static_cast<TavInt>(v.size()) - 1) throw Undefined();
  return v[static_cast<std::size_t>(i) + 1];
}

Jet count(const Jets& v) {
  double n = 0;
  for (std::size_t i = 0; i + 1 < v.size(); ++i) {
    requireAwayFrom(v[i].f, v.back().f.v);
    n += v[i].f.v == v.back().f.v;
  }
  return n;
}

using Rule = std::function<Jet(const Jets&)>;

template <class F>
Rule unary(F f) {
  return [f](const Jets& v) { return f(v[0]); };
}
template <class F>
Rule binary(F f) {
  return [f](const Jets& v) { return f(v[0], v[1]); };
}
template <class F>
Rule swapped(F f) {
  return [f](const Jets& v) { return f(v[1], v[0]); };
}
template <bool remainder>
Jet whole(const Jet& x, const Jet& y) {
  const TavInt a = TavTrunc(step(x, x.f.v).f.v), b = TavTrunc(step(y, y.f.v).f.v);
  if (b == 0 || b == -1) throw Undefined();
  return static_cast<double>(remainder ? a % b : a / b);
}

/// The derivatives of every class that the random programs compose, by its name.
const std::map<std::string, Rule>& rules() {
  const Rule product = binary([](const Jet& x, const Jet& y) { return x * y; });
  const Rule square = unary([](const Jet& x) { return x * x; });
  const Rule absolute = unary([](const Jet& x) {
    requireAwayFrom(x.f, 0);
    const double s = x.f.v > 0 ? 1 : x.f.v < 0 ? -1 : 0;
    return chain(x, std::fabs(x.f.v), s, 0, 0);
  });
  const Rule arcSine = unary([](const Jet& x) {
    const double v = x.f.v, r = (1 - v) * (1 + v), d = 1 / std::sqrt(r);
    return chain(x, std::asin(v), d, v * d / r, d / r * (1 + 3 * v * v / r));
  });
  static const std::map<std::string, Rule> kRules = {
      {"TavNumTimesCstI", product},
      {"TavIntTimesCstI", product},
      {"TavNumTimesI", product},
      {"TavIntTimesI", product},
      {"TavNumDivCstI", binary(quotient)},
      {"TavNumDivI", binary(quotient)},
      {"TavNumRecDivCstI", swapped(quotient)},
      {"TavIntDivCstI", binary(whole<false>)},
      {"TavIntDivI", binary(whole<false>)},
      {"TavIntRecDivCstI", swapped(whole<false>)},
      {"TavIntModuloI", binary(whole<true>)},
      {"TavIntModuloCstI", binary(whole<true>)},
      {"TavIntRecModuloCstI", swapped(whole<true>)},
      {"TavNumPowerCstI", binary(power)},
      {"TavNumRecPowerCstI", swapped(power)},
      {"TavNumPowerI", binary(power)},
      {"TavNumSquareI", square},
      {"TavIntSquareI", square},
      {"TavNumAbsI", absolute},
      {"TavIntAbsI", absolute},
      {"TavSgnI", unary([](const Jet& x) { return requireAwayFrom(x.f, 0), Jet(x.f.v > 0   ? 1
                                                                               : x.f.v < 0 ? -1
                                                                                           : 0); })},
      {"TavNumMinCstI", binary(least)},
      {"TavNumMaxCstI", binary(greatest)},
      {"TavIntMinCstI", binary(least)},
      {"TavIntMaxCstI", binary(greatest)},
      {"TavNumMinI", binary(least)},
      {"TavNumMaxI", binary(greatest)},
      {"TavIntMinI", binary(least)},
      {"TavIntMaxI", binary(greatest)},
      {"TavNumMinArrayI", extreme<least>},
      {"TavNumMaxArrayI", extreme<greatest>},
      {"TavIntMinArrayI", extreme<least>},
      {"TavIntMaxArrayI", extreme<greatest>},
      {"TavSinI", unary([](const Jet& x) {
         const double s = std::sin(x.f.v), c = std::cos(x.f.v);
         return chain(x, s, c, -s, -c);
       })},
      {"TavCosI", unary([](const Jet& x) {
         const double s = std::sin(x.f.v), c = std::cos(x.f.v);
         return chain(x, c, -s, -c, s);
       })},
      {"TavTanI", unary([](const Jet& x) {
         const double t = std::tan(x.f.v), d = 1 + t * t;
         return chain(x, t, d, 2 * t * d, 2 * d * (d + 2 * t * t));
       })},
      {"TavArcSinI", arcSine},
      {"TavArcCosI",
       [arcSine](const Jets& v) {
         Jet minus = Jet(0.0) - arcSine(v);
         minus.f.v = std::acos(v[0].f.v);
         return minus;
       }},
      {"TavArcTanI", unary([](const Jet& x) {
         const double v = x.f.v, d = 1 / (1 + v * v);
         return chain(x, std::atan(v), d, -2 * v * d * d, d * d * (8 * v * v * d - 2));
       })},
      {"TavLogI", unary([](const Jet& x) {
         const double r = 1 / x.f.v;
         return chain(x, std::log(x.f.v), r, -r * r, 2 * r * r * r);
       })},
      {"TavExponentI", unary([](const Jet& x) {
         const double e = std::exp(x.f.v);
         return chain(x, e, e, e, e);
       })},
      {"TavNumCeilI", unary([](const Jet& x) { return step(x, std::ceil(x.f.v)); })},
      {"TavNumFloorI", unary([](const Jet& x) { return step(x, std::floor(x.f.v)); })},
      {"TavNumTruncI", unary([](const Jet& x) { return step(x, cut(x.f.v)); })},
      {"TavNumRoundI", unary([](const Jet& x) { return step(x, TavVurRound(x.f.v)); })},
      {"TavNumFractI", unary([](const Jet& x) { return x - step(x, cut(x.f.v)); })},
      {"TavDistToIntI", [absolute](const Jets& v) { return absolute({step(v[0], std::round(v[0].f.v)) - v[0]}); }},
      {"TavNumToIntI", unary([](const Jet& x) {
         if (!std::isfinite(x.f.v) || std::trunc(x.f.v) != x.f.v) throw Undefined();
         if (std::fabs(x.f.v) > 9e18) throw Fragile();  // the integer's range ends
         return x;
       })},
      {"TavNumExprArrayElementI", element},
      {"TavIntExprArrayElementI", element},
      {"TavNumArrayElementI", element},
      {"TavIntArrayElementI", element},
      {"TavCountI", count},
      {"TavStandardDeviationI", deviation},
  };
  return kRules;
}

}  // namespace

Jet evaluate(const model::Node& node, const std::function<Jet(const model::Node&)>& jetOf) {
  if (node.variable) return jetOf(node);
  if (node.isLinear()) {
    Jet sum = node.constant().value;
    for (const model::Ref& part : node.ops) sum = sum + evaluate(*part, jetOf);
    for (const auto& [var, coef] : node.terms) sum = sum + Jet(coef) * jetOf(*var);
    return sum;
  }
  const auto rule = rules().find(node.sample->name);
  if (rule == rules().end()) throw Undefined();
  Jets operands;
  for (const model::Ref& op : node.ops) operands.push_back(evaluate(*op, jetOf));
  for (const auto& [letter, numbers] : node.numbers) {
    for (const model::Constant& number : numbers) operands.push_back(number.value);
  }
  return rule->second(operands);
}

}  // namespace jets
