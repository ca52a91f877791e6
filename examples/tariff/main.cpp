// The bill for an amount of energy: a piecewise-linear tariff times the factor of the season, evaluated over a range,
// and the expression in both syntaxes.

#include <initializer_list>
#include <iomanip>
#include <iostream>

#include "expression/tavexpression.h"

namespace {

/// Where the values of the variables come from: one amount of energy, one row of the seasons.
class Bill final : public TavAlgorithmI {
 public:
  Bill(TavEnv env, TavNumVar energy, TavIntVar season)
      : TavAlgorithmI(env.getImpl()), _energy(energy), _season(season) {}
  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    if (variable == _energy.getImpl()) return amount;
    if (variable == _season.getImpl()) return row;
    throw TavAlgorithm::Exception("not a variable of the tariff");
  }
  double amount = 0;
  double row = 0;

 private:
  TavNumVar _energy;
  TavIntVar _season;
};

TavNumArray numbers(TavEnv env, std::initializer_list<double> values) {
  TavNumArray array(env);
  for (double value : values) array.add(value);
  return array;
}

}  // namespace

int main() {
  TavEnv env;
  const TavNumVar energy(env, 0, 1000, "energy");
  const TavIntVar season(env, 0, 2, "season");

  // 0.2 per unit up to 100, 0.3 up to 300, then 0.25; from 500 on a fee of 12 once, which is a jump between two equal
  // breakpoints. The standing charge of 9.5 is the value at 0.
  const TavNumArray limits = numbers(env, {100, 300, 500, 500});
  const TavNumArray slopes = numbers(env, {0.2, 0.3, 0.25, 12, 0.25});
  const TavNumArray factors = numbers(env, {1, 1.25, 0.9});
  const TavNumExpr bill = TavPiecewiseLinear(energy, limits, slopes, 0, 9.5) * TavElement(factors, season);

  Bill algorithm(env, energy, season);
  std::cout << "energy   summer   winter    night\n" << std::fixed << std::setprecision(2);
  for (double amount : {0., 50., 100., 200., 300., 400., 499., 500., 600.}) {
    algorithm.amount = amount;
    std::cout << std::setw(6) << std::setprecision(0) << amount << std::setprecision(2);
    for (int s = 0; s < 3; ++s) {
      algorithm.row = s;
      std::cout << std::setw(9) << bill.eval(&algorithm);
    }
    std::cout << '\n';
  }

  std::cout << std::defaultfloat << std::setprecision(6) << "\nplain:   " << bill << '\n';
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << "library: " << bill << '\n';
  env.end();
  return 0;
}
