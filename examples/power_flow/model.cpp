#include "model.h"

#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class Builder {
 public:
  Builder(TavEnv env, const Network& network) : _env(env), _network(network), _model(env) {}

  PowerFlowModel build() {
    makeVariables();
    makeCost();
    for (const std::size_t bus : _network.references) add(1 * _model.angle[bus], {0, 0});
    balanceBuses();
    for (std::size_t l = 0; l < _network.branches.size(); ++l) {
      _model.firstConstraint.push_back(_model.limits.size());
      limitBranch(l);
    }
    _model.firstConstraint.push_back(_model.limits.size());
    return _model;
  }

 private:
  TavNumVar variable(Range range) { return TavNumVar(_env, range.least, range.most); }
  /// A counted handle keeps each body alive until the environment ends.
  void add(const TavNumExpr& body, Range limits) {
    _model.constraints.add(body);
    _model.limits.push_back(limits);
  }

  void makeVariables() {
    for (const Network::Bus& bus : _network.buses) {
      _model.angle.push_back(variable({-kInfinity, kInfinity}));
      _model.voltage.push_back(variable(bus.voltage));
    }
    for (const Network::Generator& generator : _network.generators) {
      _model.active.push_back(variable(generator.active));
      _model.reactive.push_back(variable(generator.reactive));
    }
    for (int end = 0; end < 2; ++end) {
      for (const Network::Branch& branch : _network.branches) {
        _model.activeIn.push_back(variable({-branch.rating, branch.rating}));
        _model.reactiveIn.push_back(variable({-branch.rating, branch.rating}));
      }
    }
  }

  void makeCost() {
    TavExpr cost(_env);
    for (std::size_t i = 0; i < _network.generators.size(); ++i) {
      const Network::Generator& generator = _network.generators[i];
      if (generator.quadratic != 0) cost += generator.quadratic * TavSquare(_model.active[i]);
      cost += generator.linear * _model.active[i];
      cost += generator.constant;
    }
    _model.cost = cost;
  }

  /// The power of a bus's generators equals the flows into its branches, loads and shunts.
  void balanceBuses() {
    const std::size_t buses = _network.buses.size(), branches = _network.branches.size();
    std::vector<TavExpr> active, reactive;
    for (std::size_t i = 0; i < buses; ++i) {
      const Network::Bus& bus = _network.buses[i];
      active.emplace_back(_env, bus.activeLoad);
      reactive.emplace_back(_env, bus.reactiveLoad);
      if (bus.conductance != 0) active[i] += bus.conductance * TavSquare(_model.voltage[i]);
      if (bus.susceptance != 0) reactive[i] -= bus.susceptance * TavSquare(_model.voltage[i]);
    }
    for (std::size_t l = 0; l < branches; ++l) {
      const Network::Branch& branch = _network.branches[l];
      active[branch.from] += _model.activeIn[l];
      active[branch.to] += _model.activeIn[branches + l];
      reactive[branch.from] += _model.reactiveIn[l];
      reactive[branch.to] += _model.reactiveIn[branches + l];
    }
    for (std::size_t i = 0; i < _network.generators.size(); ++i) {
      active[_network.generators[i].bus] -= _model.active[i];
      reactive[_network.generators[i].bus] -= _model.reactive[i];
    }
    for (std::size_t i = 0; i < buses; ++i) {
      add(active[i], {0, 0});
      add(reactive[i], {0, 0});
    }
  }

  /// Ohm's law at both ends, with half of the charging at each, and the limits of a branch.
  void limitBranch(std::size_t l) {
    const Network::Branch& branch = _network.branches[l];
    const std::size_t to = _network.branches.size() + l;
    const double g = branch.conductance, b = branch.susceptance, half = branch.charging / 2;
    const double tr = branch.ratioReal, ti = branch.ratioImaginary, square = tr * tr + ti * ti;
    const TavNumVar vf = _model.voltage[branch.from], vt = _model.voltage[branch.to];
    const TavNumVar af = _model.angle[branch.from], at = _model.angle[branch.to];
    const TavNumVar pf = _model.activeIn[l], qf = _model.reactiveIn[l];
    const TavNumVar pt = _model.activeIn[to], qt = _model.reactiveIn[to];
    const auto flow = [&](TavNumVar own, TavNumVar near, TavNumVar far, TavNumVar nearAngle, TavNumVar farAngle,
                          double own2, double cosine, double sine) {
      add(own - own2 * TavSquare(near) - cosine * (near * far * TavCos(nearAngle - farAngle)) -
              sine * (near * far * TavSin(nearAngle - farAngle)),
          {0, 0});
    };
    flow(pf, vf, vt, af, at, g / square, (-g * tr + b * ti) / square, (-b * tr - g * ti) / square);
    flow(qf, vf, vt, af, at, -(b + half) / square, (b * tr + g * ti) / square, (-g * tr + b * ti) / square);
    flow(pt, vt, vf, at, af, g, (-g * tr - b * ti) / square, (-b * tr + g * ti) / square);
    flow(qt, vt, vf, at, af, -(b + half), (b * tr - g * ti) / square, (-g * tr - b * ti) / square);
    add(af - at, branch.angle);
    const Range power{-kInfinity, branch.rating * branch.rating};
    add(TavSquare(pf) + TavSquare(qf), power);
    add(TavSquare(pt) + TavSquare(qt), power);
  }

  TavEnv _env;
  const Network& _network;
  PowerFlowModel _model;
};

}  // namespace

TavNumVarArray PowerFlowModel::columns() const {
  TavNumVarArray all(constraints.getEnv());
  for (const auto* group : {&angle, &voltage, &active, &reactive, &activeIn, &reactiveIn}) {
    for (const TavNumVar variable : *group) all.add(variable);
  }
  return all;
}

PowerFlowModel makeModel(TavEnv env, const Network& network) { return Builder(env, network).build(); }
