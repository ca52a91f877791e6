#pragma once
// Scenarios driven by hand: what the programs of this folder share.

#include <chrono>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace by_hand {

/// New bounds of a row, or of a column.
struct NewBounds {
  bool isRow;
  std::string name;
  double lb, ub;
};

struct Scenario {
  std::string name;
  std::vector<NewBounds> edits{};
};

inline double boundOf(const std::string& word) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (word == "inf") return kInfinity;
  return word == "-inf" ? -kInfinity : std::stod(word);
}

/// Reads files of scenarios whose edits are set-row-bounds and fix.
inline std::vector<Scenario> read(const char* path) {
  std::vector<Scenario> scenarios;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    Scenario scenario;
    words >> scenario.name;
    for (std::string verb, name, first, second; words >> verb >> name >> first;) {
      const bool isRow = verb == "set-row-bounds";
      if (isRow) words >> second;
      std::string& last = isRow ? second : first;
      if (last.ends_with(';')) last.pop_back();
      scenario.edits.push_back({isRow, name, boundOf(first), boundOf(last)});
    }
    scenarios.push_back(std::move(scenario));
  }
  return scenarios;
}

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// Solves all and prints how many a second. `solve` returns the objective.
template <class Solve>
void run(const std::vector<Scenario>& scenarios, const char* results, Solve solve) {
  std::FILE* const file = std::fopen(results, "w");
  const Clock::time_point begin = Clock::now();
  for (const Scenario& scenario : scenarios) {
    const Clock::time_point start = Clock::now();
    const double objective = solve(scenario);
    std::fprintf(file, "%s,%.17g,%g\n", scenario.name.c_str(), objective, secondsSince(start));
    std::fflush(file);
  }
  std::printf("rate %g\n", static_cast<double>(scenarios.size()) / secondsSince(begin));
  std::fclose(file);
}

}  // namespace by_hand
