#pragma once
/// The lines of a network, and what happens when one is out of service.

#include <limits>
#include <string>
#include <vector>

#include "../power_flow/network.h"

struct Line {
  std::string name;  ///< FROM-TO, and for the second one between the same buses FROM-TO/2
  bool isBridge;     ///< without it the network falls into two parts
};

/// One for each branch, in their order.
std::vector<Line> linesOf(const Network& network);

/// How many constraints a line has in the model.
constexpr std::size_t kRowsOfLine = 7;
/// The name of one of them.
std::string rowName(const Line& line, std::size_t row);

struct Outage {
  std::string line;
  double cost = std::numeric_limits<double>::quiet_NaN();  ///< NaN where there is no solution
  std::string status;
};

/// The base case, whose name is "base", and the outage of each line, from a file of results.
std::vector<Outage> readOutages(const std::vector<Line>& lines, const std::string& results);
