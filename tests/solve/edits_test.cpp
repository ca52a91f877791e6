// Edits that are taken back leave the model as it was, whatever they were.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "solve/edits/apply.h"
#include "solve/model/errors.h"

using namespace tavsolve;

namespace {

constexpr const char* kModel =
    "max\n obj: 3 x + 2 y - z + s\nst\n c1: x + y + z <= 10\n c2: x - y >= -2\n c3: s + z >= 1\n"
    "bounds\n y <= 8\n z free\n 2 <= s <= 9\ngeneral\n y\nsemi-continuous\n s\nend\n";

/// Coefficients by column, bounds of rows and columns, thresholds and sense, as text.
std::string textOf(const Model& model) {
  std::string text = model.objective()->isMaximised() ? "max" : "min";
  const auto addNumber = [&text](double number) { text += " " + std::to_string(number); };
  const auto addSum = [&](const TavExpr& sum) {
    std::map<std::string, double> coefficients;  // a coefficient that was 0 comes back as the last term
    for (const auto* term = sum.getImpl()->getFirstTerm(); term; term = term->next) {
      if (term->coef != 0.0) coefficients[term->var->getName()] += term->coef;
    }
    for (const auto& [name, coefficient] : coefficients) addNumber(coefficient), text += " " + name;
    addNumber(sum.getImpl()->getConstant());
  };
  addSum(model.objective()->getSum());
  for (const RangeConstraintI* row : model.rows()) {
    text += "\nrow";
    addSum(row->getSum());
    addNumber(row->getLB()), addNumber(row->getUB());
  }
  for (const TavNumVar column : model.columns()) {
    text += "\ncolumn";
    addNumber(column.getLB()), addNumber(column.getUB());
    if (!model.isSemiContinuous(column)) continue;
    addNumber(static_cast<const TavSemiContVarI*>(column.getImpl())->getThreshold());
  }
  return text;
}

}  // namespace

TEST(Edits, OfAWhileAreTakenBack) {
  Model model(TavReadModelText(kModel, "edits"));
  const std::string before = textOf(model);
  std::mt19937 random(1);
  const auto of = [&random](auto... items) {
    const std::common_type_t<decltype(items)...> all[] = {items...};
    return std::string(all[random() % sizeof...(items)]);
  };
  for (int k = 0; k < 500; ++k) {
    std::vector<EditStage> stages(1);
    std::string script;
    for (int n = 0; n < 4; ++n) {
      const std::string column = of("x", "y", "z", "s"), row = of("c1", "c2", "c3", "obj"), value = of("0", "2", "5");
      script +=
          of(("set-bounds " + column + " 1 " + of("1", "6", "inf")).c_str(), ("fix " + column + " " + value).c_str(),
             ("set-coef " + row + " " + column + " " + value).c_str(), ("remove " + column).c_str(),
             ("set-row-bounds " + (row == "obj" ? "c1" : row) + " -1 " + value).c_str(),
             ("set-sense " + of("min", "max")).c_str()) +
          "\n";
    }
    parseEdits(script, "edits", stages);
    try {
      checkEdits(model, stages);
    } catch (const InputError&) {
      continue;  // a column that has been removed
    }
    const std::vector<Edit> inverses = applyForAWhile(model, nullptr, stages[0]);
    for (const Edit& inverse : inverses) applyEdit(model, nullptr, inverse);
    ASSERT_EQ(textOf(model), before) << script;
  }
}
