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
    _copyOf[variable] = _target.addColumn(copyOf(_env, variable, range));
  }
  int addColumn(const tavlinear::Column& column) {
    const TavNumVar added = column.whole
                                ? TavNumVar(TavIntVar(_env, wholeLowerBound(column.lb), wholeUpperBound(column.ub)))
                                : TavNumVar(_env, column.lb, column.ub);
    _target.addColumn(added);
    return static_cast<int>(_target.columns().size()) - 1;
  }
  TavNumVar of(const TavNumVarI* variable) const { return _copyOf.at(variable); }
  /// The columns of the linearisation, by their numbers.
  std::vector<TavNumVar> columnOf;

  TavExpr sum(const TavNumLinTermI* linear) {
    TavExpr copy(_env, linear->getNumConstant());
    for (const auto* term = linear->getFirstTerm(); term; term = term->next) append(copy, of(term->var), term->coef);
    return copy;
  }
  TavExpr sum(const std::vector<tavlinear::Term>& terms, double constant) {
    TavExpr copy(_env, constant);
    for (const auto& term : terms) append(copy, columnOf[static_cast<std::size_t>(term.column)], term.coef);
    return copy;
  }

 private:
  void append(TavExpr sum, TavNumVar variable, double coef) {
    sum.getImpl()->append(_env.getImpl()->newTerm(variable.getImpl(), coef));
  }

  Model& _target;
  TavEnv _env;
  std::unordered_map<const TavNumVarI*, TavNumVar> _copyOf;
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
  const auto size = static_cast<std::size_t>(_linear.columns().size());
  copier.columnOf.resize(size);
  _placeOf.assign(size, -1);
  int count = 0;
  std::unordered_map<const TavNumVarI*, int> place;
  for (const TavNumVar column : _model.columns()) {
    if (column) place[column.getImpl()] = count++;
  }
  for (std::size_t j = 0; j < size; ++j) {
    const tavlinear::Column& column = _linear.columns()[static_cast<int>(j)];
    if (!_linear.columns().isUsed(static_cast<int>(j))) continue;
    _placeOf[j] = column.variable ? place.at(column.variable) : copier.addColumn(column);
    copier.columnOf[j] = target->columns()[static_cast<std::size_t>(_placeOf[j])];
  }
  for (const RangeConstraintI* row : _model.rows()) {
    if (_rowOf.contains(row)) continue;
    target->addRow(row->getLB(), copier.sum(row->getSum().getImpl()), row->getUB(), row->getName());
  }
  for (int i = 0; i < _linear.rows().size(); ++i) {
    const tavlinear::Row& row = _linear.rows()[i];
    if (_linear.rows().isUsed(i)) target->addRow(row.lb, copier.sum(row.terms, 0.0), row.ub);
  }
  for (TavModelSet set : _model.sets()) {
    for (TavNumVar& member : set.members) member = copier.of(member.getImpl());
    target->addSet(std::move(set));
  }
  for (int i = 0; i < _linear.sets().size(); ++i) {
    TavModelSet set = {"", 2, {}, {}};
    for (const int column : _linear.sets()[i].columns) {
      set.weights.push_back(static_cast<double>(set.members.size() + 1));
      set.members.push_back(copier.columnOf[static_cast<std::size_t>(column)]);
    }
    if (_linear.sets().isUsed(i)) target->addSet(std::move(set));
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
