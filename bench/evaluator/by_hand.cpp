#include "bench/evaluator/by_hand.h"

#include <cmath>
#include <map>

namespace {

/// Sine and cosine by one call of the C library.
inline void sineCosine(double angle, double& sine, double& cosine) {
#if defined(__GLIBC__)
  ::sincos(angle, &sine, &cosine);
#else
  sine = std::sin(angle);
  cosine = std::cos(angle);
#endif
}

std::pair<int, int> lower(int a, int b) { return {a > b ? a : b, a > b ? b : a}; }

constexpr int kBranchEntries = 26, kBranchRows = 7;

}  // namespace

ByHand<PowerFlow>::ByHand(const PowerFlow& problem)
    : _problem(problem), _ends(problem.buses), _generators(problem.buses) {
  for (std::size_t end = 0; end < 2 * problem.branches; ++end) {
    const Network::Branch& branch = problem.network.branches[end % problem.branches];
    _ends[end < problem.branches ? branch.from : branch.to].push_back(static_cast<int>(end));
  }
  for (std::size_t i = 0; i < problem.generators; ++i) {
    _generators[problem.network.generators[i].bus].push_back(static_cast<int>(i));
  }
  for (std::size_t l = 0; l < problem.branches; ++l) {
    const Network::Branch& branch = problem.network.branches[l];
    _branches.push_back(
        {static_cast<int>(branch.from),
         static_cast<int>(branch.to),
         {problem.flows[4 * l], problem.flows[4 * l + 1], problem.flows[4 * l + 2], problem.flows[4 * l + 3]},
         0,
         branch.from < branch.to});
  }
  makeJacobian();
  makeHessian();
}

void ByHand<PowerFlow>::makeJacobian() {
  int row = 0;
  const auto entry = [&](int column, double value) {
    jacobianPlaces.emplace_back(row, column);
    _constants.push_back(value);
  };
  const PowerFlow& o = _problem;
  for (const std::size_t bus : o.network.references) entry(o.angle(bus), 1), ++row;
  for (std::size_t i = 0; i < o.buses; ++i) {
    const Network::Bus& bus = o.network.buses[i];
    Shunt shunt{static_cast<int>(i), -1, -1, bus.conductance, bus.susceptance};
    for (const int end : _ends[i]) entry(o.activeIn(static_cast<std::size_t>(end)), 1);
    for (const int k : _generators[i]) entry(o.active(static_cast<std::size_t>(k)), -1);
    if (bus.conductance != 0) shunt.active = static_cast<int>(_constants.size()), entry(o.voltage(i), 0);
    ++row;
    for (const int end : _ends[i]) entry(o.reactiveIn(static_cast<std::size_t>(end)), 1);
    for (const int k : _generators[i]) entry(o.reactive(static_cast<std::size_t>(k)), -1);
    if (bus.susceptance != 0) shunt.reactive = static_cast<int>(_constants.size()), entry(o.voltage(i), 0);
    ++row;
    if (shunt.active >= 0 || shunt.reactive >= 0) _shunts.push_back(shunt);
  }
  _fixed = _constants.size();
  for (std::size_t l = 0; l < o.branches; ++l) {
    const std::size_t from = o.network.branches[l].from, to = o.network.branches[l].to, far = o.branches + l;
    const int own[] = {o.activeIn(l), o.reactiveIn(l), o.activeIn(far), o.reactiveIn(far)};
    const auto place = [&](int column) { jacobianPlaces.emplace_back(row, column); };
    for (const int flow : own) {
      for (const int column : {o.angle(from), o.angle(to), o.voltage(from), o.voltage(to), flow}) place(column);
      ++row;
    }
    place(o.angle(from)), place(o.angle(to)), ++row;
    place(own[0]), place(own[1]), ++row;
    place(own[2]), place(own[3]), ++row;
  }
}

/// For each bus (angle, angle), (voltage, voltage), (voltage, angle); four for each pair of neighbours; four squares of
/// flows for each branch; the squares of the costs.
void ByHand<PowerFlow>::makeHessian() {
  const PowerFlow& o = _problem;
  for (std::size_t i = 0; i < o.buses; ++i) {
    hessianPlaces.push_back(lower(o.angle(i), o.angle(i)));
    hessianPlaces.push_back(lower(o.voltage(i), o.voltage(i)));
    hessianPlaces.push_back(lower(o.voltage(i), o.angle(i)));
  }
  std::map<std::pair<int, int>, int> pairs;
  for (Branch& branch : _branches) {
    const auto [high, low] = lower(branch.from, branch.to);
    const auto a = static_cast<std::size_t>(low), b = static_cast<std::size_t>(high);
    const auto [found, fresh] = pairs.try_emplace({low, high}, static_cast<int>(hessianPlaces.size()));
    if (fresh) {
      hessianPlaces.push_back(lower(o.voltage(a), o.voltage(b)));
      hessianPlaces.push_back(lower(o.angle(a), o.angle(b)));
      hessianPlaces.push_back(lower(o.voltage(a), o.angle(b)));
      hessianPlaces.push_back(lower(o.voltage(b), o.angle(a)));
    }
    branch.pair = found->second;
  }
  _squares = hessianPlaces.size();
  for (std::size_t l = 0; l < o.branches; ++l) {
    for (const int k : {o.activeIn(l), o.reactiveIn(l), o.activeIn(o.branches + l), o.reactiveIn(o.branches + l)}) {
      hessianPlaces.emplace_back(k, k);
    }
  }
  _costs = hessianPlaces.size();
  for (std::size_t i = 0; i < o.generators; ++i) hessianPlaces.emplace_back(o.active(i), o.active(i));
}

double ByHand<PowerFlow>::objective(const double* x) const {
  double sum = 0;
  const double* const p = x + _problem.active(0);
  for (std::size_t i = 0; i < _problem.generators; ++i) {
    const Network::Generator& g = _problem.network.generators[i];
    sum += (g.quadratic * p[i] + g.linear) * p[i] + g.constant;
  }
  return sum;
}

void ByHand<PowerFlow>::gradient(const double* x, double* values) const {
  std::memset(values, 0, sizeof(double) * static_cast<std::size_t>(_problem.columns()));
  const int first = _problem.active(0);
  for (std::size_t i = 0; i < _problem.generators; ++i) {
    const Network::Generator& g = _problem.network.generators[i];
    values[static_cast<std::size_t>(first) + i] = 2 * g.quadratic * x[static_cast<std::size_t>(first) + i] + g.linear;
  }
}

void ByHand<PowerFlow>::sums(const double* x, double* g) const {
  const double *p = x + _problem.activeIn(0), *q = x + _problem.reactiveIn(0);
  const double *pg = x + _problem.active(0), *qg = x + _problem.reactive(0), *v = x + _problem.voltage(0);
  for (const std::size_t bus : _problem.network.references) *g++ = x[bus];
  for (std::size_t i = 0; i < _problem.buses; ++i) {
    const Network::Bus& bus = _problem.network.buses[i];
    double active = bus.activeLoad, reactive = bus.reactiveLoad;
    for (const int end : _ends[i]) active += p[end], reactive += q[end];
    for (const int k : _generators[i]) active -= pg[k], reactive -= qg[k];
    const double square = v[i] * v[i];
    *g++ = active + bus.conductance * square;
    *g++ = reactive - bus.susceptance * square;
  }
}

inline void ByHand<PowerFlow>::branchValues(const Branch& branch, const double* p, const double* q, std::size_t to,
                                            double vf, double vt, double d, double S, double C, double* g) {
  const double w = vf * vt, wS = w * S, wC = w * C, vf2 = vf * vf, vt2 = vt * vt;
  const auto& f = branch.flow;
  g[0] = p[0] - (f[0].own * vf2 + f[0].cosine * wC + f[0].sine * wS);
  g[1] = q[0] - (f[1].own * vf2 + f[1].cosine * wC + f[1].sine * wS);
  g[2] = p[to] - (f[2].own * vt2 + f[2].cosine * wC - f[2].sine * wS);
  g[3] = q[to] - (f[3].own * vt2 + f[3].cosine * wC - f[3].sine * wS);
  g[4] = d;
  g[5] = p[0] * p[0] + q[0] * q[0];
  g[6] = p[to] * p[to] + q[to] * q[to];
}

inline void ByHand<PowerFlow>::branchJacobian(const Branch& branch, const double* p, const double* q, std::size_t to,
                                              double vf, double vt, double S, double C, double* J) {
  const double w = vf * vt, wS = w * S, wC = w * C;
  for (int k = 0; k < 4; ++k, J += 5) {
    const PowerFlow::Flow& flow = branch.flow[k];
    const double sine = k < 2 ? flow.sine : -flow.sine;
    const double sum = flow.cosine * C + sine * S, slope = flow.cosine * wS - sine * wC;
    const double near = -2 * flow.own * (k < 2 ? vf : vt);
    J[0] = slope;
    J[1] = -slope;
    J[2] = k < 2 ? near - vt * sum : -vt * sum;
    J[3] = k < 2 ? -vf * sum : near - vf * sum;
    J[4] = 1;
  }
  J[0] = 1, J[1] = -1;
  J[2] = 2 * p[0], J[3] = 2 * q[0], J[4] = 2 * p[to], J[5] = 2 * q[to];
}

inline void ByHand<PowerFlow>::branchHessian(const Branch& branch, std::size_t l, double vf, double vt, double S,
                                             double C, const double* lambda, double* values) const {
  const auto& f = branch.flow;
  const double l0 = lambda[0], l1 = lambda[1], l2 = lambda[2], l3 = lambda[3];
  const double P = l0 * f[0].cosine + l1 * f[1].cosine + l2 * f[2].cosine + l3 * f[3].cosine;
  const double Q = l0 * f[0].sine + l1 * f[1].sine - l2 * f[2].sine - l3 * f[3].sine;
  const double K = P * C + Q * S, D = Q * C - P * S, w = vf * vt * K;
  double *const from = values + 3 * branch.from, *const to = values + 3 * branch.to;
  from[0] += w, to[0] += w;
  from[1] -= 2 * (l0 * f[0].own + l1 * f[1].own), to[1] -= 2 * (l2 * f[2].own + l3 * f[3].own);
  from[2] -= vt * D, to[2] += vf * D;
  double* const pair = values + branch.pair;
  pair[0] -= K, pair[1] -= w;
  pair[branch.ordered ? 2 : 3] += vt * D;
  pair[branch.ordered ? 3 : 2] -= vf * D;
  double* const squares = values + _squares + 4 * l;
  squares[0] = squares[1] = 2 * lambda[5];
  squares[2] = squares[3] = 2 * lambda[6];
}

void ByHand<PowerFlow>::constantParts(const double* x, double* values) const {
  std::memcpy(values, _constants.data(), sizeof(double) * _fixed);
  const double* const v = x + _problem.voltage(0);
  for (const Shunt& shunt : _shunts) {
    if (shunt.active >= 0) values[shunt.active] = 2 * shunt.conductance * v[shunt.bus];
    if (shunt.reactive >= 0) values[shunt.reactive] = -2 * shunt.susceptance * v[shunt.bus];
  }
}

void ByHand<PowerFlow>::clearHessian(double sigma, const double* lambda, double* values) const {
  std::memset(values, 0, sizeof(double) * _squares);
  lambda += _problem.network.references.size();
  for (const Shunt& shunt : _shunts) {
    const double active = lambda[2 * shunt.bus], reactive = lambda[2 * shunt.bus + 1];
    values[3 * shunt.bus + 1] = 2 * (active * shunt.conductance - reactive * shunt.susceptance);
  }
  for (std::size_t i = 0; i < _problem.generators; ++i) {
    values[_costs + i] = 2 * sigma * _problem.network.generators[i].quadratic;
  }
}

void ByHand<PowerFlow>::constraints(const double* x, double* g) const {
  sums(x, g);
  const double *v = x + _problem.voltage(0), *p = x + _problem.activeIn(0), *q = x + _problem.reactiveIn(0);
  g += _problem.network.references.size() + 2 * _problem.buses;
  for (const Branch& branch : _branches) {
    double S, C;
    const double d = x[branch.from] - x[branch.to];
    sineCosine(d, S, C);
    branchValues(branch, p++, q++, _branches.size(), v[branch.from], v[branch.to], d, S, C, g);
    g += kBranchRows;
  }
}

void ByHand<PowerFlow>::jacobian(const double* x, double* values) const {
  constantParts(x, values);
  const double *v = x + _problem.voltage(0), *p = x + _problem.activeIn(0), *q = x + _problem.reactiveIn(0);
  values += _fixed;
  for (const Branch& branch : _branches) {
    double S, C;
    sineCosine(x[branch.from] - x[branch.to], S, C);
    branchJacobian(branch, p++, q++, _branches.size(), v[branch.from], v[branch.to], S, C, values);
    values += kBranchEntries;
  }
}

void ByHand<PowerFlow>::hessian(const double* x, double sigma, const double* lambda, double* values) const {
  clearHessian(sigma, lambda, values);
  const double* const v = x + _problem.voltage(0);
  lambda += _problem.network.references.size() + 2 * _problem.buses;
  for (std::size_t l = 0; l < _branches.size(); ++l, lambda += kBranchRows) {
    const Branch& branch = _branches[l];
    double S, C;
    sineCosine(x[branch.from] - x[branch.to], S, C);
    branchHessian(branch, l, v[branch.from], v[branch.to], S, C, lambda, values);
  }
}

double ByHand<PowerFlow>::all(const double* x, double sigma, const double* lambda, double* gradientValues, double* g,
                              double* jacobianValues, double* hessianValues) {
  gradient(x, gradientValues);
  sums(x, g);
  constantParts(x, jacobianValues);
  clearHessian(sigma, lambda, hessianValues);
  const double *v = x + _problem.voltage(0), *p = x + _problem.activeIn(0), *q = x + _problem.reactiveIn(0);
  const std::size_t before = _problem.network.references.size() + 2 * _problem.buses;
  g += before, lambda += before, jacobianValues += _fixed;
  for (std::size_t l = 0; l < _branches.size(); ++l) {
    const Branch& branch = _branches[l];
    double S, C;
    const double d = x[branch.from] - x[branch.to], vf = v[branch.from], vt = v[branch.to];
    sineCosine(d, S, C);
    branchValues(branch, p + l, q + l, _branches.size(), vf, vt, d, S, C, g);
    branchJacobian(branch, p + l, q + l, _branches.size(), vf, vt, S, C, jacobianValues);
    branchHessian(branch, l, vf, vt, S, C, lambda, hessianValues);
    g += kBranchRows, lambda += kBranchRows, jacobianValues += kBranchEntries;
  }
  return objective(x);
}

ByHand<Beam>::ByHand(const Beam& b) : _problem(b) {
  for (int i = 0; i < b.steps; ++i) {
    for (const int c : {b.x(i + 1), b.x(i), b.t(i), b.t(i + 1)}) jacobianPlaces.emplace_back(2 * i, c);
    for (const int c : {b.t(i + 1), b.t(i), b.u(i + 1), b.u(i)}) jacobianPlaces.emplace_back(2 * i + 1, c);
  }
  for (int i = 0; i <= b.steps; ++i) hessianPlaces.emplace_back(b.t(i), b.t(i));
  for (int i = 0; i <= b.steps; ++i) hessianPlaces.emplace_back(b.u(i), b.u(i));
}

double ByHand<Beam>::objective(const double* x) const {
  const double *t = x, *u = x + _problem.u(0);
  double squares = 0, cosines = 0;
  for (int i = 0; i <= _problem.steps; ++i) {
    squares += weight(i) * u[i] * u[i];
    cosines += weight(i) * std::cos(t[i]);
  }
  return 0.5 * _problem.h * (squares + Beam::kAlpha * cosines);
}

void ByHand<Beam>::gradient(const double* x, double* values) const {
  const double *t = x, *u = x + _problem.u(0);
  const int n = _problem.steps + 1;
  std::memset(values + n, 0, sizeof(double) * static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    values[i] = -0.5 * _problem.h * Beam::kAlpha * weight(i) * std::sin(t[i]);
    values[2 * n + i] = _problem.h * weight(i) * u[i];
  }
}

void ByHand<Beam>::constraints(const double* v, double* g) const {
  const double *t = v, *x = v + _problem.x(0), *u = v + _problem.u(0), half = 0.5 * _problem.h;
  double sine = std::sin(t[0]);
  for (int i = 0; i < _problem.steps; ++i) {
    const double next = std::sin(t[i + 1]);
    g[2 * i] = x[i + 1] - x[i] - half * (sine + next);
    g[2 * i + 1] = t[i + 1] - t[i] - half * (u[i + 1] + u[i]);
    sine = next;
  }
}

void ByHand<Beam>::jacobian(const double* x, double* J) const {
  const double half = 0.5 * _problem.h;
  double cosine = -half * std::cos(x[0]);
  for (int i = 0; i < _problem.steps; ++i, J += 8) {
    const double next = -half * std::cos(x[i + 1]);
    J[0] = 1, J[1] = -1, J[2] = cosine, J[3] = next, J[4] = 1, J[5] = -1, J[6] = J[7] = -half;
    cosine = next;
  }
}

void ByHand<Beam>::hessian(const double* x, double sigma, const double* lambda, double* H) const {
  const int n = _problem.steps + 1;
  for (int i = 0; i < n; ++i) {
    const double l = (i + 1 < n ? lambda[2 * i] : 0) + (i > 0 ? lambda[2 * i - 2] : 0);
    double S, C;
    sineCosine(x[i], S, C);
    H[i] = 0.5 * _problem.h * (l * S - sigma * Beam::kAlpha * weight(i) * C);
    H[n + i] = _problem.h * weight(i) * sigma;
  }
}

double ByHand<Beam>::all(const double* v, double sigma, const double* lambda, double* gradientValues, double* g,
                         double* J, double* H) {
  const int n = _problem.steps + 1;
  const double *x = v + _problem.x(0), *u = v + _problem.u(0), h = _problem.h, half = 0.5 * h;
  std::memset(gradientValues + n, 0, sizeof(double) * static_cast<std::size_t>(n));
  double squares = 0, cosines = 0, sine = 0, cosine = 0;
  for (int i = 0; i < n; ++i) {
    const double w = weight(i), l = (i + 1 < n ? lambda[2 * i] : 0) + (i > 0 ? lambda[2 * i - 2] : 0);
    double S, C;
    sineCosine(v[i], S, C);
    squares += w * u[i] * u[i], cosines += w * C;
    gradientValues[i] = -half * Beam::kAlpha * w * S;
    gradientValues[2 * n + i] = h * w * u[i];
    H[i] = half * (l * S - sigma * Beam::kAlpha * w * C);
    H[n + i] = h * w * sigma;
    if (i > 0) {
      g[0] = x[i] - x[i - 1] - half * (sine + S);
      g[1] = v[i] - v[i - 1] - half * (u[i] + u[i - 1]);
      J[0] = 1, J[1] = -1, J[2] = -half * cosine, J[3] = -half * C, J[4] = 1, J[5] = -1, J[6] = J[7] = -half;
      g += 2, J += 8;
    }
    sine = S, cosine = C;
  }
  return half * (squares + Beam::kAlpha * cosines);
}

ByHand<Rosenbrock>::ByHand(const Rosenbrock& problem) : _count(problem.count) {
  for (int i = 0; i < _count; ++i) hessianPlaces.emplace_back(i, i);
  for (int i = 0; i + 1 < _count; ++i) hessianPlaces.emplace_back(i + 1, i);
}

double ByHand<Rosenbrock>::objective(const double* x) const {
  double sum = 0;
  for (int i = 0; i + 1 < _count; ++i) sum += 100 * sqr(x[i + 1] - x[i] * x[i]) + sqr(1 - x[i]);
  return sum;
}

void ByHand<Rosenbrock>::gradient(const double* x, double* values) const {
  double carried = 0;
  for (int i = 0; i + 1 < _count; ++i) {
    const double a = 200 * (x[i + 1] - x[i] * x[i]);
    values[i] = carried - 2 * a * x[i] - 2 * (1 - x[i]);
    carried = a;
  }
  values[_count - 1] = carried;
}

void ByHand<Rosenbrock>::hessian(const double* x, double sigma, const double*, double* H) const {
  double* const beside = H + _count;
  double carried = 0;
  for (int i = 0; i + 1 < _count; ++i) {
    H[i] = carried + sigma * (1200 * x[i] * x[i] - 400 * x[i + 1] + 2);
    beside[i] = -400 * sigma * x[i];
    carried = 200 * sigma;
  }
  H[_count - 1] = carried;
}

double ByHand<Rosenbrock>::all(const double* x, double sigma, const double*, double* gradientValues, double*, double*,
                               double* H) {
  double* const beside = H + _count;
  double sum = 0, carried = 0, carriedSecond = 0;
  for (int i = 0; i + 1 < _count; ++i) {
    const double d = x[i + 1] - x[i] * x[i], e = 1 - x[i];
    sum += 100 * d * d + e * e;
    gradientValues[i] = carried - 400 * d * x[i] - 2 * e;
    carried = 200 * d;
    H[i] = carriedSecond + sigma * (1200 * x[i] * x[i] - 400 * x[i + 1] + 2);
    beside[i] = -400 * sigma * x[i];
    carriedSecond = 200 * sigma;
  }
  gradientValues[_count - 1] = carried;
  H[_count - 1] = carriedSecond;
  return sum;
}
