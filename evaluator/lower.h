#pragma once
/// From graphs to programs.

#include <vector>

#include "evaluator/graph.h"
#include "evaluator/program.h"

namespace taveval {

/// Nodes of a shape's graph that depend on data alone. They are computed once for each element and are parameters of
/// the programs, behind the shape's own.
class DerivedParameters {
 public:
  /// For a new graph, whose elements have `own` parameters.
  void begin(std::uint32_t own);
  /// The parameter of a fixed node; one more, unless the node has one.
  std::uint32_t of(const Graph& graph, std::uint32_t node);
  /// How those beyond the shape's own are computed, in their order.
  ParameterRecipe recipe(const Graph& graph) const;

 private:
  std::uint32_t _own = 0;
  std::vector<std::uint32_t> _nodes;
  std::vector<std::uint32_t> _numberOf;
};

/// The nodes that a program is to compute, by section.
using Roots = std::array<std::vector<std::uint32_t>, kSections>;

/// Makes programs; memory is kept from program to program.
class Lowering {
 public:
  /// The program of these roots. Sine and cosine of one angle become one instruction, products are fused with sums.
  Program lower(const Graph& graph, const Roots& roots, DerivedParameters& derived);

 private:
  struct Draft {
    Op op;
    std::uint32_t node, cosine, a, b, c;
  };
  void markNeeded(const Graph& graph, const Roots& roots);
  void draftInstructions(const Graph& graph);
  bool fuse(const Graph& graph, Draft& draft);
  void pairSines(const Graph& graph);
  void findLastUses(const Roots& roots);
  void loadLeaves(const Graph& graph, Program& program);
  void assignRegisters(const Graph& graph, Program& program, DerivedParameters& derived);
  std::uint32_t takeRegister(std::uint32_t node, Program& program);
  Operand operandOf(const Graph& graph, std::uint32_t node, DerivedParameters& derived) const;

  std::vector<char> _needed, _done;
  std::vector<std::uint32_t> _uses, _lastUse, _register, _spare, _sine, _cosine;
  std::vector<Draft> _drafts;
};

}  // namespace taveval
