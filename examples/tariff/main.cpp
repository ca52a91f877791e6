// The bill for an amount of energy: a piecewise-linear tariff times the factor of the season. It is evaluated over a
// range; then CBC computes, with the linearised bill, how much energy a budget buys.

#include <initializer_list>
#include <iomanip>
#include <iostream>
#include <memory>

#include "solve/engines/engines.h"

namespace {

/// Supplies the values of the variables: one amount of energy, one row of the seasons.
class Bill final : public TavAlgorithmI {
 public:
  Bill(TavEnv env, TavIntVar energy, TavIntVar season)
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
  TavIntVar _energy;
  TavIntVar _season;
};

TavNumArray numbers(TavEnv env, std::initializer_list<double> values) {
  TavNumArray array(env);
  for (double value : values) array.add(value);
  return array;
}

void printTable(const TavNumExpr& bill, Bill& algorithm) {
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
  std::cout << std::defaultfloat << std::setprecision(6);
}

}  // namespace

int main() {
  tavsolve::Model model;
  const TavEnv env = model.getEnv();
  // Whole units: over a continuous amount the bill would have no value from below at the jump, and be refused.
  const TavIntVar energy(env, 0, 1000, "energy");
  const TavIntVar season(env, 0, 2, "season");

  // 0.2 per unit up to 100, 0.3 up to 300, then 0.25; from 500 on a single fee of 12, which is a jump between two equal
  // breakpoints. The standing charge of 9.5 is the value at 0.
  const TavNumArray limits = numbers(env, {100, 300, 500, 500});
  const TavNumArray slopes = numbers(env, {0.2, 0.3, 0.25, 12, 0.25});
  const TavNumArray factors = numbers(env, {1, 1.25, 0.9});
  const TavNumExpr bill = TavPiecewiseLinear(energy, limits, slopes, 0, 9.5) * TavElement(factors, season);

  Bill algorithm(env, energy, season);
  printTable(bill, algorithm);

  constexpr double kBudget = 157.3;
  model.addColumn(energy);
  model.addColumn(season);
  model.addRow(0, TavExpr(bill), kBudget, "budget");
  model.setObjective(TavExpr(energy), true, "energy");
  const std::unique_ptr<tavsolve::EngineI> engine = tavsolve::chooseEngine(model, "").make(model);
  engine->extract();
  const auto solve = [&](const char* when) {
    engine->solve(tavsolve::Controls());
    std::cout << when << energy.eval(engine.get()) << " units cost " << bill.eval(engine.get()) << '\n';
  };
  std::cout << "\nThe most energy for " << kBudget << ":\n";
  solve("in the best season ");
  model.fix(season, 0);
  solve("in summer ");
  model.fix(season, 1);
  solve("in winter ");

  std::cout << "\nplain:   " << bill << '\n';
  env.getImpl()->librarySyntaxDisplay = true;
  std::cout << "library: " << bill << '\n';
}
