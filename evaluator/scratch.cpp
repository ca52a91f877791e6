#include "evaluator/scratch.h"

#include <algorithm>

namespace taveval {

/// The values of variables for expressions that are evaluated by their objects.
class Scratch::Point final : public TavAlgorithmI {
 public:
  Point(TavEnvI* env, const Columns& columns) : TavAlgorithmI(env), _columns(columns) {}

  using TavAlgorithmI::getValue;
  double getValue(const TavNumVarI* variable) const override {
    const std::uint32_t column = _columns.find(variable);
    if (column == kNone) throw TavAlgorithm::Exception("TavEvaluator: a variable is none of the columns");
    return x[column];
  }

  const double* x = nullptr;

 private:
  const Columns& _columns;
};

Scratch::Scratch(Compiled& compiled)
    : _compiled(compiled), _point(std::make_unique<Point>(compiled.env(), compiled.columns())) {
  code();
}

Scratch::~Scratch() = default;

const Code& Scratch::code() {
  const Code& code = _compiled.code();
  if (_registers.size() < code.registers) _registers.resize(code.registers);
  if (_values.size() < code.valueCount) _values.resize(code.valueCount);
  if (_nodes.size() < code.tape.mostNodes) {
    _tangents.resize(std::size_t{2} * Tape::kDirections * code.tape.mostNodes);
    _nodes.resize(code.tape.mostNodes);
  }
  return code;
}

double* Scratch::matrix(std::size_t size) {
  if (_matrix.size() < size) _matrix.resize(size);
  return _matrix.data();
}

namespace {

double sumOfSummands(const Code& code, const LooseRow& row, const double* values) noexcept {
  double sum = 0.0;
  const std::uint32_t* summand = code.sums.summands.data() + row.firstSummand;
  for (std::uint32_t s = 0; s < row.summandCount; ++s) sum += values[summand[s]];
  return sum;
}

/// The value of a row by the sum of its summands.
double valueOf(const Code& code, const LooseRow& row, double sum, const double* x) noexcept {
  const TavEvaluator::LinearTerm* term = code.terms.data() + row.firstTerm;
  for (std::uint32_t t = 0; t < row.termCount; ++t) sum += term[t].coefficient * x[term[t].column];
  return row.constant + sum;
}

}  // namespace

void Scratch::start(const Code& code, const Results& results) {
  if (results.gradient) code.gradientStart.write(results.gradient);
  if (results.jacobian) code.jacobian.start.write(results.jacobian + code.jacobian.firstAdded);
  if (results.hessian) code.hessian.start.write(results.hessian + code.hessian.firstAdded);
}

void Scratch::evaluateByObjects(const Code& code, const double* x, const Results& results) {
  _point->x = x;
  for (const std::uint32_t row : code.byObjects) {
    const bool isObjective = row == code.constraintCount();
    double* to = isObjective ? results.objective : results.rows ? results.rows + row : nullptr;
    if (!to) continue;
    const TavNumExprI* expression = _compiled.expression(row);
    *to = expression ? expression->eval(_point.get()) : 0.0;
  }
}

void Scratch::addUp(const Code& code, const Task& task, const Results& results) const {
  if (results.objective) {
    const LooseRow& row = code.sums.rows.back();
    const double sum = code.adding == kNone ? sumOfSummands(code, row, _values.data()) : *results.objective;
    *results.objective = valueOf(code, row, sum, task.x);
  }
  if (!results.rows) return;
  for (const SumShape& shape : code.sums.shapes) code.runner.runSums(shape, task);
  for (std::size_t k = 0; k + 1 < code.sums.rows.size(); ++k) {
    const LooseRow& row = code.sums.rows[k];
    results.rows[row.row] = valueOf(code, row, sumOfSummands(code, row, _values.data()), task.x);
  }
}

void Scratch::evaluate(const double* x, double sigma, const double* lambda, const Results& results) {
  const Code& code = this->code();
  start(code, results);
  const Task task{x,
                  sigma,
                  lambda,
                  {results.objective, results.rows, results.gradient, results.jacobian, results.hessian},
                  code.adding == kNone ? nullptr : &code.shapes[code.adding],
                  _values.data(),
                  _registers.data(),
                  _nodes.data(),
                  _tangents.data(),
                  code.jacobian.firstAdded,
                  code.hessian.firstAdded,
                  &code.tables};
  const bool isAll = results.objective && results.rows && results.gradient && results.jacobian && results.hessian;
  for (const Shape& shape : code.shapes) {
    const Runner run = shape.lanes == 1 ? runSingles : code.runner.run;
    if (isAll && !shape.programs[kAll].isEmpty()) {
      run(shape, shape.programs[kAll], task, 0, shape.blockCount());
      continue;
    }
    for (std::size_t section = 0; section < kSections; ++section) {
      if (!task.results[section] || shape.programs[section].isEmpty()) continue;
      run(shape, shape.programs[section], task, 0, shape.blockCount());
    }
  }
  if (!code.tape.shapes.empty()) code.runner.runTape(code.tape, task);
  addUp(code, task, results);
  if (!code.byObjects.empty()) evaluateByObjects(code, x, results);
}

}  // namespace taveval
