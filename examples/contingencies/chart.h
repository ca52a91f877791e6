#pragma once
/// Costs of outages as a bar chart.

#include <string>
#include <vector>

#include "lines.h"

/// Writes the outages that raise the cost most, at most forty, as SVG; the first is the base case. Throws
/// std::runtime_error when the file cannot be written.
void drawChart(const std::vector<Outage>& outages, const std::string& path);
