#include <cmath>
#include <cstdio>
#include <ostream>

#include "solve/edits/words.h"
#include "solve/program/report.h"
#include "solve/program/solution_file.h"

namespace tavsolve {

namespace {

/// JSON has no infinities.
std::string number(double value) { return std::isfinite(value) ? exactText(value) : "null"; }

std::string string(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      result += escape;
      continue;
    }
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

/// Objects of an array: a name, a value and a price each.
class Items {
 public:
  Items(std::ostream& os, const char* title, const char* price) : _os(os), _price(price) {
    _os << ",\n  \"" << title << "\": [";
  }
  void add(const std::string& name, double value, double price) {
    _os << (_first ? "\n" : ",\n") << "    {\"name\": " << string(name) << ", \"value\": " << number(value);
    if (!std::isnan(price)) _os << ", \"" << _price << "\": " << number(price);
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
  os << "{\n  \"model\": " << string(model.name()) << ",\n  \"status\": " << string(wordsFor(answer.status))
     << ",\n  \"solved\": " << (isSolved(answer.status) ? "true" : "false")
     << ",\n  \"engine\": " << string(solution.engine.name()) << ",\n  \"bound\": " << number(answer.bound)
     << ",\n  \"nodes\": " << answer.nodes << ",\n  \"iterations\": " << answer.iterations
     << ",\n  \"seconds\": " << number(answer.seconds);
  if (answer.hasSolution) {
    os << ",\n  \"objective\": " << number(answer.objective)
       << ",\n  \"violation\": " << number(answer.violation.amount);
    if (!answer.violation.where.empty()) os << ",\n  \"violated\": " << string(answer.violation.where);
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
