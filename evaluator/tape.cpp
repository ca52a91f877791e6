#include "evaluator/tape.h"

#include <algorithm>
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

/// What patterns need of the rule of an operation.
struct RuleStructure {
  std::uint8_t count, operand[2], seconds;
};

/// The structures of all rules, by operation and whether the second operand is fixed.
class RuleStructures {
 public:
  RuleStructures() {
    for (std::size_t op = 0; op < _all.size(); ++op) {
      for (const bool isSecondFixed : {false, true}) {
        const auto rule = ruleOf(static_cast<Op>(op), NoFormula{}, NoFormula{}, NoFormula{}, isSecondFixed);
        _all[op][isSecondFixed] = {
            static_cast<std::uint8_t>(rule.count),
            {static_cast<std::uint8_t>(rule.first[0].operand), static_cast<std::uint8_t>(rule.first[1].operand)},
            static_cast<std::uint8_t>(rule.seconds)};
      }
    }
  }
  const RuleStructure& of(Op op, bool isSecondFixed) const noexcept {
    return _all[static_cast<std::size_t>(op)][isSecondFixed];
  }

 private:
  std::array<std::array<RuleStructure, 2>, static_cast<std::size_t>(Op::Select) + 1> _all;
};

template <class T>
void append(std::vector<T>& to, const T* from, std::size_t count) {
  to.insert(to.end(), from, from + count);
}

}  // namespace

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
                          TavLargeArray<TavEvaluator::Position>& positions) const {
  const std::uint8_t* pair = pattern.data() + shape.pattern;
  const std::uint32_t* row = rows.data() + shape.rows + std::size_t{e} * shape.outputCount;
  const std::uint32_t* variable = variables.data() + shape.variables + std::size_t{e} * shape.variableCount;
  for (std::uint32_t k = 0; k < shape.jacobianCount; ++k, pair += 2) {
    positions.push_back({static_cast<std::int32_t>(row[pair[0]]), static_cast<std::int32_t>(variable[pair[1]])});
  }
}

void Tape::appendHessian(const TapeShape& shape, std::uint32_t e,
                         TavLargeArray<TavEvaluator::Position>& positions) const {
  const std::uint8_t* pair = pattern.data() + shape.pattern + 2 * (shape.jacobianCount + shape.gradientCount);
  const std::uint32_t* variable = variables.data() + shape.variables + std::size_t{e} * shape.variableCount;
  for (std::uint32_t k = 0; k < shape.hessianCount; ++k, pair += 2) {
    positions.push_back(lowerTriangle(variable[pair[0]], variable[pair[1]]));
  }
}

// Patterns

/// Reads the nodes and outputs of a key, and finds what a derivative goes to.
struct TapeCompiler::Reading {
  TapeCompiler& to;
  Node* const nodes;
  Node* next = nodes;
  std::uint32_t variables = 0;

  void node(Op op, double, const std::uint32_t* of) {
    std::uint64_t set = 0;
    if (op == Op::Variable) {
      set = std::uint64_t{1} << variables++;
    } else if (!isPiecewiseConstant(op)) {
      if (of[0] != kNone && op != Op::Select) set = nodes[of[0]].variables;
      if (of[1] != kNone) set |= nodes[of[1]].variables;
      if (of[2] != kNone) set |= nodes[of[2]].variables;
    }
    *next++ = {op, false, {of[0], of[1], of[2]}, set};
  }
  void mark(KeyMark mark, std::uint32_t node) {
    if (mark < KeyMark::LinearPlus) to._summands.push_back(node);
  }
  void output(std::uint32_t uses) {
    to._uses.push_back(uses);
    to._starts.push_back(static_cast<std::uint32_t>(to._summands.size()));
  }
};

/// Where there are second derivatives.
void TapeCompiler::findInteractions(std::uint32_t variableCount) {
  std::fill_n(_interactions, variableCount, 0);
  for (std::size_t k = 0; k < _uses.size(); ++k) {
    if (!(_uses[k] & kDerivatives)) continue;
    for (std::size_t i = _starts[k]; i < _starts[k + 1]; ++i) _nodes[_summands[i]].isNeeded = true;
  }
  const auto interact = [this](std::uint64_t these, std::uint64_t those) {
    for (; these; these &= these - 1) _interactions[static_cast<std::size_t>(std::countr_zero(these))] |= those;
  };
  static const RuleStructures rules;
  for (std::size_t k = _nodes.size(); k-- > 0;) {
    const Node& node = _nodes[k];
    if (!node.isNeeded || node.variables == 0 || node.op == Op::Variable) continue;
    const bool isSecondFixed = node.of[1] == kNone || _nodes[node.of[1]].variables == 0;
    const RuleStructure& rule = rules.of(node.op, isSecondFixed);
    std::uint64_t by[2] = {0, 0};
    for (int i = 0; i < rule.count; ++i) {
      Node& operand = _nodes[node.of[rule.operand[i]]];
      operand.isNeeded = true;
      by[i] = operand.variables;
    }
    if (rule.seconds & Rule<NoFormula>::kFirst) interact(by[0], by[0]);
    if (rule.seconds & Rule<NoFormula>::kMixed) interact(by[0], by[1]), interact(by[1], by[0]);
    if (rule.seconds & Rule<NoFormula>::kSecond) interact(by[1], by[1]);
  }
}

void TapeCompiler::addPair(std::uint32_t first, std::uint32_t second) {
  std::uint8_t* const pair = _pattern.append(2);
  pair[0] = static_cast<std::uint8_t>(first);
  pair[1] = static_cast<std::uint8_t>(second);
}

void TapeCompiler::writePattern(int derivatives, TapeShape& shape) {
  _pattern.clear();
  if (derivatives < 1) return;
  for (const bool ofObjective : {false, true}) {
    const std::size_t before = _pattern.size();
    for (std::uint32_t k = 0; k < _uses.size(); ++k) {
      if (!(_uses[k] & kDerivatives) || static_cast<bool>(_uses[k] & kOfObjective) != ofObjective) continue;
      std::uint64_t variables = 0;
      for (std::size_t i = _starts[k]; i < _starts[k + 1]; ++i) variables |= _nodes[_summands[i]].variables;
      for (; variables; variables &= variables - 1) addPair(k, static_cast<std::uint32_t>(std::countr_zero(variables)));
    }
    (ofObjective ? shape.gradientCount : shape.jacobianCount) =
        static_cast<std::uint16_t>((_pattern.size() - before) / 2);
  }
  if (derivatives < 2) return;
  const std::size_t before = _pattern.size();
  findInteractions(shape.variableCount);
  for (std::uint32_t j = 0; j < shape.variableCount; ++j) {
    for (std::uint64_t rows = _interactions[j] >> j << j; rows; rows &= rows - 1) {
      addPair(static_cast<std::uint32_t>(std::countr_zero(rows)), j);
    }
  }
  shape.hessianCount = static_cast<std::uint16_t>((_pattern.size() - before) / 2);
}

/// The place of the pattern among those of a tape, to which it is appended unless it is known.
std::uint32_t TapeCompiler::keepPattern(std::vector<std::uint8_t>& patterns) {
  const auto size = static_cast<std::uint32_t>(_pattern.size());
  Pattern& known = _patterns[hashOfBytes(_pattern.data(), size) % kPatterns];
  if (known.size != size || !std::equal(_pattern.begin(), _pattern.end(), patterns.data() + known.first)) {
    known = {static_cast<std::uint32_t>(patterns.size()), size};
    append(patterns, _pattern.data(), size);
  }
  return known.first;
}

void TapeCompiler::add(const ShapeDraft& draft, std::span<const std::uint32_t> elements, int derivatives, Tape& tape) {
  const auto number = [](std::size_t size) { return static_cast<std::uint32_t>(size); };
  _nodes.clear(), _uses.clear(), _starts.clear(), _summands.clear();
  readKey(draft.key(), Reading{*this, _nodes.append(draft.nodeCount)});
  _starts.push_back(number(_summands.size()));
  TapeShape shape{};
  shape.count = number(elements.size());
  shape.code = number(tape.code.size());
  shape.variables = number(tape.variables.size());
  shape.rows = number(tape.rows.size());
  shape.parameters = number(tape.parameters.size());
  shape.parameterCount = draft.parameterCount;
  shape.variableCount = draft.variableCount & 127;
  shape.outputCount = static_cast<std::uint8_t>(draft.outputCount);
  shape.valueCount = static_cast<std::uint16_t>(draft.valueCount);
  shape.objectiveValueCount = static_cast<std::uint16_t>(draft.objectiveValueCount);
  for (const std::uint32_t uses : _uses) shape.hasRows = shape.hasRows || !(uses & kOfObjective);
  append(tape.code, draft.key().data(), draft.key().size());
  shape.codeEnd = number(tape.code.size());
  writePattern(derivatives, shape);
  shape.pattern = keepPattern(tape.pattern);
  for (const std::uint32_t e : elements) {
    append(tape.variables, draft.variables(e), draft.variableCount);
    append(tape.rows, draft.rows(e), draft.outputCount);
    append(tape.parameters, draft.parameters(e), draft.parameterCount);
  }
  tape.mostNodes = std::max(tape.mostNodes, draft.nodeCount);
  tape.shapes.push_back(shape);
}

}  // namespace taveval
