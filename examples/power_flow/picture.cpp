#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <numbers>
#include <sstream>
#include <stdexcept>

namespace {

/// Blue at 0, grey at a half, red at 1.
std::string colourOf(double share) {
  constexpr double kLow[] = {70, 110, 200}, kMiddle[] = {225, 225, 225}, kHigh[] = {205, 70, 60};
  const double* const end = share < 0.5 ? kLow : kHigh;
  const double distance = std::abs(share - 0.5) * 2;
  char text[8] = "#";
  for (int i = 0; i < 3; ++i) {
    const double part = kMiddle[i] + distance * (end[i] - kMiddle[i]);
    std::snprintf(text + 1 + 2 * i, 3, "%02x", static_cast<unsigned>(std::lround(part)) & 0xffu);
  }
  return text;
}

}  // namespace

std::string graphOf(const Network& network, const std::vector<double>& angles, const std::vector<double>& flows) {
  const auto [least, most] = std::minmax_element(angles.begin(), angles.end());
  const double width = std::max(*most - *least, 1e-9);
  const bool small = network.buses.size() <= 60;
  std::ostringstream os;
  os << std::fixed << std::setprecision(1);
  os << "digraph network {\n"
     << "  graph [overlap=false, splines=true, outputorder=edgesfirst, label=\"voltage angles from "
     << *least * 180 / std::numbers::pi << " to " << *most * 180 / std::numbers::pi
     << " degrees\", fontname=\"sans-serif\"];\n"
     << "  node [shape=" << (small ? "circle" : "point, width=0.15")
     << ", style=filled, color=\"#555555\", fontname=\"sans-serif\", fontsize=10];\n"
     << "  edge [color=\"#777777\", arrowsize=0.6];\n";
  for (std::size_t i = 0; i < network.buses.size(); ++i) {
    os << "  " << i << " [label=\"" << network.buses[i].number << "\\n"
       << angles[i] * 180 / std::numbers::pi << "°\", fillcolor=\"" << colourOf((angles[i] - *least) / width)
       << "\"];\n";
  }
  for (std::size_t l = 0; l < network.branches.size(); ++l) {
    const Network::Branch& branch = network.branches[l];
    const bool forward = flows[l] >= 0;
    os << "  " << (forward ? branch.from : branch.to) << " -> " << (forward ? branch.to : branch.from)
       << " [penwidth=" << 0.5 + 3.5 * std::min(std::abs(flows[l]) / branch.rating, 1.0) << "];\n";
  }
  os << "}\n";
  return os.str();
}

void drawPicture(const std::string& graph, const std::string& path) {
  // The path reaches the shell as a variable, so that no character of it is a command.
  setenv("PICTURE", path.c_str(), 1);
  std::FILE* const pipe = popen("sfdp -Tsvg -o \"$PICTURE\"", "w");
  if (pipe == nullptr) throw std::runtime_error("Graphviz cannot be started");
  const bool written = std::fputs(graph.c_str(), pipe) >= 0;
  if (pclose(pipe) != 0 || !written) throw std::runtime_error("Graphviz (sfdp) has not drawn " + path);
}
