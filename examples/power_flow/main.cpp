// The cheapest operation of a power network: reads a case, builds the model as expressions, solves it with Ipopt and
// exact derivatives, and prints the cost.

#include <cmath>
#include <exception>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>

#include "examples/ipopt/solver.h"
#include "model.h"
#include "picture.h"

namespace {

constexpr const char* kUsage =
    "usage: power_flow [--table] [--time] [--picture FILE] CASE\n"
    "  CASE            a MATPOWER file (.m) or one of the bundled files\n"
    "  --table         prints voltage and angle of each bus\n"
    "  --time          prints the iterations, the time, and the share of it that evaluation took\n"
    "  --picture FILE  draws the network as SVG, coloured by voltage angle\n";

struct Arguments {
  bool table = false, time = false;
  std::optional<std::string> picture, path;
};

Arguments parse(int argc, char** argv) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--table") {
      arguments.table = true;
    } else if (word == "--time") {
      arguments.time = true;
    } else if (word == "--picture" && i + 1 < argc) {
      arguments.picture = argv[++i];
    } else if (!word.starts_with("-") && !arguments.path) {
      arguments.path = word;
    } else {
      throw std::invalid_argument(kUsage);
    }
  }
  if (!arguments.path) throw std::invalid_argument(kUsage);
  return arguments;
}

/// The values of some columns.
std::vector<double> valuesOf(const TavEvaluator& evaluator, const std::vector<TavNumVar>& variables,
                             const std::vector<double>& values) {
  std::vector<double> result;
  for (const TavNumVar variable : variables) result.push_back(values[evaluator.getColumnOf(variable)]);
  return result;
}

void printTable(const Network& network, const std::vector<double>& voltages, const std::vector<double>& angles) {
  std::cout << "   bus  voltage    angle\n";
  for (std::size_t i = 0; i < network.buses.size(); ++i) {
    const double degrees = std::round(angles[i] * 180e3 / std::numbers::pi) / 1e3 + 0.0;  // never -0.000
    std::cout << std::setw(6) << network.buses[i].number << std::setw(9) << std::setprecision(4) << voltages[i]
              << std::setw(9) << std::setprecision(3) << degrees << '\n';
  }
}

int run(const Arguments& arguments) {
  const Network network = readNetwork(*arguments.path);
  TavEnv env;
  const PowerFlowModel model = makeModel(env, network);
  TavEvaluator evaluator(env, model.cost, model.constraints, model.columns(), {});

  std::vector<double> start(evaluator.getColumnCount(), 0.0);
  for (const TavNumVar voltage : model.voltage) start[evaluator.getColumnOf(voltage)] = 1.0;
  const Solution solution = solve(evaluator, model.limits, start);
  if (!solution.solved) {
    std::cerr << "power_flow: " << solution.failure << '\n';
    return 1;
  }
  std::cout << network.buses.size() << " buses, " << network.generators.size() << " generators, "
            << network.branches.size() << " branches\n"
            << std::fixed << std::setprecision(1) << "cost " << solution.objective << " $/h\n";
  const std::vector<double> angles = valuesOf(evaluator, model.angle, solution.values);
  if (arguments.table) printTable(network, valuesOf(evaluator, model.voltage, solution.values), angles);
  if (arguments.time) {
    std::cout << std::setprecision(2) << solution.iterations << " iterations, " << solution.seconds << " s, "
              << 100 * solution.evaluatorSeconds / solution.seconds << " % of it in the evaluator\n";
  }
  if (arguments.picture) {
    drawPicture(graphOf(network, angles, valuesOf(evaluator, model.activeIn, solution.values)), *arguments.picture);
  }
  env.end();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(parse(argc, argv));
  } catch (const std::invalid_argument& usage) {
    std::cerr << usage.what();
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "power_flow: " << error.what() << '\n';
  }
  return 1;
}
