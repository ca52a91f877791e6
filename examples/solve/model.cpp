#include "model.h"

#include <algorithm>
#include <cmath>

#include "input_error.h"

namespace tavsolve {

namespace {

constexpr double kMaxInt = static_cast<double>(TavIntVar::kMaxInt);

const char* nameOrNull(const std::string& name) { return name.empty() ? nullptr : name.c_str(); }

bool hasName(const TavExtractableI* object, const std::string& name) {
  return object->getName() && name == object->getName();
}

}  // namespace

TavInt wholeLowerBound(double lb) { return TavTrunc(std::clamp(std::ceil(lb), -kMaxInt, kMaxInt)); }

TavInt wholeUpperBound(double ub) { return TavTrunc(std::clamp(std::floor(ub), -kMaxInt, kMaxInt)); }

Model::Model(const ModelFile& file) {
  // Each sum that loses a removed column says so in a change record of its own.
  _env.getImpl()->oneByOneRemoval = true;

  _columns.reserve(file.columns.size());
  for (const auto& column : file.columns) _columns.push_back(makeColumn(column));

  _rows.reserve(file.rows.size());
  for (std::size_t i = 0; i < file.rows.size(); ++i) {
    TavExpr sum(_env);
    for (std::size_t k = file.rowStart[i]; k < file.rowStart[i + 1]; ++k) {
      sum += file.value[k] * _columns[static_cast<std::size_t>(file.column[k])];
    }
    sum.normalize();  // the solver takes one coefficient per row and column
    const auto& row = file.rows[i];
    _rows.push_back(new (_env.getImpl()) RangeConstraintI(_env.getImpl(), row.lb, sum, row.ub, nameOrNull(row.name)));
  }

  _objective =
      new (_env.getImpl()) ObjectiveI(_env.getImpl(), makeCost(file), file.maximise, nameOrNull(file.objectiveName));
}

TavExpr Model::makeCost(const ModelFile& file) const {
  TavNumArray costs(_env);
  TavNumVarArray columns(_env);
  for (std::size_t j = 0; j < file.columns.size(); ++j) {
    if (file.columns[j].cost == 0.0) continue;
    costs.add(file.columns[j].cost);
    columns.add(_columns[j]);
  }
  TavExpr cost = TavScalProd(costs, columns);
  cost.setNumConstant(file.constant);
  costs.end();
  columns.end();
  return cost;
}

TavNumVar Model::makeColumn(const ModelFile::Column& column) {
  const char* name = nameOrNull(column.name);
  // With a lower bound of 0 or less, "0 or between the bounds" is an ordinary range.
  if (column.semiContinuous && column.lb > 0.0) {
    const auto type = column.integer ? TavNumVar::Int : TavNumVar::Float;
    const double lb = column.integer ? static_cast<double>(wholeLowerBound(column.lb)) : column.lb;
    const double ub = column.integer ? static_cast<double>(wholeUpperBound(column.ub)) : column.ub;
    const TavSemiContVar variable(_env, lb, ub, type, name);
    _semiContinuous.emplace(variable.getId(), variable);
    return variable;
  }
  if (column.semiContinuous && column.ub < 0.0) {
    throw InputError("column " + column.name + ": semi-continuous with a negative upper bound is not supported");
  }
  if (!column.integer) return TavNumVar(_env, column.lb, column.ub, name);
  const TavInt lb = wholeLowerBound(column.lb), ub = wholeUpperBound(column.ub);
  const TavNumVar variable = lb == 0 && ub == 1 ? TavBoolVar(_env, name) : TavIntVar(_env, lb, ub, name);
  // An integer variable is made with whole, finite bounds; the solver is to see those of the file.
  if (variable.getLB() != column.lb || variable.getUB() != column.ub) variable.setBounds(column.lb, column.ub);
  return variable;
}

void Model::relax() {
  TavNumVarArray whole(_env);
  for (const TavNumVar column : _columns) {
    if (column && column.isInteger()) whole.add(column);
  }
  _relaxation = TavConversion(_env, whole, TavNumVar::Float, "relaxation").getImpl();
  whole.end();
}

TavNumVar Model::findColumn(const std::string& name) const {
  TavNumVar found;
  for (const TavNumVar column : _columns) {
    if (!column || !hasName(column.getImpl(), name)) continue;
    if (found) throw InputError("two columns are named " + name);
    found = column;
  }
  return found;
}

RangeConstraintI* Model::findRow(const std::string& name) const {
  RangeConstraintI* found = nullptr;
  for (RangeConstraintI* row : _rows) {
    if (!hasName(row, name)) continue;
    if (found) throw InputError("two rows are named " + name);
    found = row;
  }
  return found;
}

bool Model::isSemiContinuous(TavNumVar column) const { return _semiContinuous.contains(column.getId()); }

void Model::setBounds(TavNumVar column, double lb, double ub) {
  const auto semiContinuous = _semiContinuous.find(column.getId());
  if (semiContinuous == _semiContinuous.end()) return column.setBounds(lb, ub);
  semiContinuous->second.setSemiContinuousLb(lb);
  column.setUB(ub);
}

void Model::remove(TavNumVar column) {
  _semiContinuous.erase(column.getId());
  const auto same = [column](TavNumVar other) { return other.getImpl() == column.getImpl(); };
  *std::find_if(_columns.begin(), _columns.end(), same) = TavNumVar();
  column.end();
}

}  // namespace tavsolve
