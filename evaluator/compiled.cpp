#include "evaluator/compiled.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "evaluator/follower.h"

namespace taveval {

// Follower

double Follower::getValue(const TavNumVarI*) const {
  throw TavAlgorithm::Exception("TavEvaluator: values belong to a TavEvaluation");
}

bool Follower::hasExtracted(const TavExtractableI* object) const {
  if (_compiled._watch.byObject.has(static_cast<std::size_t>(object->getId()))) return true;
  return object->isType(TavNumVarI::GetTypeInfo()) &&
         _compiled._columns.find(static_cast<const TavNumVarI*>(object)) != kNone;
}

void Follower::change(const TavChange& change) {
  // Bounds and domains do not enter values.
  const TavTypeInfo type = change.getTypeInfo();
  if (type == TavNumLinTermAddVar::GetTypeInfo()) {
    modify(static_cast<const TavNumLinTermAddVar&>(change).getLinear());
  } else if (type == TavNumLinTermRemoveVar::GetTypeInfo()) {
    modify(static_cast<const TavNumLinTermRemoveVar&>(change).getLinear());
  } else if (type == TavIntLinTermRemoveVar::GetTypeInfo()) {
    modify(static_cast<const TavIntLinTermRemoveVar&>(change).getLinear());
  }
}

void Follower::forget(TavExtractableI* object) {
  modify(object);
  _compiled._watch.byObject.remove(static_cast<std::size_t>(object->getId()));
  if (object->isType(TavNumVarI::GetTypeInfo())) {
    _compiled._columns.remove(static_cast<TavNumVarI*>(object));
    _compiled._isStale = true;
  }
  for (std::uint32_t row = 0; row <= _compiled.objectiveRow(); ++row) {
    TavNumExprI*& expression = row < _compiled.objectiveRow() ? _compiled._constraints[row] : _compiled._objective;
    if (expression != object) continue;
    expression = nullptr;
    _compiled.modify(row);
  }
}

void Follower::modify(const TavExtractableI* object) noexcept {
  _compiled._watch.byObject.forEach(static_cast<std::size_t>(object->getId()),
                                    [this](std::uint32_t row) { _compiled.modify(row); });
}

// Compiled

Compiled::Compiled(TavEnvI* env, TavNumExprArg objective, std::span<const TavNumExprArg> constraints,
                   std::span<const TavNumVar> columns, TavEvaluator::Options options)
    : _home(env), _options(options), _columnsAreGiven(!columns.empty()) {
  if (objective.getImpl()) requireHome(objective.getImpl());
  for (const TavNumExprArg constraint : constraints) {
    if (!constraint.getImpl()) throw TavEmptyHandleException();
    requireHome(constraint.getImpl());
    _constraints.push_back(constraint.getImpl());
  }
  _objective = objective.getImpl();
  for (const TavNumVar column : columns) {
    if (!column.getImpl()) throw TavEmptyHandleException();
    requireHome(column.getImpl());
    if (!_columns.add(column.getImpl())) throw TavWrongUsage("TavEvaluator: a variable is given as a column twice");
  }
  _columns.setOpen(!_columnsAreGiven);
  _code = compile(_constraints, _objective, _columns, _options, _watch);
  _modified = RowSet(_constraints.size() + 1);
  _follower = std::make_unique<Follower>(env, *this);
  for (TavNumExprI* constraint : _constraints) retain(constraint);
  retain(_objective);
}

Compiled::~Compiled() {
  for (TavNumExprI* constraint : _constraints) release(constraint);
  release(_objective);
}

TavEnvI* Compiled::env() const noexcept { return _follower->getEnv(); }

/// Constraints stay in their own environment when a model is cloned, and are no operands of another one.
void Compiled::requireHome(const TavExtractableI* object) const {
  if (object->getEnv() != _home) throw TavWrongUsage("TavEvaluator: mixing mismatch Environments");
}

/// Variables and constraints are not counted: they live until they are ended, and `forget` tells of it.
void Compiled::retain(TavNumExprI* expression) noexcept {
  if (expression && expression->isRefCountedExpr()) expression->retain();
}

void Compiled::release(TavNumExprI* expression) noexcept {
  TavFirstFailure ignored;  // a hook's, from a destructor
  if (expression && env() && expression->isRefCountedExpr()) ignored.attempt([=] { expression->release(); });
}

const Code::RowFacts& Compiled::factsOf(std::size_t row) {
  const Code& current = code();
  if (row == TavEvaluator::kObjective) return current.rows.back();
  assert(row < _constraints.size() && "there is no such constraint");
  if (row >= _constraints.size()) throw TavWrongUsage("TavEvaluator: there is no such constraint");
  return current.rows[row];
}

void Compiled::modify(std::uint32_t row) noexcept {
  _modified.add(row);
  _hasModified = true;
}

void Compiled::clearModified() noexcept {
  _modified.clear();
  _hasModified = false;
}

/// False if the whole is to be compiled.
bool Compiled::patch() {
  // Patched elements are evaluated one by one.
  if (_code.patched > 256 + _code.rows.size() / 4) return false;
  std::vector<std::uint32_t> rows;
  _modified.forEach([&rows](std::uint32_t row) { rows.push_back(row); });
  for (std::size_t i = 0; i < rows.size(); ++i) {  // and those that depend on what they read
    _watch.byRow.forEach(rows[i], [&](std::uint32_t other) {
      if (!_modified.has(other)) rows.push_back(other), modify(other);
    });
  }
  std::sort(rows.begin(), rows.end());
  Patch patch(_code, _elementsOfRow, _columns, _watch, {_constraints, _objective}, _options);
  if (!patch.prepare(rows)) return false;
  if (patch.commit()) ++_version;
  clearModified();
  return true;
}

void Compiled::followModifications() {
  if (_isStale || !patch()) recompile();
}

void Compiled::recompile() {
  Columns columns = _columns;
  Watch watch;
  Code code = compile(_constraints, _objective, columns, _options, watch);
  const bool isOther = code.jacobian.positions != _code.jacobian.positions ||
                       code.hessian.positions != _code.hessian.positions || columns.variables() != _columns.variables();
  _code = std::move(code);
  _columns = std::move(columns);
  _watch = std::move(watch);
  _elementsOfRow.clear();
  clearModified();
  _isStale = false;
  if (isOther) ++_version;
}

void Compiled::replace(std::size_t row, TavNumExprArg expression) {
  TavNumExprI* fresh = expression.getImpl();
  if (!fresh && row < _constraints.size()) throw TavEmptyHandleException();
  if (fresh) requireHome(fresh);
  const std::uint32_t number = row < _constraints.size() ? static_cast<std::uint32_t>(row) : objectiveRow();
  TavNumExprI*& place = number == objectiveRow() ? _objective : _constraints[number];
  code();
  TavNumExprI* old = std::exchange(place, fresh);
  try {
    modify(number);
    code();
  } catch (...) {
    place = old;
    clearModified();
    throw;
  }
  retain(fresh);
  release(old);
}

}  // namespace taveval
