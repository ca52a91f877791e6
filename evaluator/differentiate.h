#pragma once
/// Derivatives of a graph as nodes of the same graph.

#include <vector>

#include "evaluator/graph.h"

namespace taveval {

/// One derivative: its variables (column is the lower number for second derivatives) and its node.
struct Derivative {
  std::uint32_t row;
  std::uint32_t column;
  std::uint32_t node;
};

/// Differentiates graphs symbolically. Work and result are linear in the number of operations that one numerical sweep
/// takes; memory is kept from graph to graph.
class Differentiator {
 public:
  /// First derivatives of node `output` by reverse accumulation, `row` being its number: appended to `result`, ordered
  /// by variable. `count` is the number of the graph's nodes before any derivative.
  void first(Graph& graph, std::uint32_t count, std::uint32_t output, std::uint32_t row,
             std::vector<Derivative>& result);
  /// Second derivatives of the sum of weights[k] * outputs[k], by edge pushing (Gower and Mello, A new framework for
  /// the computation of Hessians, 2012): appended to `result`, row >= column.
  void second(Graph& graph, std::uint32_t count, const std::vector<std::uint32_t>& outputs,
              const std::vector<std::uint32_t>& weights, std::vector<Derivative>& result);

 private:
  /// A non-linear edge to a node of lower number, or of the same.
  struct Edge {
    std::uint32_t to;
    std::uint32_t weight;
    std::uint32_t next;
  };
  struct Slot {
    std::uint64_t key;
    std::uint32_t generation = 0;
    std::uint32_t edge = 0;
  };

  void begin(const Graph& graph, std::uint32_t count);
  void addTo(Graph& graph, std::uint32_t& sum, std::uint32_t summand) const;
  std::uint32_t product(Graph& graph, std::uint32_t factor, std::uint32_t w) const;
  struct NodeRule;
  NodeRule ruleOfNode(Graph& graph, std::uint32_t node) const;
  template <class Partial>
  std::uint32_t times(Graph& graph, const Partial& partial, std::uint32_t w) const;
  void addAdjoint(Graph& graph, std::uint32_t node, std::uint32_t summand);
  void addEdge(Graph& graph, std::uint32_t i, std::uint32_t j, std::uint32_t weight);
  std::uint32_t& edgeWeight(std::uint32_t i, std::uint32_t j);
  void growSlots();

  std::vector<char> _active;  // depends on a variable by a derivative that is not 0 everywhere
  bool _hasChoices = false;   // the graph has nodes that give one operand and leave out another
  std::vector<std::uint32_t> _adjoint;
  std::vector<std::uint32_t> _firstEdge;
  std::vector<Edge> _edges;
  std::vector<Slot> _slots;
  std::uint32_t _generation = 0;
};

}  // namespace taveval
