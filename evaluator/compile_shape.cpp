#include "evaluator/compile_shape.h"

#include <algorithm>
#include <bit>

#include "evaluator/pages.h"
#include "evaluator/tape.h"

namespace taveval {

void Indices::append(const std::uint32_t* lane, std::uint32_t count, std::uint32_t width) {
  bool isRun = true, isSame = true;
  for (std::uint32_t i = 1; i < count; ++i) {
    isRun = isRun && lane[i] == lane[0] + i;
    isSame = isSame && lane[i] == lane[0];
  }
  if (isSame && (count > 1 || width == 1)) {
    _entries.push_back({lane[0], width == 1 ? Kind::Run : Kind::Same});
  } else if (isRun && count == width) {
    _entries.push_back({lane[0], Kind::Run});
  } else {
    _entries.push_back({static_cast<std::uint32_t>(_lanes.size()), Kind::Scattered});
    _lanes.insert(_lanes.end(), lane, lane + count);
    _lanes.insert(_lanes.end(), width - count, lane[count - 1]);
  }
}

std::uint32_t Indices::of(std::size_t entry, std::uint32_t lane) const noexcept {
  const Entry& its = _entries[entry];
  switch (its.kind) {
    case Kind::Same:
      return its.at;
    case Kind::Run:
    case Kind::Own:
      return its.at + lane;
    default:
      return _lanes[its.at + lane];
  }
}

void Indices::reserve(std::size_t count, std::uint32_t width) { makeRoom(_lanes, count * width); }

void Indices::set(std::size_t entry, std::uint32_t lane, std::uint32_t place, std::uint32_t live, std::uint32_t width) {
  Entry& its = _entries[entry];
  if (its.kind == Kind::Run || its.kind == Kind::Own || its.kind == Kind::Same) {
    const auto list = static_cast<std::uint32_t>(_lanes.size());
    for (std::uint32_t i = 0; i < width; ++i) _lanes.push_back(i < live ? of(entry, i) : kNone);
    its.at = list;
  }
  its.kind = Kind::Mixed;
  _lanes[its.at + lane] = place;
}

void Indices::renumber(const std::vector<std::uint32_t>& renumbered) noexcept {
  for (Entry& entry : _entries) {
    if (entry.kind == Kind::Run || entry.kind == Kind::Own || entry.kind == Kind::Same) entry.at = renumbered[entry.at];
  }
  for (std::uint32_t& place : _lanes) {
    if (place != kNone) place = renumbered[place];
  }
}

namespace {

/// Whether a number differs between elements; `of(e)` is that of element e.
template <class Of>
bool isVarying(std::uint32_t count, Of of) {
  const auto first = std::bit_cast<std::uint64_t>(of(0));
  for (std::uint32_t e = 1; e < count; ++e) {
    if (std::bit_cast<std::uint64_t>(of(e)) != first) return true;
  }
  return false;
}

}  // namespace

void ShapeCompiler::readMark(KeyMark mark, std::uint32_t node, std::uint32_t& parameters) {
  const bool isLinear = mark >= KeyMark::LinearPlus;
  if (mark == KeyMark::Minus || mark == KeyMark::LinearMinus) node = _graph.neg(node);
  if (mark == KeyMark::Scaled || mark == KeyMark::LinearScaled) {
    node = _graph.mul(parameter(parameters++), node);
  }
  if (mark == KeyMark::LinearNumber) node = parameter(parameters++);
  if (!isLinear) _summands.push_back(node);
  // Linear terms follow the last summand, as in the expression.
  if (isLinear && _value == kNone) _value = _sum;
  std::uint32_t& sum = isLinear ? _value : _sum;
  sum = sum == kNone ? node : _graph.add(sum, node);
}

void ShapeCompiler::endOutput() {
  const std::uint32_t uses = _uses.back();
  auto& values = rootsOf(uses & kOfObjective ? Section::Objective : Section::Rows);
  if (uses & kSum) values.push_back(_sum);
  if (uses & kEach) values.insert(values.end(), _summands.begin(), _summands.end());
  if (uses & kWhole) _wholeValues.push_back(_value == kNone ? _sum : _value);
  _outputs.push_back(_sum);
  _summands.clear();
  _sum = _value = kNone;
}

/// Reads a key into the graph.
struct ShapeCompiler::Reading {
  ShapeCompiler& to;
  std::uint32_t variables = 0, parameters = 0;

  void node(Op op, double value, const std::uint32_t* of) {
    const auto node = [this](std::uint32_t number) { return number == kNone ? kNone : to._nodeOf[number]; };
    to._nodeOf.push_back(op == Op::Variable    ? to._graph.leaf(op, variables++)
                         : op == Op::Parameter ? to.parameter(parameters++)
                         : op == Op::Constant  ? to._graph.constant(value)
                                               : to._graph.apply(op, node(of[0]), node(of[1]), node(of[2])));
  }
  void mark(KeyMark mark, std::uint32_t node) {
    to.readMark(mark, node == kNone ? kNone : to._nodeOf[node], parameters);
  }
  void output(std::uint32_t uses) {
    if (!to._uses.empty()) to.endOutput();
    to._uses.push_back(uses);
  }
};

void ShapeCompiler::readDraft(const ShapeDraft& draft) {
  _graph.clear();
  _nodeOf.clear();
  for (auto* numbers : {&_outputs, &_uses, &_wholeValues}) numbers->clear();
  for (auto& roots : _roots) roots.clear();
  _isVarying.clear();
  for (std::uint32_t p = 0; p < draft.parameterCount; ++p) {
    _isVarying.push_back(isVarying(draft.count, [&](std::uint32_t e) { return draft.parameters(e)[p]; }));
  }
  // Variables have the lowest numbers: second derivatives end at them.
  for (std::uint32_t v = 0; v < draft.variableCount; ++v) _graph.leaf(Op::Variable, v);
  readKey(draft.key(), Reading{*this});
  endOutput();
}

void ShapeCompiler::differentiate(int derivatives, ShapePlan& plan) {
  const auto addRoots = [this](Section section, const std::vector<Derivative>& from) {
    for (const Derivative& d : from) rootsOf(section).push_back(d.node);
  };
  if (derivatives < 1) return;
  _graph.startJoiningFactors();
  const std::uint32_t count = _graph.size();
  for (std::uint32_t k = 0; k < _outputs.size(); ++k) {
    if (!(_uses[k] & kDerivatives)) continue;
    _differentiator.first(_graph, count, _outputs[k], k, _uses[k] & kOfObjective ? plan.gradient : plan.jacobian);
  }
  addRoots(Section::Gradient, plan.gradient);
  addRoots(Section::Jacobian, plan.jacobian);
  if (derivatives < 2) return;
  std::vector<std::uint32_t> outputs, weights;
  for (std::uint32_t k = 0; k < _outputs.size(); ++k) {
    if (!(_uses[k] & kDerivatives)) continue;
    outputs.push_back(_outputs[k]);
    weights.push_back(_graph.leaf(Op::Weight, k));
  }
  _differentiator.second(_graph, count, outputs, weights, plan.hessian);
  addRoots(Section::Hessian, plan.hessian);
}

void ShapeCompiler::makePrograms(Shape& shape) {
  int filled = 0;
  for (std::size_t s = 0; s < kSections; ++s) {
    if (_roots[s].empty()) continue;
    ++filled;
    Roots alone;
    alone[s] = _roots[s];
    shape.programs[s] = _lowering.lower(_graph, alone, _derived);
  }
  if (filled > 1) shape.programs[kAll] = _lowering.lower(_graph, _roots, _derived);
}

void ShapeCompiler::chooseLanes(std::uint32_t lanes, Shape& shape) {
  constexpr std::uint32_t kFewest = 12, kMostRegisters = 4096;
  constexpr std::uint32_t kMostSteps = 8, kCachedBytes = 1 << 15;
  std::uint32_t registers = 0;
  for (const Program& program : shape.programs) registers = std::max(registers, program.registers);
  shape.lanes = shape.count < kFewest || registers > kMostRegisters ? 1 : lanes;
  if (shape.lanes == 1) return;
  // The last block is filled in part.
  for (std::uint32_t steps = 2; steps <= kMostSteps; steps *= 2) {
    const std::uint32_t wider = steps * lanes;
    if (shape.count >= 4 * wider && registers * wider * sizeof(double) <= kCachedBytes) shape.lanes = wider;
  }
}

void ShapeCompiler::fillParameters(const ShapeDraft& draft, Shape& shape) {
  shape.recipe = _derived.recipe(_graph);
  const ParameterRecipe& recipe = shape.recipe;
  const std::uint32_t own = draft.parameterCount, all = own + static_cast<std::uint32_t>(recipe.results.size());
  std::vector<double> values(std::size_t{all} * draft.count), scratch;
  for (std::uint32_t e = 0; e < draft.count; ++e) {
    double* to = values.data() + std::size_t{e} * all;
    std::copy_n(draft.parameters(e), own, to);
    recipe.compute(to, to + own, scratch);
  }
  // Parameters that no program reads are left out; those that are equal in all elements are kept once.
  std::vector<char> used(all, 0);
  forEachOperand(shape.programs, [&](Operand& operand) {
    if (placeOf(operand) == Place::Parameter) used[numberOf(operand)] = 1;
  });
  std::vector<Operand>& placeOfParameter = shape.parameterPlace;
  placeOfParameter.assign(all, 0);
  std::vector<std::uint32_t> varying;
  for (std::uint32_t p = 0; p < all; ++p) {
    if (!used[p]) continue;
    const auto valueOf = [&](std::uint32_t e) { return values[std::size_t{e} * all + p]; };
    if (!(p < own ? _isVarying[p] : isVarying(draft.count, valueOf))) {
      placeOfParameter[p] = operandAt(Place::Uniform, static_cast<std::uint32_t>(shape.uniforms.size() / shape.lanes));
      shape.uniforms.insert(shape.uniforms.end(), shape.lanes, values[p]);
    } else {
      placeOfParameter[p] = operandAt(Place::Parameter, static_cast<std::uint32_t>(varying.size()));
      varying.push_back(p);
    }
  }
  forEachOperand(shape.programs, [&](Operand& operand) {
    if (placeOf(operand) == Place::Parameter) operand = placeOfParameter[numberOf(operand)];
  });
  shape.parameterCount = static_cast<std::uint32_t>(varying.size());
  shape.parameters.resize(std::size_t{shape.blockCount()} * varying.size() * shape.lanes);
  double* to = shape.parameters.data();
  for (std::uint32_t block = 0; block < shape.blockCount(); ++block) {
    for (const std::uint32_t p : varying) {
      for (std::uint32_t lane = 0; lane < shape.lanes; ++lane) {
        const std::uint32_t e = std::min(block * shape.lanes + lane, shape.count - 1);
        *to++ = values[std::size_t{e} * all + p];
      }
    }
  }
}

void ShapeCompiler::fillIndices(const ShapeDraft& draft, Shape& shape) const {
  std::vector<std::uint32_t> lanes(shape.lanes);
  const auto fill = [&](Indices& indices, auto numbersOf, std::uint32_t width) {
    for (std::uint32_t first = 0; first < shape.count; first += shape.lanes) {
      const std::uint32_t live = std::min(shape.lanes, shape.count - first);
      for (std::uint32_t k = 0; k < width; ++k) {
        for (std::uint32_t i = 0; i < live; ++i) lanes[i] = numbersOf(first + i)[k];
        indices.append(lanes.data(), live, shape.lanes);
      }
    }
    indices.shrink();
  };
  fill(
      shape.variables, [&](std::uint32_t e) { return draft.variables(e); }, draft.variableCount);
  fill(
      shape.rows, [&](std::uint32_t e) { return draft.rows(e); }, draft.outputCount);
}

void ShapeCompiler::compile(const ShapeDraft& draft, int derivatives, std::uint32_t lanes, Shape& shape,
                            ShapePlan& plan) {
  readDraft(draft);
  _derived.begin(draft.parameterCount);
  shape.count = draft.count;
  shape.variableCount = draft.variableCount;
  rootsOf(Section::Rows).insert(rootsOf(Section::Rows).end(), _wholeValues.begin(), _wholeValues.end());
  shape.valueCount = draft.valueCount;
  shape.objectiveValueCount = static_cast<std::uint32_t>(rootsOf(Section::Objective).size());
  differentiate(derivatives, plan);
  makePrograms(shape);
  chooseLanes(lanes, shape);
  for (std::uint32_t k = 0; k < _uses.size(); ++k) {
    shape.isObjective.push_back(_uses[k] & kOfObjective ? 1 : 0);
    if (_uses[k] & kWhole) shape.wholeOutputs.push_back(k);
  }
  for (const Derivative& d : plan.gradient) shape.gradientVariables.push_back(d.column);
  shape.key.assign(draft.key().begin(), draft.key().end());
  fillParameters(draft, shape);
  fillIndices(draft, shape);
}

}  // namespace taveval
