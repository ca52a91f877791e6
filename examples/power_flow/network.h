#pragma once
/// A network of buses, generators and branches, in the per-unit system: powers divided by a base power, voltages by the
/// nominal ones.

#include <cstddef>
#include <string>
#include <vector>

/// An interval.
struct Range {
  double least, most;
};

struct Network {
  struct Bus {
    int number;
    double activeLoad, reactiveLoad;
    double conductance, susceptance;  ///< of its shunts
    Range voltage;
  };
  struct Generator {
    std::size_t bus;
    Range active, reactive;
    double quadratic, linear, constant;  ///< cost per hour
  };
  struct Branch {
    std::size_t from, to;
    double conductance, susceptance, charging;
    double ratioReal, ratioImaginary;  ///< of the transformer at the from side
    double rating;
    Range angle;  ///< of the from side less the to side, in radians
  };

  double base = 0;                      ///< MVA
  std::vector<std::size_t> references;  ///< buses whose angle is 0
  std::vector<Bus> buses;
  std::vector<Generator> generators;
  std::vector<Branch> branches;
};

/// Reads a case: a MATPOWER file (version 2, polynomial costs up to the square) when the name ends in ".m", else the
/// plain form of the files in this folder. Elements out of service are omitted. Throws std::runtime_error with a
/// message that names the file.
Network readNetwork(const std::string& path);
