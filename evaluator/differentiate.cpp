#include "evaluator/differentiate.h"

#include <algorithm>

#include "evaluator/derivative_rules.h"

namespace taveval {

/// Formulas that are nodes of a graph.
class NodeFormula : public FormulaOperators<NodeFormula> {
 public:
  NodeFormula() = default;
  NodeFormula(Graph& graph, std::uint32_t node) : _graph(&graph), _node(node) {}
  std::uint32_t node() const noexcept { return _node; }
  NodeFormula number(double value) const { return {*_graph, _graph->constant(value)}; }
  NodeFormula of(Op op) const { return {*_graph, _graph->apply(op, _node)}; }
  NodeFormula with(Op op, NodeFormula b) const { return {*_graph, _graph->apply(op, _node, b._node)}; }

 private:
  Graph* _graph = nullptr;
  std::uint32_t _node = kNone;
};

/// The rule of a node, and the nodes that its partials are by.
struct Differentiator::NodeRule : Rule<NodeFormula> {
  std::uint32_t operand[2] = {kNone, kNone};
};

Differentiator::NodeRule Differentiator::ruleOfNode(Graph& graph, std::uint32_t k) const {
  const Graph::Node node = graph[k];
  const std::uint32_t of[] = {node.a, node.b, node.c};
  NodeRule rule{taveval::ruleOf(node.op, NodeFormula(graph, node.a), NodeFormula(graph, node.b), NodeFormula(graph, k),
                                node.b == kNone || !_active[node.b]),
                {}};
  for (int i = 0; i < rule.count; ++i) rule.operand[i] = of[rule.first[i].operand];
  return rule;
}

void Differentiator::begin(const Graph& graph, std::uint32_t count) {
  _active.assign(count, 0);
  _adjoint.assign(count, kNone);
  _hasChoices = false;
  for (std::uint32_t k = 0; k < count; ++k) {
    const Graph::Node& node = graph[k];
    _hasChoices = _hasChoices || node.op == Op::Select || node.op == Op::Min || node.op == Op::Max;
    if (node.op == Op::Variable) {
      _active[k] = 1;
    } else if (operandCount(node.op) > 0 && !isPiecewiseConstant(node.op)) {
      const bool choice = node.op == Op::Select;
      _active[k] = static_cast<char>((!choice && _active[node.a]) || (node.b != kNone && _active[node.b]) ||
                                     (node.c != kNone && _active[node.c]));
    }
  }
}

/// factor * w. What was not chosen has w = 0, and gives 0 even where its derivative is infinite or undefined.
std::uint32_t Differentiator::product(Graph& graph, std::uint32_t factor, std::uint32_t w) const {
  const std::uint32_t result = graph.mul(factor, w);
  if (!_hasChoices || graph[factor].op == Op::Constant || graph[w].op == Op::Constant) return result;
  return graph.select(w, result, graph.constant(0));
}

template <class Partial>
std::uint32_t Differentiator::times(Graph& graph, const Partial& partial, std::uint32_t w) const {
  const std::uint32_t node = partial.formula.node();
  switch (partial.kind) {
    case NodeRule::Kind::IfTrue:
      return graph.select(node, w, graph.constant(0));
    case NodeRule::Kind::IfFalse:
      return graph.select(node, graph.constant(0), w);
    default:
      return product(graph, node, w);
  }
}

void Differentiator::addTo(Graph& graph, std::uint32_t& sum, std::uint32_t summand) const {
  sum = sum == kNone ? summand : graph.add(sum, summand);
}

void Differentiator::addAdjoint(Graph& graph, std::uint32_t node, std::uint32_t summand) {
  if (_active[node] && !graph.is(summand, 0)) addTo(graph, _adjoint[node], summand);
}

void Differentiator::first(Graph& graph, std::uint32_t count, std::uint32_t output, std::uint32_t row,
                           std::vector<Derivative>& result) {
  begin(graph, count);
  const std::size_t start = result.size();
  addAdjoint(graph, output, graph.constant(1));
  for (std::uint32_t k = output + 1; k-- > 0;) {
    const std::uint32_t adjoint = _adjoint[k];
    if (adjoint == kNone) continue;
    if (graph[k].op == Op::Variable) {
      result.push_back({row, graph[k].a, adjoint});
      continue;
    }
    const NodeRule rule = ruleOfNode(graph, k);
    for (int i = 0; i < rule.count; ++i) {
      if (_active[rule.operand[i]]) addAdjoint(graph, rule.operand[i], times(graph, rule.first[i], adjoint));
    }
  }
  std::sort(result.begin() + static_cast<std::ptrdiff_t>(start), result.end(),
            [](const Derivative& x, const Derivative& y) { return x.column < y.column; });
}

void Differentiator::growSlots() {
  _slots.assign(std::max<std::size_t>(256, 2 * _slots.size()), Slot{});
  for (std::uint32_t k = 0; k < _firstEdge.size(); ++k) {
    for (std::uint32_t e = _firstEdge[k]; e != kNone; e = _edges[e].next) {
      const std::uint64_t key = std::uint64_t{k} << 32 | _edges[e].to;
      std::size_t at = (key * 0x9e3779b97f4a7c15ULL >> 20) & (_slots.size() - 1);
      while (_slots[at].generation == _generation) at = (at + 1) & (_slots.size() - 1);
      _slots[at] = {key, _generation, e};
    }
  }
}

std::uint32_t& Differentiator::edgeWeight(std::uint32_t i, std::uint32_t j) {
  if (2 * (_edges.size() + 1) > _slots.size()) growSlots();
  const std::uint32_t high = std::max(i, j), low = std::min(i, j);
  const std::uint64_t key = std::uint64_t{high} << 32 | low;
  const std::size_t mask = _slots.size() - 1;
  std::size_t at = (key * 0x9e3779b97f4a7c15ULL >> 20) & mask;
  for (; _slots[at].generation == _generation; at = (at + 1) & mask) {
    if (_slots[at].key == key) return _edges[_slots[at].edge].weight;
  }
  const auto edge = static_cast<std::uint32_t>(_edges.size());
  _edges.push_back({low, kNone, _firstEdge[high]});
  _firstEdge[high] = edge;
  _slots[at] = {key, _generation, edge};
  return _edges[edge].weight;
}

void Differentiator::addEdge(Graph& graph, std::uint32_t i, std::uint32_t j, std::uint32_t weight) {
  if (_active[i] && _active[j] && !graph.is(weight, 0)) addTo(graph, edgeWeight(i, j), weight);
}

void Differentiator::second(Graph& graph, std::uint32_t count, const std::vector<std::uint32_t>& outputs,
                            const std::vector<std::uint32_t>& weights, std::vector<Derivative>& result) {
  begin(graph, count);
  _edges.clear();
  _firstEdge.assign(count, kNone);
  ++_generation;
  for (std::size_t k = 0; k < outputs.size(); ++k) addAdjoint(graph, outputs[k], weights[k]);
  for (std::uint32_t k = count; k-- > 0;) {
    if (graph[k].op == Op::Variable) {
      for (std::uint32_t e = _firstEdge[k]; e != kNone; e = _edges[e].next) {
        const std::uint32_t row = graph[k].a, column = graph[_edges[e].to].a;
        result.push_back({std::max(row, column), std::min(row, column), _edges[e].weight});
      }
      continue;
    }
    const std::uint32_t adjoint = _adjoint[k];
    if (adjoint == kNone && _firstEdge[k] == kNone) continue;
    const NodeRule rule = ruleOfNode(graph, k);
    // Push the edges that end here to the operands.
    for (std::uint32_t e = _firstEdge[k]; e != kNone; e = _edges[e].next) {
      const Edge edge = _edges[e];
      for (int i = 0; i < rule.count; ++i) {
        const std::uint32_t at = rule.operand[i];
        if (!_active[at]) continue;
        const std::uint32_t pushed = times(graph, rule.first[i], edge.weight);
        if (edge.to != k) {
          addEdge(graph, at, edge.to, at == edge.to ? graph.mul(graph.constant(2), pushed) : pushed);
          continue;
        }
        addEdge(graph, at, at, times(graph, rule.first[i], pushed));
        for (int j = 0; j < i; ++j) {
          const std::uint32_t mixed = times(graph, rule.first[j], pushed);
          addEdge(graph, at, rule.operand[j], at == rule.operand[j] ? graph.mul(graph.constant(2), mixed) : mixed);
        }
      }
    }
    if (adjoint == kNone) continue;
    // Create the edges of this node, then pass its adjoint on.
    for (int i = 0, pair = 0; i < rule.count; ++i) {
      for (int j = 0; j <= i; ++j, ++pair) {
        if (!(rule.seconds & 1 << pair)) continue;
        const std::uint32_t created = product(graph, rule.second[pair].node(), adjoint);
        const bool doubled = i != j && rule.operand[i] == rule.operand[j];
        addEdge(graph, rule.operand[i], rule.operand[j], doubled ? graph.mul(graph.constant(2), created) : created);
      }
    }
    for (int i = 0; i < rule.count; ++i) {
      if (_active[rule.operand[i]]) addAdjoint(graph, rule.operand[i], times(graph, rule.first[i], adjoint));
    }
  }
}

}  // namespace taveval
