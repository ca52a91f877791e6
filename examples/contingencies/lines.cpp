#include "lines.h"

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

/// Whether all buses are connected without this branch.
bool isConnectedWithout(const Network& network, std::size_t out) {
  std::vector<bool> reached(network.buses.size());
  reached[0] = true;
  std::size_t count = 1;
  for (bool grows = true; grows;) {
    grows = false;
    for (std::size_t l = 0; l < network.branches.size(); ++l) {
      const Network::Branch& branch = network.branches[l];
      if (l == out || reached[branch.from] == reached[branch.to]) continue;
      reached[branch.from] = reached[branch.to] = grows = true;
      ++count;
    }
  }
  return count == network.buses.size();
}

}  // namespace

std::vector<Line> linesOf(const Network& network) {
  std::vector<Line> lines;
  std::map<std::string, int> known;
  for (std::size_t l = 0; l < network.branches.size(); ++l) {
    const Network::Branch& branch = network.branches[l];
    std::string name =
        std::to_string(network.buses[branch.from].number) + "-" + std::to_string(network.buses[branch.to].number);
    if (const int number = ++known[name]; number > 1) name.append("/").append(std::to_string(number));
    lines.push_back({name, !isConnectedWithout(network, l)});
  }
  return lines;
}

std::string rowName(const Line& line, std::size_t row) { return "line." + line.name + "." + std::to_string(row); }

std::vector<Outage> readOutages(const std::vector<Line>& lines, const std::string& results) {
  std::ifstream file(results);
  if (!file) throw std::runtime_error(results + " cannot be read");
  std::map<std::string, Outage> byName;
  for (std::string text; std::getline(file, text);) {
    std::istringstream fields(text);
    std::string name, status, cost;
    std::getline(fields, name, ',');
    std::getline(fields, status, ',');
    std::getline(fields, cost, ',');
    Outage outage{name, std::numeric_limits<double>::quiet_NaN(), status};
    if (status.ends_with("optimal")) outage.cost = std::stod(cost);
    byName[name] = outage;
  }
  const auto outageOf = [&](const std::string& name) {
    const auto found = byName.find(name);
    if (found == byName.end()) throw std::runtime_error(results + " lacks " + name);
    return found->second;
  };
  std::vector<Outage> outages{outageOf("base")};
  for (const Line& line : lines) {
    outages.push_back(line.isBridge ? Outage{line.name, std::numeric_limits<double>::quiet_NaN(), "splits the network"}
                                    : outageOf(line.name));
  }
  return outages;
}
