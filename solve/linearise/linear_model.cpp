#include "solve/linearise/linear_model.h"

#include <algorithm>
#include <cmath>

#include "solve/linearise/implied_bounds.h"

namespace tavsolve {

namespace {

using tavlinear::Linearisation;

std::string labelOf(const char* what, const TavExtractableI* object) {
  return object->getName() ? std::string(what) + " " + object->getName() : std::string(what) + " without a name";
}

/// A variable of the same kind and name; a semi-continuous one keeps its bounds.
TavNumVar copyOf(TavEnv env, const TavNumVarI* variable, const tavlinear::Interval& range) {
  const double lb = range.lo, ub = range.hi;
  const char* name = variable->getName();
  const TavNumVar::Type type = variable->isInteger() ? TavNumVar::Int : TavNumVar::Float;
  if (variable->isType(TavSemiContVarI::GetTypeInfo())) {
    return TavSemiContVar(env, static_cast<const TavSemiContVarI*>(variable)->getThreshold(), variable->getUB(), type,
                          name);
  }
  if (type == TavNumVar::Float) return TavNumVar(env, lb, ub, type, name);
  return TavIntVar(env, wholeLowerBound(lb), wholeUpperBound(ub), name);
}

const TavConstraintIndVarI* indicatorOf(const TavNumVarI* variable) {
  return tavlinear::isIndicator(variable) ? static_cast<const TavConstraintIndVarI*>(variable) : nullptr;
}

Linearisation::Statement statementOf(const TavConstraintI* constraint) {
  if (constraint->getTypeInfo() != RangeConstraintI::GetTypeInfo()) return {};
  const auto* row = static_cast<const RangeConstraintI*>(constraint);
  return {row->getSum().getImpl(), row->getLB(), row->getUB()};
}

/// Makes one linear model out of the parts of another.
class Copier {
 public:
  explicit Copier(Model& target) : _target(target), _env(target.getEnv()) {}

  void addColumn(const TavNumVarI* variable, const tavlinear::Interval& range) {
    _placeOf[variable] = add(copyOf(_env, variable, range));
  }
  /// Enters a column of the linearisation under its number; the place in the target.
  int enter(std::size_t number, const tavlinear::Column& column) {
    const int place = column.variable ? _placeOf.at(column.variable) : addColumn(column);
    if (number >= _columnOf.size()) _columnOf.resize(number + 1);
    _columnOf[number] = columnAt(place);
    return place;
  }
  void addRow(const RangeConstraintI* row) {
    _target.addRow(row->getLB(), sum(row->getSum().getImpl()), row->getUB(), row->getName());
  }
  void addRow(const tavlinear::Row& row) { _target.addRow(row.lb, sum(row.terms, 0.0), row.ub); }
  void addSet(TavModelSet set) {
    for (TavNumVar& member : set.members) member = of(member.getImpl());
    _target.addSet(std::move(set));
  }
  void addSet(const tavlinear::Set& from) {
    TavModelSet set = {"", 2, {}, {}};
    for (const int column : from.columns) {
      set.weights.push_back(static_cast<double>(set.members.size() + 1));
      set.members.push_back(_columnOf[static_cast<std::size_t>(column)]);
    }
    _target.addSet(std::move(set));
  }

  TavExpr sum(const TavNumLinTermI* linear) {
    TavExpr copy(_env, linear->getNumConstant());
    for (const auto* term = linear->getFirstTerm(); term; term = term->next) append(copy, of(term->var), term->coef);
    return copy;
  }
  TavExpr sum(const std::vector<tavlinear::Term>& terms, double constant) {
    TavExpr copy(_env, constant);
    for (const auto& term : terms) append(copy, _columnOf[static_cast<std::size_t>(term.column)], term.coef);
    return copy;
  }

 private:
  int add(TavNumVar column) {
    _target.addColumn(column);
    return static_cast<int>(_target.columns().size()) - 1;
  }
  int addColumn(const tavlinear::Column& column) {
    if (!column.whole) return add(TavNumVar(_env, column.lb, column.ub));
    return add(TavIntVar(_env, wholeLowerBound(column.lb), wholeUpperBound(column.ub)));
  }
  TavNumVar columnAt(int place) const { return _target.columns()[static_cast<std::size_t>(place)]; }
  TavNumVar of(const TavNumVarI* variable) const { return columnAt(_placeOf.at(variable)); }
  void append(TavExpr sum, TavNumVar variable, double coef) {
    sum.getImpl()->append(_env.getImpl()->newTerm(variable.getImpl(), coef));
  }

  Model& _target;
  TavEnv _env;
  /// Places in the target of the model's variables.
  std::unordered_map<const TavNumVarI*, int> _placeOf;
  /// The columns of the linearisation, by their numbers.
  std::vector<TavNumVar> _columnOf;
};

}  // namespace

LinearModel::LinearModel(const Model& model) : _model(model) {
  _linear.statementOf = statementOf;
  extend();
  objectiveChanged();
}

bool LinearModel::isLinear(const TavNumLinTermI* sum) const {
  if (sum->getFirstPart()) return false;
  if (!_hasIndicators) return true;
  const auto* term = sum->getFirstTerm();
  while (term && !tavlinear::isIndicator(term->var)) term = term->next;
  return !term;
}

void LinearModel::extend() {
  implyRanges();
  for (; _seenColumns < _model.columns().size(); ++_seenColumns) {
    const TavNumVar column = _model.columns()[_seenColumns];
    if (column && indicatorOf(column.getImpl())) addTruth(column.getImpl());
  }
  for (; _seenRows < _model.rows().size(); ++_seenRows) addRow(_model.rows()[_seenRows]);
}

/// The bounds of an indicator variable, where they are not 0 and 1, are a row over the truth of its constraint.
void LinearModel::addTruth(const TavNumVarI* indicator) {
  _hasIndicators = true;
  _rowOf[indicator] =
      _linear.addRow(indicator, indicator->getLB(), indicator->getUB(), labelOf("indicator", indicator));
}

void LinearModel::addRow(const RangeConstraintI* row) {
  const TavNumLinTermI* sum = row->getSum().getImpl();
  if (!isLinear(sum)) _rowOf[row] = _linear.addRow(sum, row->getLB(), row->getUB(), labelOf("row", row));
}

void LinearModel::boundsChanged(const TavExtractableI* object, double lb, double ub) {
  _linear.changed(object);
  if (const auto found = _rowOf.find(object); found != _rowOf.end()) _linear.setBounds(found->second, lb, ub);
}

void LinearModel::removed(const TavNumVarI* variable) {
  if (const auto truth = _rowOf.find(variable); truth != _rowOf.end()) {
    _linear.removeRow(truth->second);
    _rowOf.erase(truth);
  }
  _linear.forget(variable);
}

/// Bounds that the rows that are linear as they stand imply for variables without one of their own. Others stay as they
/// are: CBC tightens them itself, and its presolve has been seen to cut off optima of models that were tightened
/// before.
void LinearModel::implyRanges() {
  tavlinear::ColumnBounds bounds;
  std::unordered_map<const TavNumVarI*, int> place;
  for (const TavNumVar column : _model.columns()) {
    if (!column) continue;
    const tavlinear::Interval own = tavlinear::rangeOfVariable(column.getImpl());
    place[column.getImpl()] = static_cast<int>(bounds.lower.size());
    bounds.add(own.lo, own.hi, own.whole);
  }
  tavlinear::LinearRows rows;
  for (const RangeConstraintI* row : _model.rows()) {
    const TavNumLinTermI* sum = row->getSum().getImpl();
    if (sum->getFirstPart()) continue;
    for (const auto* term = sum->getFirstTerm(); term; term = term->next) rows.addTerm(place.at(term->var), term->coef);
    rows.endRow(row->getLB() - sum->getNumConstant(), row->getUB() - sum->getNumConstant());
  }
  propagate(rows, bounds);
  tavlinear::Implied implied;
  for (const auto& [variable, j] : place) {
    const auto at = static_cast<std::size_t>(j);
    const tavlinear::Interval own = tavlinear::rangeOfVariable(variable);
    tavlinear::Interval range = own;
    if (own.lo == -tavlinear::kInfinity && bounds.lower[at] > -tavlinear::kNoBound) range.lo = bounds.lower[at];
    if (own.hi == tavlinear::kInfinity && bounds.upper[at] < tavlinear::kNoBound) range.hi = bounds.upper[at];
    if (range != own) implied.emplace(variable, range);
  }
  _linear.imply(std::move(implied));
}

void LinearModel::objectiveChanged() {
  const TavNumLinTermI* sum = _model.objective()->getSum().getImpl();
  _isObjectiveLinear = isLinear(sum);
  if (_isObjectiveLinear) return;
  _linear.setObjective(sum, _model.objective()->isMaximised(), labelOf("objective", _model.objective()));
}

std::unique_ptr<Model> LinearModel::make() {
  implyRanges();
  _linear.update();
  auto target = std::make_unique<Model>();
  Copier copier(*target);
  for (const TavNumVar column : _model.columns()) {
    if (column) copier.addColumn(column.getImpl(), _linear.rangeOf(column.getImpl()));
  }
  _placeOf.assign(static_cast<std::size_t>(_linear.columns().size()), -1);
  for (int j = 0; j < _linear.columns().size(); ++j) {
    const auto number = static_cast<std::size_t>(j);
    if (_linear.columns().isUsed(j)) _placeOf[number] = copier.enter(number, _linear.columns()[j]);
  }
  for (const RangeConstraintI* row : _model.rows()) {
    if (!_rowOf.contains(row)) copier.addRow(row);
  }
  for (int i = 0; i < _linear.rows().size(); ++i) {
    if (_linear.rows().isUsed(i)) copier.addRow(_linear.rows()[i]);
  }
  for (const TavModelSet& set : _model.sets()) copier.addSet(set);
  for (int i = 0; i < _linear.sets().size(); ++i) {
    if (_linear.sets().isUsed(i)) copier.addSet(_linear.sets()[i]);
  }
  target->setObjective(_isObjectiveLinear ? copier.sum(_model.objective()->getSum().getImpl())
                                          : copier.sum(_linear.objective().terms, _linear.objective().constant),
                       _model.objective()->isMaximised(), _model.objective()->getName());
  return target;
}

LinearModel::Disagreement LinearModel::disagreement(const std::vector<double>& columns, TavAlgorithm values) const {
  Disagreement greatest;
  for (const Linearisation::Made& made : _linear.made()) {
    double form = made.form->constant;
    for (const tavlinear::Term& term : made.form->terms) {
      form += term.coef * columns[static_cast<std::size_t>(_placeOf[static_cast<std::size_t>(term.column)])];
    }
    const double value = made.node->eval(values);
    double amount = 0.0;
    if (made.demand.needsOver()) amount = value - form;
    if (made.demand.needsUnder()) amount = std::max(amount, form - value);
    amount /= std::max(1.0, std::abs(value));
    if (std::isnan(amount)) amount = TavGetInfinity();
    if (amount > greatest.amount) greatest = {amount, tavlinear::textOf(made.node)};
  }
  return greatest;
}

double LinearModel::truthOf(const TavNumVarI* indicator, TavAlgorithm values, double tolerance) {
  const Linearisation::Statement row = statementOf(indicatorOf(indicator)->getConstraint());
  const double value = row.expression->eval(values), slack = tolerance * std::max(1.0, std::abs(value));
  return value >= row.lb - slack && value <= row.ub + slack ? 1.0 : 0.0;
}

bool needsLinearisation(const Model& model) {
  if (model.objective()->getSum().getImpl()->getFirstPart()) return true;
  return std::any_of(model.rows().begin(), model.rows().end(),
                     [](const RangeConstraintI* row) { return row->getSum().getImpl()->getFirstPart(); }) ||
         std::any_of(model.columns().begin(), model.columns().end(),
                     [](TavNumVar column) { return column && tavlinear::isIndicator(column.getImpl()); });
}

std::string whyNotLinear(const Model& model) {
  if (model.relaxation()) return "expressions over relaxed columns are not linearised";
  try {
    const LinearModel linear(model);
    return "";
  } catch (const tavlinear::Refusal& refusal) {
    return refusal.what();
  }
}

}  // namespace tavsolve
