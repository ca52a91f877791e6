#pragma once
/// The benchmarks of an evaluator; each call is at a point at which it has not evaluated before.

#include <memory>
#include <random>
#include <vector>

#include "bench/evaluator/problems.h"
#include "bench/race.h"

/// A weight for a position, which does not depend on the order of positions.
inline double weightOf(int row, int column) {
  const auto mixed = (static_cast<unsigned>(row) * 31u + static_cast<unsigned>(column) + 7u) * 2654435761u;
  return 0.5 + static_cast<double>(mixed >> 12) / 0x1p20;
}

/// A contender, two points near the start, multipliers, and arrays for results.
template <class World>
class Call {
 public:
  explicit Call(std::size_t size)
      : problem(size),
        world(problem),
        lambda(static_cast<std::size_t>(problem.rows())),
        gradient(static_cast<std::size_t>(problem.columns())),
        g(lambda.size()),
        jacobian(world.jacobianPlaces.size()),
        hessian(world.hessianPlaces.size()) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> near(-0.1, 0.1);
    for (auto& point : points) {
      point = problem.start();
      for (double& value : point) value += near(random);
    }
    for (double& value : lambda) value = 5 * near(random);
  }

  void prepare() { x = points[turn ^= 1].data(); }
  void finish() {}
  /// The number of rows; of columns when there are no rows.
  std::size_t items() const { return g.empty() ? gradient.size() : g.size(); }
  double result() {
    double sum = f;
    for (std::size_t i = 0; i < g.size(); ++i) sum += g[i] * weightOf(static_cast<int>(i), -1);
    for (std::size_t i = 0; i < gradient.size(); ++i) sum += gradient[i] * weightOf(-1, static_cast<int>(i));
    for (std::size_t k = 0; k < jacobian.size(); ++k) {
      sum += jacobian[k] * weightOf(world.jacobianPlaces[k].first, world.jacobianPlaces[k].second);
    }
    for (std::size_t k = 0; k < hessian.size(); ++k) {
      sum += hessian[k] * weightOf(world.hessianPlaces[k].first, world.hessianPlaces[k].second);
    }
    turn = 0;
    return sum;
  }

 protected:
  static constexpr double kSigma = 0.7;
  typename World::Problem problem;
  World world;
  std::vector<double> points[2], lambda, gradient, g, jacobian, hessian;
  const double* x = nullptr;
  int turn = 0;
  double f = 0;
};

/// Five separate calls, as solvers make them.
template <class World>
struct AllFive : Call<World> {
  using Call<World>::Call;
  void run() {
    this->f = this->world.objective(this->x);
    this->world.gradient(this->x, this->gradient.data());
    this->world.constraints(this->x, this->g.data());
    this->world.jacobian(this->x, this->jacobian.data());
    this->world.hessian(this->x, this->kSigma, this->lambda.data(), this->hessian.data());
  }
};

/// The same results by one call, which may share more work.
template <class World>
struct Fused : Call<World> {
  using Call<World>::Call;
  void run() {
    this->f = this->world.all(this->x, this->kSigma, this->lambda.data(), this->gradient.data(), this->g.data(),
                              this->jacobian.data(), this->hessian.data());
  }
};

template <class World>
struct Values : Call<World> {
  using Call<World>::Call;
  void run() {
    this->f = this->world.objective(this->x);
    this->world.constraints(this->x, this->g.data());
  }
};

template <class World>
struct Jacobian : Call<World> {
  using Call<World>::Call;
  std::size_t items() const { return this->jacobian.size(); }
  void run() { this->world.jacobian(this->x, this->jacobian.data()); }
};

template <class World>
struct Hessian : Call<World> {
  using Call<World>::Call;
  std::size_t items() const { return this->hessian.size(); }
  void run() { this->world.hessian(this->x, this->kSigma, this->lambda.data(), this->hessian.data()); }
};

/// From expressions to a program that is ready to evaluate, structures included; compared with preparing the work by
/// hand.
template <class World>
struct Compile : Call<World> {
  using Call<World>::Call;
  static constexpr bool kCold = true;
  void prepare() {
    if constexpr (requires { this->world.release(); }) {
      this->world.release();
    } else {
      _other.reset();
    }
    chillMemory();
  }
  void run() {
    if constexpr (requires { this->world.compile(); }) {
      this->world.compile();
    } else {
      _other = std::make_unique<World>(this->problem);
    }
  }
  double result() const { return 0; }
  double bytes() const requires requires(const World& compiled) { compiled.memory(); }
  { return this->world.memory(); }

 private:
  std::unique_ptr<World> _other;
};
