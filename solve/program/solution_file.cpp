#include "solve/program/solution_file.h"

#include <cmath>
#include <ostream>
#include <unordered_map>

#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/program/output.h"
#include "solve/program/report.h"

namespace tavsolve {

namespace {

std::string label(const char* name, const char* letter, std::size_t place) {
  return name ? name : letter + std::to_string(place + 1);
}

/// Calls visit(label, column) for the columns that are left.
template <class Visit>
void forColumns(const Model& model, Visit visit) {
  for (std::size_t j = 0; j < model.columns().size(); ++j) {
    if (model.columns()[j]) visit(columnLabel(model, j), model.columns()[j].getImpl());
  }
}

/// Calls visit(label, row) for all rows.
template <class Visit>
void forRows(const Model& model, Visit visit) {
  for (std::size_t i = 0; i < model.rows().size(); ++i) visit(rowLabel(model, i), model.rows()[i]);
}

void printWithPrice(std::ostream& os, const char* what, const std::string& name, double value, double price) {
  os << what << " " << quotedName(name) << " " << exactText(value);
  if (!std::isnan(price)) os << " " << exactText(price);
  os << "\n";
}

}  // namespace

std::string columnLabel(const Model& model, std::size_t j) { return label(model.columns()[j].getName(), "x", j); }

std::string rowLabel(const Model& model, std::size_t i) { return label(model.rows()[i]->getName(), "c", i); }

void printColumns(std::ostream& os, const Solution& solution, bool valuesOnly) {
  const EngineI& engine = solution.engine;
  forColumns(solution.model, [&](const std::string& name, const TavNumVarI* column) {
    printWithPrice(os, "column", name, engine.getValue(column),
                   valuesOnly ? std::nan("") : engine.reducedCostOf(column));
  });
}

void printPlain(std::ostream& os, const Solution& solution) {
  const Answer& answer = solution.answer;
  os << "model " << quotedName(solution.model.name()) << "\nstatus " << quotedName(wordsFor(answer.status)) << "\n";
  if (!std::isnan(answer.bound)) os << "bound " << exactText(answer.bound) << "\n";
  if (!answer.hasSolution) return;
  os << "objective " << exactText(answer.objective) << "\nviolation " << exactText(answer.violation.amount) << "\n";
  printColumns(os, solution, false);
  forRows(solution.model, [&](const std::string& name, const RangeConstraintI* row) {
    printWithPrice(os, "row", name, solution.engine.activityOf(row), solution.engine.dualOf(row));
  });
}

std::vector<double> readStart(const std::string& path, const Model& model) {
  std::unordered_map<std::string, std::size_t> places;
  for (std::size_t j = 0; j < model.columns().size(); ++j) {
    if (model.columns()[j]) places.emplace(columnLabel(model, j), j);
  }
  std::vector<double> values(model.columns().size(), std::nan(""));
  const std::string contents = contentsOf(path);
  CommandReader reader(contents, path);
  for (std::vector<std::string> words; reader.next(words);) {
    if (words[0] != "column") continue;
    if (words.size() < 3) reader.fail("expected column NAME VALUE");
    const auto place = places.find(words[1]);
    if (place == places.end()) reader.fail("no column is named " + words[1]);
    try {
      values[place->second] = numberOf(words[2]);
    } catch (const InputError& error) {
      reader.fail(error.what());
    }
  }
  return values;
}

bool isStandardOutput(const std::string& path) { return path == "-" || path == "-.json" || path == "-.sol"; }

void writeSolution(const std::string& path, const Solution& solution) {
  OutputFile file(isStandardOutput(path) ? "-" : path);
  if (path.ends_with(".json")) {
    printJson(file.stream(), solution);
  } else if (path.ends_with(".sol")) {
    printSol(file.stream(), solution);
  } else {
    printPlain(file.stream(), solution);
  }
  file.close();
}

}  // namespace tavsolve
