#include <cmath>
#include <map>
#include <optional>
#include <set>

#include "solve/edits/apply.h"
#include "solve/edits/words.h"
#include "solve/model/errors.h"
#include "solve/model/non_linear_use.h"

namespace tavsolve {

namespace {

/// What the checks ask of a column, which the model has or an earlier edit adds.
struct ColumnFacts {
  bool isInteger = false;
  bool isSemiContinuous = false;
  double threshold = 0.0;
};

/// Looks names up as they stand after the edits checked so far.
class Checker {
 public:
  explicit Checker(const Model& model) : _model(model) {}

  void check(const Edit& edit) {
    _edit = &edit;
    std::visit(*this, edit);
  }

  void operator()(const edit::Bounds& e) const {
    const ColumnFacts column = find(e.column);
    checkBounds(e.lb, e.ub);
    if (column.isInteger && wholeLowerBound(e.lb) > wholeUpperBound(e.ub)) {
      fail("the column is integer and no whole number lies between these bounds");
    }
    if (column.isSemiContinuous && e.lb < 0.0) {
      fail("the column is semi-continuous, its threshold cannot be negative");
    }
  }
  void operator()(const edit::Fix& e) const {
    const ColumnFacts column = find(e.column);
    if (!std::isfinite(e.value)) fail("a value must be finite");
    if (column.isInteger && e.value != std::round(e.value)) fail("the column is integer");
    if (column.isSemiContinuous && e.value != 0.0 && e.value < column.threshold) {
      fail("the column is semi-continuous, and its threshold is " + text(column.threshold));
    }
  }
  void operator()(const edit::Coef& e) const {
    if (!isRow(e.row) && !isObjective(e.row)) fail("no row is named " + e.row);
    find(e.column);
    if (!std::isfinite(e.value)) fail("a coefficient must be finite");
  }
  void operator()(const edit::RowBounds& e) const {
    if (!isRow(e.row)) fail("no row is named " + e.row);
    checkBounds(e.lb, e.ub);
  }
  void operator()(const edit::Sense&) const {}
  void operator()(const edit::Remove& e) {
    find(e.column);
    if (const TavNumVar column = _model.findColumn(e.column)) {
      if (!_uses) _uses = nonLinearUses(_model);
      if (const auto use = _uses->find(column.getId()); use != _uses->end()) failUsed(use->second);
    }
    if (_addedUses.contains(e.column)) failUsed("an added row");
    _removed.insert(e.column);
  }
  void operator()(const edit::Add& e) {
    const TavFileModel& file = *e.file;
    if (!file.sets.empty()) fail("special ordered sets cannot be added");
    if (file.objectives.size() > 1) fail("the file has more than one objective");
    for (const TavFileObjective& objective : file.objectives) {
      if (!objective.products.empty() || !objective.expr.empty() || objective.constant != 0.0) {
        fail("the objective of the file is more than linear terms");
      }
    }
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(file.rows.size()); ++i) {
      const std::string name(file.rowNames[i]);
      if (name.empty()) continue;
      if (isRow(name)) fail("the model has a row " + name);
      _addedRows.insert(name);
    }
    for (std::size_t j = 0; j < file.variables.size(); ++j) {
      const std::string name(file.variableNames[static_cast<std::int32_t>(j)]);
      if (name.empty()) fail("a column of the file has no name");
      if (_removed.contains(name)) fail("column " + name + " is removed by an earlier edit");
      if (_model.findColumn(name)) continue;
      const TavFileKind kind = file.variables[j].kind;
      const bool whole = kind != TavFileKind::Continuous && kind != TavFileKind::SemiContinuous;
      if (whole && _model.relaxation()) fail("column " + name + " is integer, and the model is relaxed");
      _addedColumns.emplace(name, file.variables[j]);
    }
    const auto use = [&](std::int32_t j) { _addedUses.emplace(file.variableNames[j]); };
    for (const TavFileRowPart& part : file.rowParts) {
      for (const TavFileProduct& product : part.products) use(product.first), use(product.second);
    }
    for (const TavFileToken& token : file.tokens) {
      if (token.op == TavFileOp::Variable) use(token.arg);
    }
  }

 private:
  [[noreturn]] void fail(const std::string& why) const { throw InputError(describe(*_edit) + ": " + why); }

  [[noreturn]] void failUsed(const std::string& where) const {
    fail("the column stands in a non-linear expression of " + where + ", which cannot lose it; fix it instead");
  }

  void checkBounds(double lb, double ub) const {
    if (lb > ub) fail("the lower bound is above the upper bound");
    if (lb == TavGetInfinity() || ub == -TavGetInfinity()) fail("no value lies between these bounds");
  }
  bool isObjective(const std::string& name) const {
    const char* objective = _model.objective()->getName();
    return objective && name == objective;
  }
  bool isRow(const std::string& name) const { return _model.findRow(name) || _addedRows.contains(name); }

  ColumnFacts find(const std::string& name) const {
    if (_removed.contains(name)) fail("column " + name + " is removed by an earlier edit");
    if (const TavNumVar column = _model.findColumn(name)) {
      const bool semi = _model.isSemiContinuous(column);
      return {column.isInteger(), semi,
              semi ? static_cast<const TavSemiContVarI*>(column.getImpl())->getThreshold() : 0.0};
    }
    const auto added = _addedColumns.find(name);
    if (added == _addedColumns.end()) fail("no column is named " + name);
    const TavFileKind kind = added->second.kind;
    return {kind == TavFileKind::Integer || kind == TavFileKind::Binary || kind == TavFileKind::SemiInteger,
            kind == TavFileKind::SemiContinuous || kind == TavFileKind::SemiInteger, added->second.lower};
  }

  const Model& _model;
  const Edit* _edit = nullptr;
  std::set<std::string> _removed, _addedRows, _addedUses;
  /// Found when it is first asked for.
  std::optional<std::unordered_map<TavInt, std::string>> _uses;
  std::map<std::string, TavFileVariable> _addedColumns;
};

}  // namespace

void checkEdits(const Model& model, const std::vector<EditStage>& stages) {
  Checker checker(model);
  for (const EditStage& stage : stages) {
    for (const Edit& edit : stage) checker.check(edit);
  }
}

}  // namespace tavsolve
