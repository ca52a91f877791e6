#pragma once
/// The expression graph of one shape. Equal nodes exist once, and what derivatives leave behind (factors 1, summands 0,
/// double negations) is simplified away as nodes are made.

#include <cstdint>
#include <vector>

#include "evaluator/operations.h"

namespace taveval {

/// A graph; its nodes are numbered, operands before the nodes that use them.
class Graph {
 public:
  struct Node {
    Op op;
    bool isFixed;           ///< It depends on constants and parameters alone.
    bool isVarying;         ///< It is fixed, but differs between elements.
    std::uint32_t a, b, c;  ///< Operands, or the number of a leaf in a; kNone for none.
    double value;           ///< Of a constant.
  };

  /// Drops all nodes; memory stays for the next graph.
  void clear() noexcept;
  /// From now on fixed factors of products are joined. Derivatives want this; values are rounded as `eval` does.
  /// Multiples of what varies are no longer fixed: to compute one takes less time than to read it from memory.
  void startJoiningFactors() noexcept { _joinsFactors = true; }
  std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(_nodes.size()); }
  const Node& operator[](std::uint32_t node) const noexcept { return _nodes[node]; }
  /// Whether the node is this constant.
  bool is(std::uint32_t node, double value) const noexcept {
    return _nodes[node].op == Op::Constant && _nodes[node].value == value;
  }

  std::uint32_t constant(double value) { return make(Op::Constant, kNone, kNone, kNone, value); }
  std::uint32_t leaf(Op op, std::uint32_t number) { return make(op, number, kNone, kNone, 0.0); }
  std::uint32_t parameter(std::uint32_t number, bool isVarying);
  std::uint32_t add(std::uint32_t a, std::uint32_t b);
  std::uint32_t sub(std::uint32_t a, std::uint32_t b);
  std::uint32_t mul(std::uint32_t a, std::uint32_t b);
  std::uint32_t div(std::uint32_t a, std::uint32_t b);
  std::uint32_t neg(std::uint32_t a);
  std::uint32_t select(std::uint32_t condition, std::uint32_t a, std::uint32_t b);
  /// The node of any operation, by the functions above where there is one.
  std::uint32_t apply(Op op, std::uint32_t a, std::uint32_t b = kNone, std::uint32_t c = kNone);

 private:
  std::uint32_t make(Op op, std::uint32_t a, std::uint32_t b, std::uint32_t c, double value);
  void grow();
  std::uint32_t joinFactors(std::uint32_t a, std::uint32_t b);
  /// The argument of an odd or even function without its sign; `negated` tells whether it had one.
  std::uint32_t withoutSign(std::uint32_t a, bool& negated);
  std::uint32_t power(std::uint32_t base, std::uint32_t exponent);

  struct Slot {
    std::uint32_t generation = 0;
    std::uint32_t node = 0;
  };
  std::vector<Node> _nodes;
  std::vector<Slot> _slots;  // open addressing; slots of older generations are free
  std::uint32_t _generation = 1;
  bool _joinsFactors = false;
};

}  // namespace taveval
