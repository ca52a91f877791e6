// A model with a published fit: the set Misra1a of the Statistical Reference Datasets of NIST, dental research data on
// monomolecular adsorption (volume over pressure), y = b1 (1 - exp(-b2 x)). The program fits it from both published
// starting points and compares the result with the certified one.

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>

#include "fit.h"

namespace {

constexpr double kObservations[][2] = {{10.07, 77.6},  {14.73, 114.9}, {17.94, 141.1}, {23.93, 190.8}, {29.61, 239.9},
                                       {35.18, 289.0}, {40.02, 332.8}, {44.82, 378.4}, {50.76, 434.8}, {55.05, 477.3},
                                       {61.01, 536.8}, {66.40, 593.1}, {75.47, 689.1}, {81.78, 760.0}};
constexpr double kCertified[] = {2.3894212918e+02, 5.5015643181e-04};
constexpr double kCertifiedSum = 1.2455138894e-01;

LeastSquares misra1a(TavEnv env) {
  const TavNumVar b1(env, -TavGetInfinity(), TavGetInfinity(), "b1");
  const TavNumVar b2(env, -TavGetInfinity(), TavGetInfinity(), "b2");
  LeastSquares problem{{b1, b2}, {}};
  for (const auto& [y, x] : kObservations) problem.residuals.emplace_back(y - b1 * (1 - TavExponent(-x * b2)));
  return problem;
}

/// How many decimal digits two numbers share, at most 10: as many as are published.
double sharedDigits(double value, double certified) {
  return std::min(10.0, -std::log10(std::fabs(value - certified) / std::fabs(certified) + 1e-300));
}

}  // namespace

int main() {
  tavsolve::Model model;
  const LeastSquares problem = misra1a(model.getEnv());
  fill(model, problem);
  std::cout << "first residual: " << problem.residuals.front() << "\n\n";
  bool good = true;
  for (const std::vector<double>& start : {std::vector<double>{500, 0.0001}, {250, 0.0005}}) {
    const Fit found = fit(model, problem, start);
    std::cout << "from b1 = " << start[0] << ", b2 = " << start[1] << ":\n";
    if (!found.converged) {
      std::cout << found.failure << '\n';
      good = false;
      continue;
    }
    const double values[] = {found.parameters[0], found.parameters[1], found.sumOfSquares};
    const double certified[] = {kCertified[0], kCertified[1], kCertifiedSum};
    const char* const names[] = {"b1", "b2", "sum of squares"};
    for (int i = 0; i < 3; ++i) {
      std::cout << std::setw(16) << names[i] << std::setw(16) << std::setprecision(8) << values[i] << "   certified "
                << std::setw(14) << std::setprecision(11) << certified[i] << '\n';
      good = good && sharedDigits(values[i], certified[i]) >= 8;
    }
    std::cout << std::setprecision(6);
  }
  std::cout << (good ? "all agree to 8 digits or more\n" : "NOT the certified fit\n");
  return good ? 0 : 1;
}
