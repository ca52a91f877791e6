#include "solve/engines/solution_check.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tavsolve {

namespace {

/// Keeps the greatest violation of those it is shown.
class Greatest {
 public:
  template <class Describe>
  void meet(double amount, Describe describe) {
    if (amount <= _greatest.amount) return;
    _greatest.amount = amount;
    _greatest.where = describe();
  }
  Violation take() { return std::move(_greatest); }

 private:
  Violation _greatest;
};

std::string label(const char* what, const char* name, std::size_t index) {
  return std::string(what) + " " + (name ? std::string(name) : std::to_string(index + 1));
}

double violationOfColumn(TavNumVar column, double value, bool whole) {
  double amount = violationOf(column.getLB(), value, column.getUB());
  if (column.getImpl()->isType(TavSemiContVarI::GetTypeInfo())) {
    const double threshold = static_cast<const TavSemiContVarI*>(column.getImpl())->getThreshold();
    amount = std::max(amount, std::min(violationOf(0.0, value, 0.0), violationOf(threshold, value, value)));
  }
  if (whole) amount = std::max(amount, std::abs(value - std::round(value)));
  return amount;
}

/// The least change that leaves at most `type` members other than zero, and these side by side.
double violationOfSet(const TavModelSet& set, EngineI& engine) {
  std::vector<std::size_t> order(set.members.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return set.weights[a] < set.weights[b]; });
  std::vector<double> sizes;
  sizes.reserve(order.size());
  for (const std::size_t k : order) sizes.push_back(std::abs(engine.getValue(set.members[k].getImpl())));
  const std::size_t width = std::min(static_cast<std::size_t>(set.type), sizes.size());
  std::vector<double> behind(sizes.size() + 1, 0.0);  // the greatest from each member on
  for (std::size_t k = sizes.size(); k-- > 0;) behind[k] = std::max(behind[k + 1], sizes[k]);
  double before = 0.0, least = behind[width];
  for (std::size_t first = 1; first + width <= sizes.size(); ++first) {
    before = std::max(before, sizes[first - 1]);
    least = std::min(least, std::max(before, behind[first + width]));
  }
  return least;
}

}  // namespace

double violationOf(double lb, double value, double ub) {
  const double outside = std::max(lb - value, value - ub);
  if (outside <= 0.0) return 0.0;
  return std::isfinite(value) ? outside / std::max(1.0, std::abs(value)) : TavGetInfinity();
}

Violation greatestViolation(const Model& model, EngineI& engine) {
  Greatest greatest;
  const TavAlgorithm algorithm(&engine);
  for (std::size_t i = 0; i < model.rows().size(); ++i) {
    const RangeConstraintI* row = model.rows()[i];
    greatest.meet(violationOf(row->getLB(), row->getSum().eval(algorithm), row->getUB()),
                  [&] { return label("row", row->getName(), i); });
  }
  for (std::size_t j = 0; j < model.columns().size(); ++j) {
    const TavNumVar column = model.columns()[j];
    if (!column) continue;
    const bool whole = column.isInteger() && !model.relaxation();
    greatest.meet(violationOfColumn(column, engine.getValue(column.getImpl()), whole),
                  [&] { return label("column", column.getName(), j); });
  }
  for (std::size_t i = 0; i < model.sets().size(); ++i) {
    const TavModelSet& set = model.sets()[i];
    greatest.meet(violationOfSet(set, engine),
                  [&] { return label("set", set.name.empty() ? nullptr : set.name.c_str(), i); });
  }
  return greatest.take();
}

}  // namespace tavsolve
