#include "evaluator/tape.h"

#include <algorithm>
#include <array>
#include <bit>

#include "evaluator/derivative_rules.h"
#include "evaluator/structure.h"

namespace taveval {

namespace {

/// Formulas of which only the structure of their rule counts.
struct NoFormula : FormulaOperators<NoFormula> {
  NoFormula number(double) const noexcept { return {}; }
  NoFormula of(Op) const noexcept { return {}; }
  NoFormula with(Op, NoFormula) const noexcept { return {}; }
};

template <class T>
void append(std::vector<T>& to, const T* from, std::size_t count) {
  to.insert(to.end(), from, from + count);
}

}  // namespace

int degreeOf(Op op, int a, int b, int c) noexcept {
  const int most = std::max({a, b, c});
  switch (op) {
    case Op::Variable:
      return 1;
    case Op::Add:
    case Op::Sub:
    case Op::Neg:
      return most;
    case Op::Mul:
      return std::min(a + b, 3);
    case Op::Square:
      return std::min(2 * a, 3);
    case Op::Div:
      return b == 0 ? a : 3;
    default:
      return most == 0 ? 0 : 3;
  }
}

// Tape

std::size_t Tape::bytes() const noexcept {
  return shapes.capacity() * sizeof(TapeShape) + code.capacity() + pattern.capacity() +
         4 * (variables.capacity() + rows.capacity() + jacobian.capacity() + hessian.capacity()) +
         8 * parameters.capacity();
}

void Tape::shrink() {
  shapes.shrink_to_fit(), code.shrink_to_fit(), pattern.shrink_to_fit(), parameters.shrink_to_fit();
  for (auto* list : {&variables, &rows, &jacobian, &hessian}) list->shrink_to_fit();
}

void Tape::appendJacobian(const TapeShape& shape, std::uint32_t e,
                          std::vector<TavEvaluator::Position>& positions) const {
  const std::uint8_t* pair = pattern.data() + shape.pattern;
  const std::uint32_t* row = rows.data() + shape.rows + std::size_t{e} * shape.outputCount;
  const std::uint32_t* variable = variables.data() + shape.variables + std::size_t{e} * shape.variableCount;
  for (std::uint32_t k = 0; k < shape.jacobianCount; ++k, pair += 2) {
    positions.push_back({static_cast<std::int32_t>(row[pair[0]]), static_cast<std::int32_t>(variable[pair[1]])});
  }
}

void Tape::appendHessian(const TapeShape& shape, std::uint32_t e,
                         std::vector<TavEvaluator::Position>& positions) const {
  const std::uint8_t* pair = pattern.data() + shape.pattern + 2 * (shape.jacobianCount + shape.gradientCount);
  const std::uint32_t* variable = variables.data() + shape.variables + std::size_t{e} * shape.variableCount;
  for (std::uint32_t k = 0; k < shape.hessianCount; ++k, pair += 2) {
    positions.push_back(lowerTriangle(variable[pair[0]], variable[pair[1]]));
  }
}

// Code

void TapeCompiler::writeNumber(std::uint32_t number, std::vector<std::uint8_t>& code) {
  for (; number >= 128; number >>= 7) code.push_back(static_cast<std::uint8_t>(number | 128));
  code.push_back(static_cast<std::uint8_t>(number));
}

/// Reads the nodes and outputs of a key.
struct TapeCompiler::Reading {
  TapeCompiler& to;
  void node(Op op, double, const std::uint32_t* of) { to._nodes.push_back({op, of[0], of[1], of[2], 0}); }
  void mark(KeyMark mark, std::uint32_t node) {
    if (mark < KeyMark::LinearPlus) to._summands.push_back(node);
  }
  void output(std::uint32_t uses) {
    to._uses.push_back(uses);
    to._ends.push_back(static_cast<std::uint32_t>(to._summands.size()));
  }
};

/// Writes the code of a key.
struct TapeCompiler::Writing {
  const std::vector<std::uint32_t>& uses;
  std::vector<std::uint8_t>& code;
  std::uint32_t written = 0;
  std::size_t outputs = 0;

  void node(Op op, double value, const std::uint32_t* of) {
    code.push_back(static_cast<std::uint8_t>(op));
    if (op == Op::Constant) {
      const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof value>>(value);
      code.insert(code.end(), bytes.begin(), bytes.end());
    }
    for (int k = 0; k < operandCount(op); ++k) writeNumber(written - of[k], code);
    ++written;
  }
  void mark(KeyMark mark, std::uint32_t node) {
    code.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(Tape::Mark::Plus) +
                                             static_cast<std::uint32_t>(mark) -
                                             static_cast<std::uint32_t>(KeyMark::Plus)));
    if (node != kNone) writeNumber(written - node, code);
  }
  void output(std::uint32_t) {
    if (++outputs < uses.size()) begin();
  }
  void begin() {
    code.push_back(static_cast<std::uint8_t>(Tape::Mark::Output));
    writeNumber(uses[outputs], code);
  }
};

// Patterns

/// What a derivative goes to, and where there are second derivatives.
void TapeCompiler::findVariables() {
  std::uint32_t variable = 0;
  for (Node& node : _nodes) {
    if (node.op == Op::Variable) {
      node.variables = std::uint64_t{1} << variable++;
    } else if (operandCount(node.op) > 0 && !isPiecewiseConstant(node.op)) {
      if (node.op != Op::Select) node.variables |= _nodes[node.a].variables;
      if (node.b != kNone) node.variables |= _nodes[node.b].variables;
      if (node.c != kNone) node.variables |= _nodes[node.c].variables;
    }
  }
}

void TapeCompiler::findInteractions(std::uint32_t variableCount) {
  _interactions.assign(variableCount, 0);
  _needed.assign(_nodes.size(), 0);
  for (std::size_t k = 0, i = 0; k < _uses.size(); ++k) {
    for (; i < _ends[k]; ++i) {
      if (_uses[k] & kDerivatives) _needed[_summands[i]] = 1;
    }
  }
  const auto interact = [this](std::uint64_t these, std::uint64_t those) {
    for (; these; these &= these - 1) _interactions[static_cast<std::size_t>(std::countr_zero(these))] |= those;
  };
  for (std::size_t k = _nodes.size(); k-- > 0;) {
    const Node& node = _nodes[k];
    if (!_needed[k] || node.variables == 0 || node.op == Op::Variable) continue;
    const auto rule =
        ruleOf(node.op, NoFormula{}, NoFormula{}, NoFormula{}, node.b == kNone || _nodes[node.b].variables == 0);
    const std::uint32_t of[] = {node.a, node.b, node.c};
    std::uint64_t by[2] = {0, 0};
    for (int i = 0; i < rule.count; ++i) {
      const std::uint32_t operand = of[rule.first[i].operand];
      _needed[operand] = 1;
      by[i] = _nodes[operand].variables;
    }
    if (rule.seconds & rule.kFirst) interact(by[0], by[0]);
    if (rule.seconds & rule.kMixed) interact(by[0], by[1]), interact(by[1], by[0]);
    if (rule.seconds & rule.kSecond) interact(by[1], by[1]);
  }
}

void TapeCompiler::writePattern(int derivatives, TapeShape& shape, std::vector<std::uint8_t>& pattern) {
  if (derivatives < 1) return;
  for (const bool ofObjective : {false, true}) {
    std::uint16_t count = 0;
    for (std::size_t k = 0, i = 0; k < _uses.size(); ++k) {
      std::uint64_t variables = 0;
      for (; i < _ends[k]; ++i) variables |= _nodes[_summands[i]].variables;
      if (!(_uses[k] & kDerivatives) || static_cast<bool>(_uses[k] & kOfObjective) != ofObjective) continue;
      for (; variables; variables &= variables - 1, ++count) {
        pattern.push_back(static_cast<std::uint8_t>(k));
        pattern.push_back(static_cast<std::uint8_t>(std::countr_zero(variables)));
      }
    }
    (ofObjective ? shape.gradientCount : shape.jacobianCount) = count;
  }
  if (derivatives < 2) return;
  findInteractions(shape.variableCount);
  for (std::uint32_t j = 0; j < shape.variableCount; ++j) {
    for (std::uint64_t rows = _interactions[j] >> j << j; rows; rows &= rows - 1, ++shape.hessianCount) {
      pattern.push_back(static_cast<std::uint8_t>(std::countr_zero(rows)));
      pattern.push_back(static_cast<std::uint8_t>(j));
    }
  }
}

void TapeCompiler::findDegrees(std::vector<char>& degrees) {
  _degree.clear();
  for (const Node& node : _nodes) {
    const auto of = [this](std::uint32_t k) { return k == kNone ? 0 : int{_degree[k]}; };
    _degree.push_back(static_cast<char>(degreeOf(node.op, of(node.a), of(node.b), of(node.c))));
  }
  degrees.clear();
  for (std::size_t k = 0, i = 0; k < _uses.size(); ++k) {
    char most = 0;
    for (; i < _ends[k]; ++i) most = std::max(most, _degree[_summands[i]]);
    degrees.push_back(_uses[k] & kDerivatives ? most : char{0});
  }
}

void TapeCompiler::read(const ShapeDraft& draft) {
  _nodes.clear(), _uses.clear(), _ends.clear(), _summands.clear();
  readKey(draft.key(), Reading{*this});
}

void TapeCompiler::write(const ShapeDraft& draft, std::vector<std::uint8_t>& code) const {
  Writing writing{_uses, code};
  writing.begin();
  readKey(draft.key(), writing);
}

void TapeCompiler::add(const ShapeDraft& draft, std::span<const std::uint32_t> elements, int derivatives, Tape& tape) {
  const auto number = [](std::size_t size) { return static_cast<std::uint32_t>(size); };
  findVariables();
  TapeShape shape{};
  shape.count = number(elements.size());
  shape.code = number(tape.code.size());
  shape.pattern = number(tape.pattern.size());
  shape.variables = number(tape.variables.size());
  shape.rows = number(tape.rows.size());
  shape.parameters = number(tape.parameters.size());
  shape.parameterCount = draft.parameterCount;
  shape.variableCount = static_cast<std::uint8_t>(draft.variableCount);
  shape.outputCount = static_cast<std::uint8_t>(draft.outputCount);
  shape.valueCount = static_cast<std::uint16_t>(draft.valueCount);
  shape.objectiveValueCount = static_cast<std::uint16_t>(draft.objectiveValueCount);
  for (const std::uint32_t uses : _uses) shape.hasRows = shape.hasRows || !(uses & kOfObjective);
  write(draft, tape.code);
  shape.codeEnd = number(tape.code.size());
  writePattern(derivatives, shape, tape.pattern);
  for (const std::uint32_t e : elements) {
    append(tape.variables, draft.variables(e), draft.variableCount);
    append(tape.rows, draft.rows(e), draft.outputCount);
    append(tape.parameters, draft.parameters(e), draft.parameterCount);
  }
  tape.mostNodes = std::max(tape.mostNodes, draft.nodeCount);
  tape.shapes.push_back(shape);
}

}  // namespace taveval
