#pragma once
/// A drawing of a solved network.

#include <string>
#include <vector>

#include "network.h"

/// A graph for Graphviz: buses coloured by their voltage angle, from blue over grey to red, with number and degrees;
/// branches as arrows in the direction of the active flow, as wide as their share of the rating. `flows` are those into
/// the from ends.
std::string graphOf(const Network& network, const std::vector<double>& angles, const std::vector<double>& flows);

/// Lets Graphviz draw a graph as an SVG picture into a file. Throws std::runtime_error when it cannot.
void drawPicture(const std::string& graph, const std::string& path);
