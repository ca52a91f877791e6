#include "evaluator/tavevaluator.h"

#include <algorithm>
#include <cassert>
#include <numeric>

#include "evaluator/scratch.h"

namespace {

/// The elements of an array as a span needs them.
template <class Element, class Array>
std::vector<Element> elementsOf(Array array) {
  std::vector<Element> elements;
  if (!array.getImpl()) return elements;
  for (TavInt i = 0; i < array.getSize(); ++i) elements.push_back(array[i]);
  return elements;
}

TavEnvI* requireEnv(TavEnv env) {
  if (!env.getImpl()) throw TavEmptyHandleException();
  return env.getImpl();
}

void require(bool hasRightLength) {
  assert(hasRightLength && "a span of wrong length was given to a TavEvaluation");
  if (!hasRightLength) throw TavWrongUsage("TavEvaluation: a span has the wrong length");
}

[[noreturn]] void throwNoDerivative(const char* className, const char* what) {
  throw TavEvaluator::NoDerivative(std::string("TavEvaluator: ") + what + " contains a " + className +
                                   ", a class without derivatives");
}

[[noreturn]] void throwNotCompiled() {
  throw TavWrongUsage("TavEvaluator: derivatives of this order were not compiled: see Options::derivatives");
}

/// Throws unless the program has these derivatives.
void requireDerivatives(const taveval::Code& code, int compiled, int order, bool ofObjective, bool ofConstraints) {
  if (compiled < order) throwNotCompiled();
  if (ofObjective && code.withoutGradient) throwNoDerivative(code.withoutGradient, "the objective");
  if (ofConstraints && code.withoutJacobian) throwNoDerivative(code.withoutJacobian, "a constraint");
}

TavEvaluator::CompressedRows compress(std::span<const TavEvaluator::Position> positions, std::size_t rows) {
  TavEvaluator::CompressedRows result;
  result.starts.assign(rows + 1, 0);
  for (const auto& position : positions) ++result.starts[static_cast<std::size_t>(position.row) + 1];
  std::partial_sum(result.starts.begin(), result.starts.end(), result.starts.begin());
  result.order.resize(positions.size());
  std::vector<std::size_t> next(result.starts.begin(), result.starts.end() - 1);
  for (std::size_t k = 0; k < positions.size(); ++k) {
    result.order[next[static_cast<std::size_t>(positions[k].row)]++] = k;
  }
  for (std::size_t r = 0; r < rows; ++r) {
    std::sort(result.order.begin() + static_cast<std::ptrdiff_t>(result.starts[r]),
              result.order.begin() + static_cast<std::ptrdiff_t>(result.starts[r + 1]),
              [&](std::size_t a, std::size_t b) { return positions[a].column < positions[b].column; });
  }
  for (const std::size_t k : result.order) result.columns.push_back(positions[k].column);
  return result;
}

}  // namespace

// TavEvaluator

TavEvaluator::Exception::Exception(std::string text) : _text(std::make_shared<const std::string>(std::move(text))) {}

TavEvaluator::TavEvaluator(TavEnv env, TavNumExprArg objective, std::span<const TavNumExprArg> constraints,
                           std::span<const TavNumVar> columns, Options options)
    : _compiled(std::make_unique<taveval::Compiled>(requireEnv(env), objective, constraints, columns, options)) {}

TavEvaluator::TavEvaluator(TavEnv env, TavNumExprArg objective, TavNumExprArray constraints, TavNumVarArray columns,
                           Options options)
    : TavEvaluator(env, objective, elementsOf<TavNumExprArg>(constraints), elementsOf<TavNumVar>(columns), options) {}

TavEvaluator::TavEvaluator(TavEnv env, TavNumExprArg objective, TavNumExprArray constraints)
    : TavEvaluator(env, objective, constraints, TavNumVarArray(), Options()) {}

TavEvaluator::~TavEvaluator() = default;

std::size_t TavEvaluator::getColumnCount() const noexcept { return _compiled->columns().size(); }
std::size_t TavEvaluator::getRowCount() const noexcept { return _compiled->constraintCount(); }
TavNumVar TavEvaluator::getColumn(std::size_t column) const { return TavNumVar(_compiled->columns().variable(column)); }

std::size_t TavEvaluator::getColumnOf(TavNumVar variable) const {
  if (!variable.getImpl()) throw TavEmptyHandleException();
  return _compiled->columns().demand(variable.getImpl());
}

std::span<const TavEvaluator::Position> TavEvaluator::getJacobianStructure() const {
  const taveval::Code& code = _compiled->code();
  requireDerivatives(code, _compiled->options().derivatives, 1, false, true);
  return code.jacobian.positions;
}

std::span<const TavEvaluator::Position> TavEvaluator::getHessianStructure() const {
  const taveval::Code& code = _compiled->code();
  requireDerivatives(code, _compiled->options().derivatives, 2, true, true);
  return code.hessian.positions;
}

TavEvaluator::CompressedRows TavEvaluator::getJacobianByRows() const {
  return compress(getJacobianStructure(), getRowCount());
}

TavEvaluator::CompressedRows TavEvaluator::getHessianByRows() const {
  return compress(getHessianStructure(), getColumnCount());
}

std::size_t TavEvaluator::getStructureVersion() const noexcept { return _compiled->version(); }

TavEvaluator::Kind TavEvaluator::getKind(std::size_t row) const { return _compiled->factsOf(row).kind(); }

std::span<const TavEvaluator::LinearTerm> TavEvaluator::getLinearPart(std::size_t row) const {
  const auto& facts = _compiled->factsOf(row);
  return std::span(_compiled->code().terms).subspan(facts.firstTerm, facts.termCount);
}

double TavEvaluator::getConstant(std::size_t row) const { return _compiled->factsOf(row).constant; }

std::vector<TavEvaluator::HessianEntry> TavEvaluator::getConstantHessian(std::size_t row) const {
  if (getKind(row) == Kind::Linear) return {};
  if (getKind(row) == Kind::NonLinear) throw TavWrongUsage("TavEvaluator: the Hessian of this row is not constant");
  if (_compiled->options().derivatives < 2) throwNotCompiled();
  const std::size_t number = row == kObjective ? getRowCount() : row;
  const TavNumExprArg expression(_compiled->expression(number));
  TavEvaluator alone(TavEnv(_compiled->env()), {}, std::span(&expression, 1), {}, {});
  const auto positions = alone.getHessianStructure();
  std::vector<double> values(positions.size());
  TavEvaluation(alone).hessian(std::vector<double>(alone.getColumnCount(), 1.0), 0.0, std::vector<double>{1.0}, values);
  std::vector<HessianEntry> entries;
  for (std::size_t k = 0; k < values.size(); ++k) {
    if (values[k] == 0.0) continue;
    const auto columnOf = [&](std::int32_t column) {
      return static_cast<std::uint32_t>(getColumnOf(alone.getColumn(static_cast<std::size_t>(column))));
    };
    entries.push_back({taveval::lowerTriangle(columnOf(positions[k].row), columnOf(positions[k].column)), values[k]});
  }
  return entries;
}

const char* TavEvaluator::getClassWithoutDerivative(std::size_t row) const {
  return _compiled->factsOf(row).withoutDerivative;
}

std::size_t TavEvaluator::getMemoryUse() const noexcept { return _compiled->bytes(); }

void TavEvaluator::update() { _compiled->code(); }
void TavEvaluator::refresh() { _compiled->recompile(); }
void TavEvaluator::setObjective(TavNumExprArg objective) { _compiled->replace(kObjective, objective); }

void TavEvaluator::setConstraint(std::size_t row, TavNumExprArg constraint) {
  assert(row < getRowCount() && "there is no such constraint");
  if (row >= getRowCount()) throw TavWrongUsage("TavEvaluator: there is no such constraint");
  _compiled->replace(row, constraint);
}

// TavEvaluation

TavEvaluation::TavEvaluation(TavEvaluator& evaluator)
    : _compiled(evaluator._compiled.get()), _scratch(std::make_unique<taveval::Scratch>(*_compiled)) {}

TavEvaluation::~TavEvaluation() = default;

double TavEvaluation::objective(std::span<const double> x) {
  _scratch->code();
  require(x.size() == _compiled->columns().size());
  double value = 0.0;
  taveval::Scratch::Results results;
  results.objective = &value;
  _scratch->evaluate(x.data(), 1.0, nullptr, results);
  return value;
}

void TavEvaluation::constraints(std::span<const double> x, std::span<double> values) {
  const taveval::Code& code = _scratch->code();
  require(x.size() == _compiled->columns().size() && values.size() == code.constraintCount());
  taveval::Scratch::Results results;
  results.rows = values.data();
  _scratch->evaluate(x.data(), 1.0, nullptr, results);
}

void TavEvaluation::gradient(std::span<const double> x, std::span<double> values) {
  const taveval::Code& code = _scratch->code();
  requireDerivatives(code, _compiled->options().derivatives, 1, true, false);
  require(x.size() == _compiled->columns().size() && values.size() == x.size());
  taveval::Scratch::Results results;
  results.gradient = values.data();
  _scratch->evaluate(x.data(), 1.0, nullptr, results);
}

void TavEvaluation::jacobian(std::span<const double> x, std::span<double> values) {
  const taveval::Code& code = _scratch->code();
  requireDerivatives(code, _compiled->options().derivatives, 1, false, true);
  require(x.size() == _compiled->columns().size() && values.size() == code.jacobian.positions.size());
  taveval::Scratch::Results results;
  results.jacobian = values.data();
  _scratch->evaluate(x.data(), 1.0, nullptr, results);
}

void TavEvaluation::hessian(std::span<const double> x, double sigma, std::span<const double> lambda,
                            std::span<double> values) {
  const taveval::Code& code = _scratch->code();
  requireDerivatives(code, _compiled->options().derivatives, 2, true, true);
  require(x.size() == _compiled->columns().size() && lambda.size() == code.constraintCount() &&
          values.size() == code.hessian.positions.size());
  taveval::Scratch::Results results;
  results.hessian = values.data();
  _scratch->evaluate(x.data(), sigma, lambda.data(), results);
}

double TavEvaluation::all(std::span<const double> x, double sigma, std::span<const double> lambda,
                          std::span<double> gradient, std::span<double> constraints, std::span<double> jacobian,
                          std::span<double> hessian) {
  const taveval::Code& code = _scratch->code();
  requireDerivatives(code, _compiled->options().derivatives, 2, true, true);
  require(x.size() == _compiled->columns().size() && lambda.size() == code.constraintCount() &&
          gradient.size() == x.size() && constraints.size() == code.constraintCount() &&
          jacobian.size() == code.jacobian.positions.size() && hessian.size() == code.hessian.positions.size());
  double value = 0.0;
  const taveval::Scratch::Results results{&value, constraints.data(), gradient.data(), jacobian.data(), hessian.data()};
  _scratch->evaluate(x.data(), sigma, lambda.data(), results);
  return value;
}

void TavEvaluation::jacobianTimes(std::span<const double> x, std::span<const double> v, std::span<double> result) {
  const auto& positions = _scratch->code().jacobian.positions;
  double* values = _scratch->matrix(positions.size());
  jacobian(x, {values, positions.size()});
  require(v.size() == x.size() && result.size() == _scratch->code().constraintCount());
  std::fill(result.begin(), result.end(), 0.0);
  for (std::size_t k = 0; k < positions.size(); ++k) {
    result[static_cast<std::size_t>(positions[k].row)] += values[k] * v[static_cast<std::size_t>(positions[k].column)];
  }
}

void TavEvaluation::timesJacobian(std::span<const double> x, std::span<const double> w, std::span<double> result) {
  const auto& positions = _scratch->code().jacobian.positions;
  double* values = _scratch->matrix(positions.size());
  jacobian(x, {values, positions.size()});
  require(w.size() == _scratch->code().constraintCount() && result.size() == x.size());
  std::fill(result.begin(), result.end(), 0.0);
  for (std::size_t k = 0; k < positions.size(); ++k) {
    result[static_cast<std::size_t>(positions[k].column)] += values[k] * w[static_cast<std::size_t>(positions[k].row)];
  }
}

void TavEvaluation::hessianTimes(std::span<const double> x, double sigma, std::span<const double> lambda,
                                 std::span<const double> v, std::span<double> result) {
  const auto& positions = _scratch->code().hessian.positions;
  double* values = _scratch->matrix(positions.size());
  hessian(x, sigma, lambda, {values, positions.size()});
  require(v.size() == x.size() && result.size() == x.size());
  std::fill(result.begin(), result.end(), 0.0);
  for (std::size_t k = 0; k < positions.size(); ++k) {
    const auto i = static_cast<std::size_t>(positions[k].row), j = static_cast<std::size_t>(positions[k].column);
    result[i] += values[k] * v[j];
    if (i != j) result[j] += values[k] * v[i];
  }
}
