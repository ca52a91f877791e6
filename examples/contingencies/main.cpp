// Which line of a power network can fail, and at what cost: writes the model of a case and a scenario for each line
// that is out of service; tavsolve solves them; then the results become a table and a chart.

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <stdexcept>

#include "../power_flow/model.h"
#include "chart.h"
#include "lines.h"
#include "solve/model/model.h"

namespace {

constexpr const char* kUsage =
    "usage: contingencies write CASE FOLDER\n"
    "       contingencies report CASE RESULTS [CHART]\n"
    "  write   writes FOLDER/grid.nl, its start FOLDER/start.txt and the scenarios FOLDER/outages.txt\n"
    "  report  prints the cost of each outage from the results of tavsolve, and draws the greatest ones as SVG\n"
    "  CASE    a MATPOWER file (.m) or one of the files of examples/power_flow\n";

/// The model as a file, with names for what a scenario changes.
void writeModel(const Network& network, const std::vector<Line>& lines, const std::string& path) {
  tavsolve::Model model;
  const PowerFlowModel flow = makeModel(model.getEnv(), network);
  const TavNumVarArray columns = flow.columns();
  for (TavInt i = 0; i < columns.getSize(); ++i) model.addColumn(columns[i]);
  const std::size_t branches = network.branches.size();
  for (std::size_t end = 0; end < 2 * branches; ++end) {
    const std::string name = lines[end % branches].name + (end < branches ? ".from" : ".to");
    TavNumVar(flow.activeIn[end]).setName("active." + name);
    TavNumVar(flow.reactiveIn[end]).setName("reactive." + name);
  }
  for (std::size_t i = 0; i < network.buses.size(); ++i) {
    TavNumVar(flow.voltage[i]).setName("voltage." + std::to_string(network.buses[i].number));
  }
  model.setObjective(flow.cost, false, "cost");
  std::size_t branch = 0;
  for (std::size_t i = 0; i < flow.limits.size(); ++i) {
    while (branch < branches && i >= flow.firstConstraint[branch + 1]) ++branch;
    std::string name = "balance." + std::to_string(i);
    if (i >= flow.firstConstraint[0]) {
      name = rowName(lines[branch], i - flow.firstConstraint[branch]);
    }
    model.addRow(flow.limits[i].least, TavExpr(flow.constraints[static_cast<TavInt>(i)]), flow.limits[i].most,
                 name.c_str());
  }
  model.write(path);
}

/// Takes a line out of service: nothing flows into its ends, and its own constraints need not hold.
void writeScenarios(const std::vector<Line>& lines, const std::string& path) {
  std::ofstream file(path);
  file << "base\n";
  for (const Line& line : lines) {
    if (line.isBridge) continue;
    file << line.name;
    for (const char* what : {"active.", "reactive."}) {
      for (const char* end : {".from", ".to"}) file << " fix " << what << line.name << end << " 0;";
    }
    for (std::size_t i = 0; i < kRowsOfLine; ++i) {
      file << " set-row-bounds " << rowName(line, i) << " -inf inf" << (i + 1 < kRowsOfLine ? ";" : "\n");
    }
  }
}

/// Voltages start at 1.
void writeStart(const Network& network, const std::string& path) {
  std::ofstream file(path);
  for (const Network::Bus& bus : network.buses) file << "column voltage." << bus.number << " 1\n";
}

void write(const Network& network, const std::string& folder) {
  const std::vector<Line> lines = linesOf(network);
  std::filesystem::create_directories(folder);
  writeModel(network, lines, folder + "/grid.nl");
  writeScenarios(lines, folder + "/outages.txt");
  writeStart(network, folder + "/start.txt");
  const auto bridges = std::count_if(lines.begin(), lines.end(), [](const Line& line) { return line.isBridge; });
  std::cout << network.buses.size() << " buses, " << lines.size() << " lines; " << bridges
            << " would split the network\n";
}

void report(const Network& network, const std::string& results, const std::string& chart) {
  const std::vector<Outage> outages = readOutages(linesOf(network), results);
  const double base = outages[0].cost;
  std::cout << std::fixed << std::setprecision(1) << "cost " << base << " $/h; one line out of service:\n";
  for (std::size_t i = 1; i < outages.size(); ++i) {
    const Outage& outage = outages[i];
    std::cout << std::setw(12) << outage.line;
    if (std::isnan(outage.cost)) {
      std::cout << "  " << outage.status << '\n';
    } else {
      std::cout << std::setw(12) << outage.cost << std::showpos << std::setw(10) << outage.cost - base + 0.0
                << std::noshowpos << '\n';
    }
  }
  if (!chart.empty()) drawChart(outages, chart);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  try {
    if (words.size() == 3 && words[0] == "write") {
      write(readNetwork(words[1]), words[2]);
    } else if ((words.size() == 3 || words.size() == 4) && words[0] == "report") {
      report(readNetwork(words[1]), words[2], words.size() == 4 ? words[3] : "");
    } else {
      std::cerr << kUsage;
      return 2;
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "contingencies: " << error.what() << '\n';
  }
  return 1;
}
