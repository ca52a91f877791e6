#pragma once
/// Evaluates the elements of a tape; included once by a translation unit for each instruction set, behind run_block.h.

#include "evaluator/derivative_rules.h"
#include "evaluator/run.h"
#include "evaluator/run_sums.h"
#include "evaluator/scalar.h"

namespace taveval::TAV_INSTRUCTION_SET {

/// Formulas that are numbers at a point.
struct NumberFormula : FormulaOperators<NumberFormula> {
  double value = 0.0;
  const Tables* tables = nullptr;

  NumberFormula() = default;
  NumberFormula(double its, const Tables* looksInto) : value(its), tables(looksInto) {}
  NumberFormula number(double its) const { return {its, tables}; }
  NumberFormula of(Op op) const { return {apply(op, value, 0.0, 0.0, tables), tables}; }
  NumberFormula with(Op op, NumberFormula b) const { return {apply(op, value, b.value, 0.0, tables), tables}; }

  static double apply(Op op, double a, double b, double c, const Tables* tables) {
    double result = 0.0;
    if (applyArithmetic(op, a, b, result)) return result;
    switch (op) {
      case Op::Sin:
        return sine(a);
      case Op::Cos:
        return cosine(a);
      case Op::Exp:
        return exponent(a);
      case Op::Log:
        return logarithm(a);
      case Op::Power:
        return power(a, b);
      default:
        return applyScalar(op, a, b, c, tables);
    }
  }
};

/// Derivatives of a node by some directions.
struct Directions {
  static constexpr std::uint32_t kParts = Tape::kDirections / kLanes;
  Doubles part[kParts];
};

/// Evaluates elements one by one.
class TapeMachine {
 public:
  TapeMachine(const Tape& tape, const Task& task) noexcept : _tape(tape), _task(task), _nodes(task.nodes) {
    _tangents = reinterpret_cast<Directions*>(task.tangents);
    _adjoints = _tangents + tape.mostNodes;
  }

  void run() {
    for (const TapeShape& shape : _tape.shapes) {
      const bool isHessian = to(Section::Hessian) && shape.hessianCount > 0;
      const bool isFirst =
          (to(Section::Jacobian) && shape.jacobianCount > 0) || (to(Section::Gradient) && shape.gradientCount > 0);
      const bool isValue =
          (to(Section::Objective) && shape.objectiveValueCount > 0) || (to(Section::Rows) && shape.hasRows);
      if (!isHessian && !isFirst && !isValue) continue;
      for (std::uint32_t e = 0; e < shape.count; ++e) {
        begin(shape, e);
        if (isHessian) {
          forward<2>(shape);
          if (isFirst) firstDerivatives(shape, e);
          secondDerivatives(shape, e);
        } else if (isFirst) {
          forward<1>(shape);
          firstDerivatives(shape, e);
        } else {
          forward<0>(shape);
        }
      }
    }
  }

 private:
  /// A summand of an output: factor * node.
  struct Summand {
    std::uint32_t node;
    double factor;
  };
  static constexpr std::uint32_t kMostOutputs = 8, kMostSummands = 64;

  double* to(Section section) const noexcept { return _task.results[static_cast<std::size_t>(section)]; }

  void begin(const TapeShape& shape, std::uint32_t e) noexcept {
    _variables = _tape.variables.data() + shape.variables + std::size_t{e} * shape.variableCount;
    _rows = _tape.rows.data() + shape.rows + std::size_t{e} * shape.outputCount;
    _parameters = _tape.parameters.data() + shape.parameters + std::size_t{e} * shape.parameterCount;
    _objectiveValues = _task.summands + shape.firstValue + std::size_t{e} * shape.valueCount;
    _values = _objectiveValues + shape.objectiveValueCount;
    _outputCount = 0;
    _summandCount = 0;
  }

  // Values

  template <int Order>
  void forward(const TapeShape& shape) {
    const std::uint8_t* at = _tape.code.data() + shape.code;
    const std::uint8_t* const end = _tape.code.data() + shape.codeEnd;
    const double* parameter = _parameters;
    std::uint32_t count = 0, variables = 0;
    bool hasLinear = false;
    double value = 0.0;  // with linear terms
    while (at != end) {
      const std::uint8_t word = *at++;
      if (word >= static_cast<std::uint8_t>(Tape::Mark::Output)) {
        const auto mark = static_cast<Tape::Mark>(word);
        if (mark == Tape::Mark::Output) {
          if (_outputCount > 0) endOutput(value, hasLinear);
          hasLinear = false;
          _uses[_outputCount] = readNumber(at);
          _firstSummand[_outputCount++] = _summandCount;
        } else if (mark <= Tape::Mark::Scaled) {
          const double factor = mark == Tape::Mark::Plus ? 1.0 : mark == Tape::Mark::Minus ? -1.0 : *parameter++;
          _summands[_summandCount++] = {count - readNumber(at), factor};
        } else {
          if (!hasLinear) value = sumOfOutput();
          hasLinear = true;
          const double factor = mark == Tape::Mark::LinearPlus    ? 1.0
                                : mark == Tape::Mark::LinearMinus ? -1.0
                                                                  : *parameter++;
          value += mark == Tape::Mark::LinearNumber ? factor : factor * _nodes[count - readNumber(at)].value;
        }
        continue;
      }
      TapeNode& node = _nodes[count];
      const auto op = static_cast<Op>(word);
      if constexpr (Order > 0) node.isActive = false, node.variable = 0, node.adjoint = 0.0;
      if (op == Op::Variable) {
        if constexpr (Order > 0) node.isActive = true, node.variable = static_cast<std::uint8_t>(variables + 1);
        _nodeOf[variables] = count;
        node.value = _task.x[_variables[variables++]];
      } else if (op == Op::Parameter) {
        node.value = *parameter++;
      } else if (op == Op::Constant) {
        __builtin_memcpy(&node.value, at, sizeof(double));
        at += sizeof(double);
      } else {
        std::uint32_t of[3] = {0, 0, 0};
        of[0] = count - readNumber(at);
        const int operands = operandCount(op);
        if (operands > 1) of[1] = count - readNumber(at);
        if (operands > 2) of[2] = count - readNumber(at);
        operation<Order>(op, node, of, operands);
      }
      ++count;
    }
    endOutput(value, hasLinear);
    _nodeCount = count;
  }

  template <int Order>
  void operation(Op op, TapeNode& node, const std::uint32_t* of, int operands) {
    const double a = _nodes[of[0]].value, b = _nodes[of[1]].value, c = _nodes[of[2]].value;
    switch (op) {
      case Op::Add:
        return compute<Order>(Op::Add, node, of, a, b, c, true);
      case Op::Sub:
        return compute<Order>(Op::Sub, node, of, a, b, c, true);
      case Op::Mul:
        return compute<Order>(Op::Mul, node, of, a, b, c, true);
      case Op::Div:
        return compute<Order>(Op::Div, node, of, a, b, c, true);
      case Op::Square:
        return compute<Order>(Op::Square, node, of, a, b, c, false);
      case Op::Sin:
        return compute<Order>(Op::Sin, node, of, a, b, c, false);
      case Op::Cos:
        return compute<Order>(Op::Cos, node, of, a, b, c, false);
      case Op::Exp:
        return compute<Order>(Op::Exp, node, of, a, b, c, false);
      case Op::Log:
        return compute<Order>(Op::Log, node, of, a, b, c, false);
      default:
        return compute<Order>(op, node, of, a, b, c, operands > 1);
    }
  }

  /// The value of an operation, and its partial derivatives by operands that depend on variables.
  template <int Order>
  [[gnu::always_inline]] void compute(Op op, TapeNode& node, const std::uint32_t* of, double a, double b, double c,
                                      bool isBinary) {
    node.value = NumberFormula::apply(op, a, b, c, _task.tables);
    if constexpr (Order > 0) {
      const bool isA = _nodes[of[0]].isActive && op != Op::Select;
      const bool isB = isBinary && _nodes[of[1]].isActive, isC = op == Op::Select && _nodes[of[2]].isActive;
      node.isActive = (isA || isB || isC) && !isPiecewiseConstant(op);
      if (!node.isActive) return;
      const auto rule = ruleOf(op, NumberFormula{a, _task.tables}, NumberFormula{b, _task.tables},
                               NumberFormula{node.value, _task.tables}, !isB);
      node.operand[0] = node.operand[1] = kNone;
      node.seconds = static_cast<std::uint8_t>(rule.seconds);
      for (int i = 0; i < 2; ++i) {
        if (i >= rule.count) break;
        const auto& partial = rule.first[i];
        const std::uint32_t operand = of[partial.operand];
        const bool passes = partial.kind == Rule<NumberFormula>::Kind::Factor ||
                            (partial.formula.value != 0.0) == (partial.kind == Rule<NumberFormula>::Kind::IfTrue);
        if (!passes || !_nodes[operand].isActive) continue;
        node.operand[i] = operand;
        node.first[i] = partial.kind == Rule<NumberFormula>::Kind::Factor ? partial.formula.value : 1.0;
      }
      if constexpr (Order > 1) {
        for (int i = 0; i < 3; ++i) node.second[i] = rule.second[i].value;
      }
    }
  }

  double summand(std::uint32_t number) const noexcept {
    return _summands[number].factor * _nodes[_summands[number].node].value;
  }

  double sumOfOutput() const noexcept {
    std::uint32_t s = _firstSummand[_outputCount - 1];
    double sum = summand(s);
    while (++s < _summandCount) sum += summand(s);
    return sum;
  }

  /// Stores the value of the output that has been read.
  void endOutput(double value, bool hasLinear) noexcept {
    const std::uint32_t output = _outputCount - 1, uses = _uses[output];
    const bool isObjective = uses & kOfObjective;
    if (!(isObjective ? to(Section::Objective) : to(Section::Rows))) return;
    double*& values = isObjective ? _objectiveValues : _values;
    if (uses & kEach) {
      for (std::uint32_t s = _firstSummand[output]; s < _summandCount; ++s) *values++ = summand(s);
    } else if (uses & kSum) {
      *values++ = sumOfOutput();
    } else if (uses & kWhole) {
      to(Section::Rows)[_rows[output]] = hasLinear ? value : sumOfOutput();
    }
  }

  // Derivatives

  static void put(double* to, std::uint32_t place, std::size_t firstAdded, double value) noexcept {
    to[place] = place < firstAdded ? value : to[place] + value;
  }
  const std::uint8_t* pattern(const TapeShape& shape) const noexcept { return _tape.pattern.data() + shape.pattern; }

  /// Adds adjoints up from `top` down and leaves those of variables.
  void reverse(std::uint32_t top) noexcept {
    for (std::uint32_t k = top + 1; k-- > 0;) {
      TapeNode& node = _nodes[k];
      const double adjoint = node.adjoint;
      if (adjoint == 0.0 || node.variable) continue;
      node.adjoint = 0.0;
      if (!node.isActive) continue;
      for (int i = 0; i < 2; ++i) {
        if (node.operand[i] != kNone) _nodes[node.operand[i]].adjoint += node.first[i] * adjoint;
      }
    }
  }

  /// Puts the weight of an output into its summands; the highest of their nodes.
  std::uint32_t seed(std::uint32_t output, double weight) noexcept {
    const std::uint32_t end = output + 1 < _outputCount ? _firstSummand[output + 1] : _summandCount;
    std::uint32_t top = 0;
    for (std::uint32_t s = _firstSummand[output]; s < end; ++s) {
      _nodes[_summands[s].node].adjoint += weight * _summands[s].factor;
      top = _summands[s].node > top ? _summands[s].node : top;
    }
    return top;
  }

  void clearVariables(const TapeShape& shape) noexcept {
    for (std::uint32_t v = 0; v < shape.variableCount; ++v) _nodes[_nodeOf[v]].adjoint = 0.0;
  }

  /// Jacobian and gradient: a sweep for each output.
  void firstDerivatives(const TapeShape& shape, std::uint32_t e) noexcept {
    const std::uint8_t* pair = pattern(shape);
    const std::uint32_t* place = _tape.jacobian.data() + shape.jacobian + std::size_t{e} * shape.jacobianCount;
    const std::uint32_t count = shape.jacobianCount + shape.gradientCount;
    for (std::uint32_t k = 0; k < count;) {
      const std::uint32_t output = pair[2 * k];
      const bool isJacobian = k < shape.jacobianCount;
      double* result = to(isJacobian ? Section::Jacobian : Section::Gradient);
      if (result) reverse(seed(output, 1.0));
      for (; k < count && (k < shape.jacobianCount) == isJacobian && pair[2 * k] == output; ++k) {
        if (!result) continue;
        const std::uint32_t variable = pair[2 * k + 1];
        const double value = _nodes[_nodeOf[variable]].adjoint;
        if (isJacobian) {
          put(result, place[k], _task.firstAddedOfJacobian, value);
        } else {
          result[_variables[variable]] += value;
        }
      }
      if (result) clearVariables(shape);
    }
  }

  /// factor * t, where a direction that does not enter gives 0 even if the factor is infinite.
  static Doubles times(double factor, Doubles t) noexcept {
    if (__builtin_isfinite(factor)) [[likely]]
      return factor * t;
    return select(t == 0.0, Doubles{}, factor * t);
  }

  void forwardDirections(std::uint32_t firstDirection) noexcept {
    for (std::uint32_t k = 0; k < _nodeCount; ++k) {
      const TapeNode& node = _nodes[k];
      if (!node.isActive) continue;
      Directions tangent{};
      if (node.variable) {
        const std::uint32_t direction = node.variable - 1u - firstDirection;
        if (direction < Tape::kDirections) reinterpret_cast<double*>(&tangent)[direction] = 1.0;
      } else {
        for (int i = 0; i < 2; ++i) {
          if (node.operand[i] == kNone) continue;
          for (std::uint32_t p = 0; p < Directions::kParts; ++p) {
            tangent.part[p] += times(node.first[i], _tangents[node.operand[i]].part[p]);
          }
        }
      }
      _tangents[k] = tangent;
      _adjoints[k] = {};
    }
  }

  /// The directional derivatives of adjoints: those of the node's own adjoint pass on, and its second derivatives add.
  void reverseDirections() noexcept {
    for (std::uint32_t k = _nodeCount; k-- > 0;) {
      TapeNode& node = _nodes[k];
      if (!node.isActive || node.variable) continue;
      const double adjoint = node.adjoint;
      node.adjoint = 0.0;
      const std::uint32_t a = node.operand[0], b = node.operand[1];
      for (std::uint32_t p = 0; p < Directions::kParts; ++p) {
        const Doubles passed = _adjoints[k].part[p];
        if (a != kNone) _adjoints[a].part[p] += times(node.first[0], passed);
        if (b != kNone) _adjoints[b].part[p] += times(node.first[1], passed);
        if (adjoint == 0.0 || node.seconds == 0) continue;
        if (node.seconds & 1 && a != kNone) {
          _adjoints[a].part[p] += times(node.second[0] * adjoint, _tangents[a].part[p]);
        }
        if (node.seconds & 2 && a != kNone && b != kNone) {
          _adjoints[a].part[p] += times(node.second[1] * adjoint, _tangents[b].part[p]);
          _adjoints[b].part[p] += times(node.second[1] * adjoint, _tangents[a].part[p]);
        }
        if (node.seconds & 4 && b != kNone) {
          _adjoints[b].part[p] += times(node.second[2] * adjoint, _tangents[b].part[p]);
        }
      }
      if (adjoint == 0.0) continue;
      if (a != kNone) _nodes[a].adjoint += node.first[0] * adjoint;
      if (b != kNone) _nodes[b].adjoint += node.first[1] * adjoint;
    }
  }

  void secondDerivatives(const TapeShape& shape, std::uint32_t e) noexcept {
    const std::uint8_t* pair = pattern(shape) + 2 * (shape.jacobianCount + shape.gradientCount);
    const std::uint32_t* place = _tape.hessian.data() + shape.hessian + std::size_t{e} * shape.hessianCount;
    double* result = to(Section::Hessian);
    std::uint32_t k = 0;
    while (k < shape.hessianCount) {
      const std::uint32_t first = pair[2 * k + 1];  // leading directions without entries are left out
      for (std::uint32_t output = 0; output < _outputCount; ++output) {
        if (!(_uses[output] & kDerivatives)) continue;
        seed(output, _uses[output] & kOfObjective ? _task.sigma : _task.lambda[_rows[output]]);
      }
      forwardDirections(first);
      reverseDirections();
      for (; k < shape.hessianCount && pair[2 * k + 1] < first + Tape::kDirections; ++k) {
        const std::uint32_t row = pair[2 * k], direction = pair[2 * k + 1] - first;
        const double value = reinterpret_cast<const double*>(&_adjoints[_nodeOf[row]])[direction];
        put(result, place[k], _task.firstAddedOfHessian, value);
      }
    }
  }

  const Tape& _tape;
  const Task& _task;
  TapeNode* _nodes;
  Directions *_tangents, *_adjoints;
  const std::uint32_t *_variables = nullptr, *_rows = nullptr;
  const double* _parameters = nullptr;
  double *_objectiveValues = nullptr, *_values = nullptr;
  std::uint32_t _nodeCount = 0, _outputCount = 0, _summandCount = 0;
  std::uint32_t _nodeOf[Tape::kMostVariables];  // by variable
  std::uint32_t _uses[kMostOutputs], _firstSummand[kMostOutputs];
  Summand _summands[kMostSummands];
};

[[gnu::flatten]] static void runTape(const Tape& tape, const Task& task) { TapeMachine(tape, task).run(); }

static constexpr BlockRunner kRunner{runBlocks, Block::kStep, runTape, runSums};

}  // namespace taveval::TAV_INSTRUCTION_SET
