// The cheapest operation of a power network: reads a case, builds the model as expressions, solves it with Ipopt and
// exact derivatives, and prints the cost.

#include <algorithm>
#include <cmath>
#include <exception>
#include <iomanip>
#include <iostream>
#include <memory>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>

#include "model.h"
#include "picture.h"
#include "solve/engines/engines.h"

namespace {

constexpr const char* kUsage =
    "usage: power_flow [--table] [--time] [--outage FROM-TO] [--picture FILE] CASE\n"
    "  CASE            a MATPOWER file (.m) or one of the bundled files\n"
    "  --table         prints voltage and angle of each bus\n"
    "  --time          prints the iterations, the time, and the share of it that evaluation took\n"
    "  --outage FROM-TO  then takes the first branch between these buses out of service and solves again\n"
    "  --picture FILE  draws the network as SVG, coloured by voltage angle\n";

struct Arguments {
  bool table = false, time = false;
  std::optional<std::string> outage, picture, path;
};

Arguments parse(int argc, char** argv) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--table") {
      arguments.table = true;
    } else if (word == "--time") {
      arguments.time = true;
    } else if (word == "--outage" && i + 1 < argc) {
      arguments.outage = argv[++i];
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

/// Passes the parts of the model to tavsolve's engines; voltages start at 1, everything else at 0.
void fill(tavsolve::Model& model, const PowerFlowModel& flow, tavsolve::Controls& controls) {
  const TavNumVarArray columns = flow.columns();
  for (TavInt i = 0; i < columns.getSize(); ++i) model.addColumn(columns[i]);
  controls.start.assign(model.columns().size(), 0.0);
  std::fill_n(controls.start.begin() + static_cast<std::ptrdiff_t>(flow.angle.size()), flow.voltage.size(), 1.0);
  model.setObjective(flow.cost, false);
  for (std::size_t i = 0; i < flow.limits.size(); ++i) {
    model.addRow(flow.limits[i].least, TavExpr(flow.constraints[static_cast<TavInt>(i)]), flow.limits[i].most);
  }
}

std::vector<double> valuesOf(const tavsolve::EngineI& engine, const std::vector<TavNumVar>& variables) {
  std::vector<double> result;
  for (const TavNumVar variable : variables) result.push_back(engine.getValue(variable.getImpl()));
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

/// "FROM-TO".
std::string nameOf(const Network& network, std::size_t branch) {
  const Network::Branch& ends = network.branches[branch];
  return std::to_string(network.buses[ends.from].number) + "-" + std::to_string(network.buses[ends.to].number);
}

/// Takes a branch out of service: nothing flows into its ends, and its own constraints need not hold. The engine is
/// notified of each change.
void takeOut(tavsolve::Model& model, const PowerFlowModel& flow, const Network& network, const std::string& name) {
  const std::size_t branches = network.branches.size();
  std::size_t out = 0;
  while (out < branches && nameOf(network, out) != name) ++out;
  if (out == branches) throw std::runtime_error("there is no branch " + name);
  for (const std::size_t end : {out, branches + out}) {
    TavNumVar(flow.activeIn[end]).setBounds(0, 0);
    TavNumVar(flow.reactiveIn[end]).setBounds(0, 0);
  }
  for (std::size_t i = flow.firstConstraint[out]; i < flow.firstConstraint[out + 1]; ++i) {
    model.rows()[i]->setBounds(-TavGetInfinity(), TavGetInfinity());
  }
}

/// Prints the cost, the branch that is nearest to its rating, and what the options request.
void report(const Arguments& arguments, const Network& network, const PowerFlowModel& flow,
            const tavsolve::EngineI& engine, const tavsolve::Answer& answer) {
  std::cout << std::fixed << std::setprecision(1) << "cost " << answer.objective << " $/h\n";
  if (arguments.outage) {
    const std::vector<double> active = valuesOf(engine, flow.activeIn), reactive = valuesOf(engine, flow.reactiveIn);
    const auto load = [&](std::size_t end) {
      return std::hypot(active[end], reactive[end]) / network.branches[end % network.branches.size()].rating;
    };
    std::size_t busiest = 0;
    for (std::size_t end = 1; end < active.size(); ++end) {
      if (load(end) > load(busiest)) busiest = end;
    }
    std::cout << "busiest branch " << nameOf(network, busiest % network.branches.size()) << ", at "
              << 100 * load(busiest) << " % of its rating\n";
  }
  if (arguments.table) printTable(network, valuesOf(engine, flow.voltage), valuesOf(engine, flow.angle));
  if (arguments.time) {
    std::cout << std::setprecision(2) << answer.iterations << " iterations, " << answer.seconds << " s, "
              << 100 * answer.evaluationSeconds / answer.seconds << " % of it in the evaluator\n";
  }
}

int run(const Arguments& arguments) {
  const Network network = readNetwork(*arguments.path);
  tavsolve::Model model;
  const PowerFlowModel flow = makeModel(model.getEnv(), network);
  tavsolve::Controls controls;
  fill(model, flow, controls);
  const std::unique_ptr<tavsolve::EngineI> engine = tavsolve::chooseEngine(model, "ipopt").make(model);
  engine->extract();
  std::cout << network.buses.size() << " buses, " << network.generators.size() << " generators, "
            << network.branches.size() << " branches\n";
  const auto solve = [&] {
    const tavsolve::Answer answer = engine->solve(controls);
    if (answer.status == tavsolve::Status::LocallyInfeasible)
      throw std::runtime_error("no way to operate it was found");
    if (!tavsolve::isSolved(answer.status)) throw std::runtime_error("not solved: " + answer.remark);
    report(arguments, network, flow, *engine, answer);
  };
  solve();
  if (arguments.outage) {
    takeOut(model, flow, network, *arguments.outage);
    controls.start.clear();  // from the last solution
    std::cout << "without branch " << *arguments.outage << ":\n";
    solve();
  }
  if (arguments.picture) {
    drawPicture(graphOf(network, valuesOf(*engine, flow.angle), valuesOf(*engine, flow.activeIn)), *arguments.picture);
    std::cout << "picture in " << *arguments.picture << "\n";
  }
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
