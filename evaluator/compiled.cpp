#include "evaluator/compiled.h"

#include <cassert>
#include <utility>

#include "evaluator/follower.h"

namespace taveval {

// Follower

double Follower::getValue(const TavNumVarI*) const {
  throw TavAlgorithm::Exception("TavEvaluator: values belong to a TavEvaluation");
}

bool Follower::hasExtracted(const TavExtractableI* object) const {
  const auto id = static_cast<std::size_t>(object->getId());
  return id < _compiled._watched.size() && _compiled._watched[id];
}

void Follower::change(const TavChange& change) {
  // Bounds and domains do not enter values.
  const TavTypeInfo type = change.getTypeInfo();
  if (type == TavNumLinTermAddVar::GetTypeInfo() || type == TavNumLinTermRemoveVar::GetTypeInfo() ||
      type == TavIntLinTermRemoveVar::GetTypeInfo()) {
    _compiled._isStale = true;
  }
}

void Follower::forget(TavExtractableI* object) {
  _compiled._isStale = true;
  _compiled._watched[static_cast<std::size_t>(object->getId())] = false;
  if (object->isType(TavNumVarI::GetTypeInfo())) _compiled._columns.remove(static_cast<TavNumVarI*>(object));
  for (TavNumExprI*& constraint : _compiled._constraints) {
    if (constraint == object) constraint = nullptr;
  }
  if (_compiled._objective == object) _compiled._objective = nullptr;
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
  _code = compile(_constraints, _objective, _columns, _options, _watched);
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

void Compiled::recompile() {
  Columns columns = _columns;
  columns.setOpen(false);
  if (!_columnsAreGiven) columns.begin(true);
  std::vector<bool> watched;
  Code code = compile(_constraints, _objective, columns, _options, watched);
  const bool isOther = code.jacobian.positions != _code.jacobian.positions ||
                       code.hessian.positions != _code.hessian.positions || columns.variables() != _columns.variables();
  _code = std::move(code);
  _columns = std::move(columns);
  _watched = std::move(watched);
  _isStale = false;
  if (isOther) ++_version;
}

void Compiled::replace(std::size_t row, TavNumExprArg expression) {
  TavNumExprI* fresh = expression.getImpl();
  if (!fresh && row < _constraints.size()) throw TavEmptyHandleException();
  if (fresh) requireHome(fresh);
  TavNumExprI*& place = row < _constraints.size() ? _constraints[row] : _objective;
  TavNumExprI* old = std::exchange(place, fresh);
  try {
    recompile();
  } catch (...) {
    place = old;
    throw;
  }
  retain(fresh);
  release(old);
}

}  // namespace taveval
