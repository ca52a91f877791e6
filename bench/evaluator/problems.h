#pragma once
/// The problems of the evaluator's benchmarks. Each describes its rows to a receiver, term by term:
///   out.constant(row, c); out.linear(row, c, column); out.add(row, term)
/// where a term consists of the receiver's numbers: out.x(column), + - * by each other and by doubles, sqr, sin, cos.

#include <cmath>
#include <cstddef>
#include <vector>

#include "examples/power_flow/network.h"

/// Stands for the objective in place of a row.
inline constexpr int kObjective = -1;

inline double sqr(double value) { return value * value; }

/// Optimal power flow on a case of PGLib-OPF, where the environment's variable TAV_CASES names a folder that has one of
/// this size, otherwise on a random network of that many buses. Columns and rows are in the order of
/// examples/power_flow.
struct PowerFlow {
  explicit PowerFlow(std::size_t buses);

  int angle(std::size_t bus) const { return static_cast<int>(bus); }
  int voltage(std::size_t bus) const { return static_cast<int>(buses + bus); }
  int active(std::size_t generator) const { return static_cast<int>(2 * buses + generator); }
  int reactive(std::size_t generator) const { return static_cast<int>(2 * buses + generators + generator); }
  int activeIn(std::size_t end) const { return static_cast<int>(2 * (buses + generators) + end); }
  int reactiveIn(std::size_t end) const { return static_cast<int>(2 * (buses + generators + branches) + end); }
  int columns() const { return static_cast<int>(2 * (buses + generators) + 4 * branches); }
  int rows() const { return static_cast<int>(network.references.size() + 2 * buses + 7 * branches); }
  std::vector<double> start() const;
  template <class Out>
  void describe(Out& out) const;

  Network network;
  std::size_t buses, generators, branches;
  /// Of a branch: its flow into an end is own * near^2 + near * far * (cosine * cos + sine * sin)(near - far angle).
  struct Flow {
    double own, cosine, sine;
  };
  std::vector<Flow> flows;  ///< active from, reactive from, active to, reactive to, for each branch
};

/// The control of a beam (clnlbeam of the CUTE set) with `size` steps: columns t, x, u of size + 1 each.
struct Beam {
  explicit Beam(std::size_t size) : steps(static_cast<int>(size)), h(1.0 / static_cast<double>(size)) {}

  int t(int i) const { return i; }
  int x(int i) const { return steps + 1 + i; }
  int u(int i) const { return 2 * (steps + 1) + i; }
  int columns() const { return 3 * (steps + 1); }
  int rows() const { return 2 * steps; }
  std::vector<double> start() const;
  template <class Out>
  void describe(Out& out) const;

  static constexpr double kAlpha = 350;
  int steps;
  double h;
};

/// A chain of Rosenbrock's functions over `size` columns; no rows.
struct Rosenbrock {
  explicit Rosenbrock(std::size_t size) : count(static_cast<int>(size)) {}

  int columns() const { return count; }
  int rows() const { return 0; }
  std::vector<double> start() const;
  template <class Out>
  void describe(Out& out) const;

  int count;
};

template <class Out>
void PowerFlow::describe(Out& out) const {
  for (std::size_t i = 0; i < generators; ++i) {
    const Network::Generator& g = network.generators[i];
    if (g.quadratic != 0) out.add(kObjective, g.quadratic * sqr(out.x(active(i))));
    out.linear(kObjective, g.linear, active(i));
    out.constant(kObjective, g.constant);
  }
  int row = 0;
  for (const std::size_t bus : network.references) out.linear(row++, 1, angle(bus));
  for (std::size_t i = 0; i < buses; ++i) {
    const Network::Bus& bus = network.buses[i];
    const int own = row + 2 * static_cast<int>(i);
    out.constant(own, bus.activeLoad);
    out.constant(own + 1, bus.reactiveLoad);
    if (bus.conductance != 0) out.add(own, bus.conductance * sqr(out.x(voltage(i))));
    if (bus.susceptance != 0) out.add(own + 1, -bus.susceptance * sqr(out.x(voltage(i))));
  }
  for (std::size_t end = 0; end < 2 * branches; ++end) {
    const Network::Branch& branch = network.branches[end % branches];
    const int own = row + 2 * static_cast<int>(end < branches ? branch.from : branch.to);
    out.linear(own, 1, activeIn(end));
    out.linear(own + 1, 1, reactiveIn(end));
  }
  for (std::size_t i = 0; i < generators; ++i) {
    const int own = row + 2 * static_cast<int>(network.generators[i].bus);
    out.linear(own, -1, active(i));
    out.linear(own + 1, -1, reactive(i));
  }
  row += static_cast<int>(2 * buses);
  for (std::size_t l = 0; l < branches; ++l) {
    const Network::Branch& branch = network.branches[l];
    for (std::size_t k = 0; k < 4; ++k, ++row) {
      const std::size_t near = k < 2 ? branch.from : branch.to, far = k < 2 ? branch.to : branch.from;
      const std::size_t end = k < 2 ? l : branches + l;
      const Flow& flow = flows[4 * l + k];
      out.linear(row, 1, k % 2 == 0 ? activeIn(end) : reactiveIn(end));
      const auto vn = out.x(voltage(near)), vf = out.x(voltage(far));
      const auto difference = out.x(angle(near)) - out.x(angle(far));
      out.add(row, -flow.own * sqr(vn));
      out.add(row, -flow.cosine * (vn * vf * cos(difference)));
      out.add(row, -flow.sine * (vn * vf * sin(difference)));
    }
    out.linear(row, 1, angle(branch.from));
    out.linear(row++, -1, angle(branch.to));
    for (const std::size_t end : {l, branches + l}) {
      out.add(row, sqr(out.x(activeIn(end))));
      out.add(row++, sqr(out.x(reactiveIn(end))));
    }
  }
}

template <class Out>
void Beam::describe(Out& out) const {
  for (int i = 0; i < steps; ++i) {
    out.add(kObjective, 0.5 * h * sqr(out.x(u(i + 1))));
    out.add(kObjective, 0.5 * h * sqr(out.x(u(i))));
    out.add(kObjective, 0.5 * kAlpha * h * cos(out.x(t(i + 1))));
    out.add(kObjective, 0.5 * kAlpha * h * cos(out.x(t(i))));
    out.linear(2 * i, 1, x(i + 1));
    out.linear(2 * i, -1, x(i));
    out.add(2 * i, -0.5 * h * sin(out.x(t(i + 1))));
    out.add(2 * i, -0.5 * h * sin(out.x(t(i))));
    out.linear(2 * i + 1, 1, t(i + 1));
    out.linear(2 * i + 1, -1, t(i));
    out.linear(2 * i + 1, -0.5 * h, u(i + 1));
    out.linear(2 * i + 1, -0.5 * h, u(i));
  }
}

template <class Out>
void Rosenbrock::describe(Out& out) const {
  for (int i = 0; i + 1 < count; ++i) {
    out.add(kObjective, 100.0 * sqr(out.x(i + 1) - sqr(out.x(i))));
    out.add(kObjective, sqr(1.0 - out.x(i)));
  }
}

/// Rows with a different random expression each, written by random_rows.py; a fixed number of them, and no objective.
struct RandomRows {
  static constexpr int kRows = 300, kColumns = 200;
  explicit RandomRows(std::size_t) {}

  int columns() const { return kColumns; }
  int rows() const { return kRows; }
  std::vector<double> start() const { return std::vector<double>(kColumns, 0.5); }
  template <class Out>
  void describe(Out& out) const {
#define TAV_DESCRIBE
#include "random_rows.inc"
#undef TAV_DESCRIBE
  }
};
