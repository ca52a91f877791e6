#include <cmath>
#include <ostream>

#include "solve/edits/words.h"
#include "solve/program/report.h"
#include "solve/program/solution_file.h"

namespace tavsolve {

namespace {

/// Objects of an array: a name, a value and a price each.
class Items {
 public:
  Items(std::ostream& os, const char* title, const char* price) : _os(os), _price(price) {
    _os << ",\n  \"" << title << "\": [";
  }
  void add(const std::string& name, double value, double price) {
    _os << (_first ? "\n" : ",\n") << "    {\"name\": " << jsonString(name) << ", \"value\": " << jsonNumber(value);
    if (!std::isnan(price)) _os << ", \"" << _price << "\": " << jsonNumber(price);
    _os << "}";
    _first = false;
  }
  void end() { _os << (_first ? "]" : "\n  ]"); }

 private:
  std::ostream& _os;
  const char* _price;
  bool _first = true;
};

}  // namespace

void printJson(std::ostream& os, const Solution& solution) {
  const Model& model = solution.model;
  const Answer& answer = solution.answer;
  os << "{\n  \"model\": " << jsonString(model.name()) << ",\n  \"status\": " << jsonString(wordsFor(answer.status))
     << ",\n  \"solved\": " << (isSolved(answer.status) ? "true" : "false")
     << ",\n  \"engine\": " << jsonString(solution.engine.name()) << ",\n  \"bound\": " << jsonNumber(answer.bound)
     << ",\n  \"nodes\": " << answer.nodes << ",\n  \"iterations\": " << answer.iterations
     << ",\n  \"seconds\": " << jsonNumber(answer.seconds);
  if (answer.hasSolution) {
    os << ",\n  \"objective\": " << jsonNumber(answer.objective)
       << ",\n  \"violation\": " << jsonNumber(answer.violation.amount);
    if (!answer.violation.where.empty()) os << ",\n  \"violated\": " << jsonString(answer.violation.where);
    Items columns(os, "columns", "reducedCost");
    for (std::size_t j = 0; j < model.columns().size(); ++j) {
      const TavNumVarI* column = model.columns()[j].getImpl();
      if (column)
        columns.add(columnLabel(model, j), solution.engine.getValue(column), solution.engine.reducedCostOf(column));
    }
    columns.end();
    Items rows(os, "rows", "dual");
    for (std::size_t i = 0; i < model.rows().size(); ++i) {
      const RangeConstraintI* row = model.rows()[i];
      rows.add(rowLabel(model, i), solution.engine.activityOf(row), solution.engine.dualOf(row));
    }
    rows.end();
  }
  os << "\n}\n";
}

}  // namespace tavsolve
