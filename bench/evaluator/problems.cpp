#include "bench/evaluator/problems.h"

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

namespace {

/// A network of the proportions that the cases of PGLib-OPF have: a chain of neighbours with chords to near buses, some
/// of them transformers, some parallel, a generator at each fifth bus and shunts at each tenth.
Network randomNetwork(std::size_t buses) {
  std::mt19937 random(static_cast<unsigned>(buses));
  const auto between = [&random](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  Network network{100, {0}, {}, {}, {}};
  for (std::size_t i = 0; i < buses; ++i) {
    network.buses.push_back({static_cast<int>(i + 1),
                             between(0, 1),
                             between(0, 0.3),
                             i % 10 == 3 ? 0.01 : 0.0,
                             i % 10 == 3 ? between(0.1, 0.2) : 0.0,
                             {0.9, 1.1}});
    if (i % 5 == 0) network.generators.push_back({i, {0, 8}, {-4, 4}, between(0, 100), between(1000, 3000), 0});
  }
  const auto connect = [&](std::size_t from, std::size_t to) {
    const double r = between(0.001, 0.02), x = between(0.02, 0.2), square = r * r + x * x;
    const bool transformer = between(0, 1) < 0.15;
    const double ratio = transformer ? between(0.95, 1.05) : 1.0, shift = transformer ? between(-0.05, 0.05) : 0.0;
    network.branches.push_back({from,
                                to,
                                r / square,
                                -x / square,
                                between(0, 0.1),
                                ratio * std::cos(shift),
                                ratio * std::sin(shift),
                                5.0,
                                {-0.52, 0.52}});
  };
  for (std::size_t i = 1; i < buses; ++i) {
    connect(i - 1, i);
    if (between(0, 1) < 0.45) {
      const std::size_t span = 1 + random() % 30;
      connect(i, i >= span ? i - span : 0);
    }
  }
  return network;
}

Network networkOf(std::size_t buses) {
  const char* const folder = std::getenv("TAV_CASES");
  if (folder != nullptr) {
    const std::string start = "pglib_opf_case" + std::to_string(buses) + "_";
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
      if (file.path().filename().string().starts_with(start)) return readNetwork(file.path().string());
    }
  }
  return randomNetwork(buses);
}

}  // namespace

PowerFlow::PowerFlow(std::size_t size)
    : network(networkOf(size)),
      buses(network.buses.size()),
      generators(network.generators.size()),
      branches(network.branches.size()) {
  for (const Network::Branch& branch : network.branches) {
    const double g = branch.conductance, b = branch.susceptance, half = branch.charging / 2;
    const double tr = branch.ratioReal, ti = branch.ratioImaginary, square = tr * tr + ti * ti;
    flows.push_back({g / square, (-g * tr + b * ti) / square, (-b * tr - g * ti) / square});
    flows.push_back({-(b + half) / square, (b * tr + g * ti) / square, (-g * tr + b * ti) / square});
    flows.push_back({g, (-g * tr - b * ti) / square, (-b * tr + g * ti) / square});
    flows.push_back({-(b + half), (b * tr - g * ti) / square, (-g * tr - b * ti) / square});
  }
}

std::vector<double> PowerFlow::start() const {
  std::vector<double> x(static_cast<std::size_t>(columns()), 0.0);
  for (std::size_t i = 0; i < buses; ++i) x[static_cast<std::size_t>(voltage(i))] = 1.0;
  return x;
}

std::vector<double> Beam::start() const {
  std::vector<double> x(static_cast<std::size_t>(columns()), 0.01);
  for (int i = 0; i <= steps; ++i) {
    x[static_cast<std::size_t>(t(i))] = x[static_cast<std::size_t>(this->x(i))] = 0.05 * std::cos(h * i);
  }
  return x;
}

std::vector<double> Rosenbrock::start() const {
  std::vector<double> x(static_cast<std::size_t>(count), 1.0);
  for (std::size_t i = 0; i < x.size(); i += 2) x[i] = -1.2;
  return x;
}
