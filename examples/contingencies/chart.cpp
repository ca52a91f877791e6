#include "chart.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <stdexcept>

void drawChart(const std::vector<Outage>& outages, const std::string& path) {
  constexpr std::size_t kMost = 40;
  constexpr int kLeft = 90, kTop = 40, kStep = 16, kBar = 11, kWidth = 480, kRight = 90;
  const double base = outages[0].cost;
  std::vector<Outage> shown;
  for (const Outage& outage : outages) {
    if (!std::isnan(outage.cost) && outage.line != "base") shown.push_back(outage);
  }
  std::stable_sort(shown.begin(), shown.end(), [](const Outage& a, const Outage& b) { return a.cost > b.cost; });
  shown.resize(std::min(shown.size(), kMost));
  const double greatest = shown.empty() ? 1.0 : std::max(shown[0].cost - base, 1e-9);
  const int height = kTop + kStep * static_cast<int>(shown.size()) + 10;
  std::ofstream svg(path);
  svg << std::fixed << std::setprecision(1) << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\""
      << kLeft + kWidth + kRight << "\" height=\"" << height << "\" font-family=\"sans-serif\" font-size=\"11\">\n"
      << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
      << "<text x=\"" << kLeft << "\" y=\"20\" font-size=\"13\">Additional cost without one line, $/h (of " << base
      << ")</text>\n";
  int y = kTop;
  for (const Outage& outage : shown) {
    const double rise = outage.cost - base;
    const double width = std::max(1.0, kWidth * rise / greatest);
    svg << "<text x=\"" << kLeft - 6 << "\" y=\"" << y + kBar - 1 << "\" text-anchor=\"end\">" << outage.line
        << "</text><rect x=\"" << kLeft << "\" y=\"" << y << "\" width=\"" << width << "\" height=\"" << kBar
        << "\" fill=\"#4a6fb5\"/><text x=\"" << kLeft + width + 5 << "\" y=\"" << y + kBar - 1 << "\">" << rise
        << "</text>\n";
    y += kStep;
  }
  svg << "</svg>\n";
  if (!svg.flush()) throw std::runtime_error(path + " cannot be written");
}
