#include "network.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <numbers>
#include <sstream>
#include <stdexcept>

namespace {

using Row = std::vector<double>;

/// The contents of a file in its own units: the rows of the plain form.
struct Tables {
  double base = 0;
  std::vector<Row> buses, generators, branches, references;
};

double radians(double degrees) { return degrees * std::numbers::pi / 180.0; }

std::string withoutComments(std::istream& in, char mark) {
  std::string text, line;
  while (std::getline(in, line)) text += line.substr(0, line.find(mark)) + '\n';
  return text;
}

/// The rows of the matrix `mpc.name = [ ... ];`, each of at least `columns` numbers.
std::vector<Row> matrixOf(const std::string& text, const std::string& name, std::size_t columns) {
  const std::size_t start = text.find("mpc." + name + " ");
  const std::size_t open = text.find('[', start), close = text.find(']', open);
  if (start == std::string::npos || close == std::string::npos) throw std::runtime_error("has no matrix mpc." + name);
  std::string body = text.substr(open + 1, close - open - 1);
  std::replace(body.begin(), body.end(), ';', '\n');
  std::replace(body.begin(), body.end(), ',', ' ');
  std::istringstream lines(body);
  std::vector<Row> rows;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream numbers(line);
    Row row{std::istream_iterator<double>(numbers), {}};
    if (!numbers.eof()) throw std::runtime_error("has a row of mpc." + name + " that is not made of numbers: " + line);
    if (row.empty()) continue;
    if (row.size() < columns) throw std::runtime_error("has a row of mpc." + name + " that is too short: " + line);
    rows.push_back(std::move(row));
  }
  return rows;
}

Tables readMatpower(std::istream& in) {
  const std::string text = withoutComments(in, '%');
  Tables tables;
  const std::size_t base = text.find("mpc.baseMVA");
  if (base == std::string::npos) throw std::runtime_error("has no mpc.baseMVA");
  std::istringstream(text.substr(text.find('=', base) + 1)) >> tables.base;
  constexpr double kReference = 3, kIsolated = 4;
  for (const Row& r : matrixOf(text, "bus", 13)) {
    if (r[1] == kIsolated) continue;
    if (r[1] == kReference) tables.references.push_back({r[0]});
    tables.buses.push_back({r[0], r[2], r[3], r[4], r[5], r[12], r[11]});
  }
  const std::vector<Row> generators = matrixOf(text, "gen", 10), costs = matrixOf(text, "gencost", 4);
  if (costs.size() < generators.size()) throw std::runtime_error("has generators without a cost");
  for (std::size_t i = 0; i < generators.size(); ++i) {
    const Row &r = generators[i], &cost = costs[i];
    if (r[7] <= 0) continue;
    const auto terms = static_cast<std::size_t>(cost[3]);
    if (cost[0] != 2 || terms > 3 || cost.size() < 4 + terms) {
      throw std::runtime_error("has a cost that is no polynomial of degree 2 or less");
    }
    Row row{r[0], r[9], r[8], r[4], r[3], 0, 0, 0};
    std::copy_n(cost.begin() + 4, terms, row.end() - static_cast<std::ptrdiff_t>(terms));
    tables.generators.push_back(row);
  }
  for (const Row& r : matrixOf(text, "branch", 13)) {
    if (r[10] <= 0) continue;
    tables.branches.push_back({r[0], r[1], r[2], r[3], r[4], r[5], r[8], r[9], r[11], r[12]});
  }
  return tables;
}

Tables readPlain(std::istream& in) {
  Tables tables;
  const std::map<std::string, std::pair<std::vector<Row>*, std::size_t>> kinds{{"bus", {&tables.buses, 7}},
                                                                               {"generator", {&tables.generators, 8}},
                                                                               {"branch", {&tables.branches, 10}},
                                                                               {"reference", {&tables.references, 1}}};
  std::istringstream lines(withoutComments(in, '#'));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string kind;
    if (!(words >> kind)) continue;
    const Row row{std::istream_iterator<double>(words), {}};
    const auto known = kinds.find(kind);
    if (kind == "base" && row.size() == 1) {
      tables.base = row[0];
    } else if (known != kinds.end() && words.eof() && row.size() == known->second.second) {
      known->second.first->push_back(row);
    } else {
      throw std::runtime_error("has a line that is not of its form: " + line);
    }
  }
  return tables;
}

/// A rating for a branch without one: the power at the largest voltages and angle.
double ratingOf(const Network& network, const Network::Branch& branch, double admittance) {
  const double from = network.buses[branch.from].voltage.most, to = network.buses[branch.to].voltage.most;
  const double angle = std::max(std::abs(branch.angle.least), std::abs(branch.angle.most));
  return admittance * std::max(from, to) * std::sqrt(from * from + to * to - 2 * from * to * std::cos(angle));
}

/// Wide limits of an angle are those of a third of a half-turn, as the library of cases prescribes.
Range angleLimits(double least, double most) {
  constexpr double kWidest = std::numbers::pi / 3, kTooWide = std::numbers::pi / 2;
  if (least == 0 && most == 0) return {-kWidest, kWidest};
  return {least <= -kTooWide ? -kWidest : least, most >= kTooWide ? kWidest : most};
}

Network networkOf(const Tables& tables) {
  if (!(tables.base > 0)) throw std::runtime_error("has no base power");
  Network network{tables.base, {}, {}, {}, {}};
  const double base = tables.base;
  std::map<double, std::size_t> places;
  for (const Row& r : tables.buses) {
    places[r[0]] = network.buses.size();
    network.buses.push_back({static_cast<int>(r[0]), r[1] / base, r[2] / base, r[3] / base, r[4] / base, {r[5], r[6]}});
  }
  const auto place = [&places](double number) {
    const auto found = places.find(number);
    if (found == places.end()) throw std::runtime_error("names a bus that it does not have");
    return found->second;
  };
  for (const Row& r : tables.references) network.references.push_back(place(r[0]));
  for (const Row& r : tables.generators) {
    network.generators.push_back(
        {place(r[0]), {r[1] / base, r[2] / base}, {r[3] / base, r[4] / base}, r[5] * base * base, r[6] * base, r[7]});
  }
  for (const Row& r : tables.branches) {
    const double square = r[2] * r[2] + r[3] * r[3], ratio = r[6] != 0 ? r[6] : 1;
    Network::Branch branch{place(r[0]),
                           place(r[1]),
                           r[2] / square,
                           -r[3] / square,
                           r[4],
                           ratio * std::cos(radians(r[7])),
                           ratio * std::sin(radians(r[7])),
                           r[5] / base,
                           angleLimits(radians(r[8]), radians(r[9]))};
    if (branch.rating <= 0) branch.rating = ratingOf(network, branch, 1 / std::sqrt(square));
    network.branches.push_back(branch);
  }
  return network;
}

}  // namespace

Network readNetwork(const std::string& path) {
  try {
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot be read");
    return networkOf(path.ends_with(".m") ? readMatpower(in) : readPlain(in));
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(path + " " + error.what());
  }
}
