#pragma once
/// What an operation contributes to derivatives: its first and second partial derivatives by its operands.

#include "evaluator/graph.h"

namespace taveval {

/// A first partial derivative. A condition lets a derivative through or replaces it by 0, so that an infinite or
/// undefined derivative of what was not chosen does not show.
struct Partial {
  enum class Kind { Factor, IfTrue, IfFalse };
  Kind kind = Kind::Factor;
  std::uint32_t node = kNone;  ///< The factor, or the condition.
};

/// The partial derivatives of one node.
struct Rule {
  int count = 0;                                    ///< Number of operands below.
  std::uint32_t operand[2] = {};                    ///< Operands by which there is a derivative.
  Partial first[2] = {};                            ///< By each of them.
  std::uint32_t second[3] = {kNone, kNone, kNone};  ///< By 00, 01 and 11; kNone for 0.
};

/// The rule of a node; what it needs is added to the graph. A node that is piecewise constant, or a leaf, has none.
Rule ruleOf(Graph& graph, std::uint32_t node);

}  // namespace taveval
