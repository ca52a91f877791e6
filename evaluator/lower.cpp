#include "evaluator/lower.h"

#include <algorithm>

#include "evaluator/scalar.h"

namespace taveval {

void DerivedParameters::begin(std::uint32_t own) {
  _own = own;
  _nodes.clear();
  _numberOf.clear();
}

std::uint32_t DerivedParameters::of(const Graph& graph, std::uint32_t node) {
  if (graph[node].op == Op::Parameter) return graph[node].a;
  if (_numberOf.size() < graph.size()) _numberOf.resize(graph.size(), kNone);
  if (_numberOf[node] == kNone) {
    _numberOf[node] = _own + static_cast<std::uint32_t>(_nodes.size());
    _nodes.push_back(node);
  }
  return _numberOf[node];
}

ParameterRecipe DerivedParameters::recipe(const Graph& graph) const {
  std::vector<char> needed(_nodes.empty() ? 0 : graph.size(), 0);
  for (const std::uint32_t node : _nodes) needed[node] = 1;
  for (std::size_t k = needed.size(); k-- > 0;) {
    const Graph::Node& node = graph[static_cast<std::uint32_t>(k)];
    const std::uint32_t of[] = {node.a, node.b, node.c};
    for (int i = 0; needed[k] && i < operandCount(node.op); ++i) needed[of[i]] = 1;
  }
  ParameterRecipe recipe;
  std::vector<std::uint32_t> placeOf(needed.size(), kNone);
  for (std::uint32_t k = 0; k < needed.size(); ++k) {
    if (!needed[k]) continue;
    Graph::Node node = graph[k];
    std::uint32_t* of[] = {&node.a, &node.b, &node.c};
    for (int i = 0; i < operandCount(node.op); ++i) *of[i] = placeOf[*of[i]];
    placeOf[k] = static_cast<std::uint32_t>(recipe.nodes.size());
    recipe.nodes.push_back(node);
  }
  for (const std::uint32_t node : _nodes) recipe.results.push_back(placeOf[node]);
  return recipe;
}

void ParameterRecipe::compute(const double* own, double* result, std::vector<double>& values) const {
  values.resize(nodes.size());
  for (std::size_t k = 0; k < nodes.size(); ++k) {
    const Graph::Node& node = nodes[k];
    if (node.op == Op::Constant) {
      values[k] = node.value;
    } else if (node.op == Op::Parameter) {
      values[k] = own[node.a];
    } else {
      const int operands = operandCount(node.op);
      values[k] = applyScalar(node.op, values[node.a], operands > 1 ? values[node.b] : 0.0,
                              operands > 2 ? values[node.c] : 0.0, nullptr);
    }
  }
  for (std::size_t i = 0; i < results.size(); ++i) result[i] = values[results[i]];
}

void Lowering::markNeeded(const Graph& graph, const Roots& roots) {
  const std::uint32_t count = graph.size();
  _needed.assign(count, 0);
  _uses.assign(count, 0);
  for (const auto& section : roots) {
    for (const std::uint32_t root : section) {
      _needed[root] = 1;
      _uses[root] += 2;  // never fused into its only user
    }
  }
  for (std::uint32_t k = count; k-- > 0;) {
    if (!_needed[k] || graph[k].isFixed) continue;
    const int operands = operandCount(graph[k].op);
    const std::uint32_t of[] = {graph[k].a, graph[k].b, graph[k].c};
    for (int i = 0; i < operands; ++i) {
      _needed[of[i]] = 1;
      ++_uses[of[i]];
    }
  }
}

bool Lowering::fuse(const Graph& graph, Draft& draft) {
  const auto fusible = [&](std::uint32_t k) {
    return (graph[k].op == Op::Mul || graph[k].op == Op::Square) && _uses[k] == 1 && !graph[k].isFixed;
  };
  const auto product = [&](std::uint32_t k, Op op, std::uint32_t summand) {
    const Graph::Node& node = graph[k];
    draft = {op, draft.node, kNone, node.a, node.op == Op::Square ? node.a : node.b, summand};
    _done[k] = 1;
    return true;
  };
  if (draft.op == Op::Add) {
    if (fusible(draft.b)) return product(draft.b, Op::MulAdd, draft.a);
    if (fusible(draft.a)) return product(draft.a, Op::MulAdd, draft.b);
  }
  if (draft.op == Op::Sub) {
    if (fusible(draft.b)) return product(draft.b, Op::SubMul, draft.a);
    if (fusible(draft.a)) return product(draft.a, Op::MulSub, draft.b);
  }
  return false;
}

void Lowering::pairSines(const Graph& graph) {
  _sine.assign(graph.size(), kNone);
  _cosine.assign(graph.size(), kNone);
  for (std::uint32_t k = 0; k < graph.size(); ++k) {
    if (!_needed[k] || graph[k].isFixed) continue;
    if (graph[k].op == Op::Sin) _sine[graph[k].a] = k;
    if (graph[k].op == Op::Cos) _cosine[graph[k].a] = k;
  }
}

void Lowering::draftInstructions(const Graph& graph) {
  _drafts.clear();
  _done.assign(graph.size(), 0);
  pairSines(graph);
  // From the end, so that a product is taken by its sum before it becomes an instruction of its own.
  for (std::uint32_t k = graph.size(); k-- > 0;) {
    const Graph::Node& node = graph[k];
    const int operands = operandCount(node.op);
    if (!_needed[k] || graph[k].isFixed || _done[k] || operands == 0) continue;
    Draft draft{
        node.op, k, kNone, operands > 0 ? node.a : kNone, operands > 1 ? node.b : kNone, operands > 2 ? node.c : kNone};
    fuse(graph, draft);
    if ((node.op == Op::Sin || node.op == Op::Cos) && _sine[node.a] != kNone && _cosine[node.a] != kNone) {
      // At the place of the first of the two, which the loop meets last.
      const std::uint32_t sine = _sine[node.a], cosine = _cosine[node.a];
      if (k == (sine > cosine ? sine : cosine)) continue;
      draft = {Op::SinCos, sine, cosine, node.a, kNone, kNone};
    }
    _drafts.push_back(draft);
  }
  std::reverse(_drafts.begin(), _drafts.end());
}

void Lowering::findLastUses(const Roots& roots) {
  _lastUse.assign(_needed.size(), kNone);
  for (std::uint32_t i = 0; i < _drafts.size(); ++i) {
    for (const std::uint32_t k : {_drafts[i].a, _drafts[i].b, _drafts[i].c}) {
      if (k != kNone) _lastUse[k] = i;
    }
  }
  for (const auto& section : roots) {
    for (const std::uint32_t root : section) _lastUse[root] = static_cast<std::uint32_t>(_drafts.size());
  }
}

std::uint32_t Lowering::takeRegister(std::uint32_t node, Program& program) {
  if (_spare.empty()) {
    _register[node] = program.registers++;
  } else {
    _register[node] = _spare.back();
    _spare.pop_back();
  }
  return _register[node];
}

Operand Lowering::operandOf(const Graph& graph, std::uint32_t node, DerivedParameters& derived) const {
  if (node == kNone) return 0;
  if (graph[node].isFixed) return operandAt(Place::Parameter, derived.of(graph, node));
  return operandAt(Place::Register, _register[node]);
}

void Lowering::loadLeaves(const Graph& graph, Program& program) {
  for (std::uint32_t k = 0; k < graph.size(); ++k) {
    if (_lastUse[k] == kNone) continue;
    if (graph[k].op == Op::Variable) program.variables.push_back({takeRegister(k, program), graph[k].a});
    if (graph[k].op == Op::Weight) program.weights.push_back({takeRegister(k, program), graph[k].a});
  }
}

void Lowering::assignRegisters(const Graph& graph, Program& program, DerivedParameters& derived) {
  for (std::uint32_t i = 0; i < _drafts.size(); ++i) {
    const Draft& draft = _drafts[i];
    Instruction instruction{draft.op, 0, operandOf(graph, draft.a, derived), operandOf(graph, draft.b, derived),
                            operandOf(graph, draft.c, derived)};
    const std::uint32_t of[] = {draft.a, draft.b, draft.c};
    for (int j = 0; j < 3; ++j) {
      const std::uint32_t k = of[j];
      const bool again = (j > 0 && k == of[0]) || (j > 1 && k == of[1]);
      if (k != kNone && !again && _register[k] != kNone && _lastUse[k] == i) _spare.push_back(_register[k]);
    }
    instruction.result = takeRegister(draft.node, program);
    if (draft.op == Op::SinCos) instruction.c = operandAt(Place::Register, takeRegister(draft.cosine, program));
    program.code.push_back(instruction);
  }
}

Program Lowering::lower(const Graph& graph, const Roots& roots, DerivedParameters& derived) {
  Program program;
  markNeeded(graph, roots);
  draftInstructions(graph);
  findLastUses(roots);
  _register.assign(graph.size(), kNone);
  _spare.clear();
  loadLeaves(graph, program);
  program.code.reserve(_drafts.size());
  assignRegisters(graph, program, derived);
  for (std::size_t s = 0; s < kSections; ++s) {
    program.sections[s].reserve(roots[s].size());
    for (const std::uint32_t root : roots[s]) program.sections[s].push_back(operandOf(graph, root, derived));
  }
  return program;
}

}  // namespace taveval
