#include "evaluator/graph.h"

#include <algorithm>
#include <bit>

namespace taveval {

namespace {

std::uint64_t hashOf(const Graph::Node& node) noexcept {
  std::uint64_t hash = static_cast<std::uint64_t>(node.op) + 1;
  for (const std::uint64_t part :
       {std::uint64_t{node.a} << 32 | node.b, std::uint64_t{node.c}, std::bit_cast<std::uint64_t>(node.value)}) {
    hash = (hash ^ part) * 0x9e3779b97f4a7c15ULL;
    hash ^= hash >> 29;
  }
  return hash;
}

bool same(const Graph::Node& x, const Graph::Node& y) noexcept {
  return x.op == y.op && x.a == y.a && x.b == y.b && x.c == y.c &&
         std::bit_cast<std::uint64_t>(x.value) == std::bit_cast<std::uint64_t>(y.value);
}

}  // namespace

void Graph::clear() noexcept {
  _nodes.clear();
  ++_generation;
  _joinsFactors = false;
}

void Graph::grow() {
  std::vector<Slot> slots(std::max<std::size_t>(256, 2 * _slots.size()));
  const std::size_t mask = slots.size() - 1;
  for (std::uint32_t k = 0; k < size(); ++k) {
    std::size_t at = hashOf(_nodes[k]) & mask;
    while (slots[at].generation == _generation) at = (at + 1) & mask;
    slots[at] = {_generation, k};
  }
  _slots.swap(slots);
}

std::uint32_t Graph::make(Op op, std::uint32_t a, std::uint32_t b, std::uint32_t c, double value) {
  if (2 * (_nodes.size() + 1) > _slots.size()) grow();
  const std::uint32_t of[] = {a, b, c};
  bool isFixed = op == Op::Constant || op == Op::Parameter || (operandCount(op) > 0 && !readsTable(op));
  bool isVarying = false;
  for (int i = 0; i < operandCount(op); ++i) {
    isFixed = isFixed && _nodes[of[i]].isFixed;
    isVarying = isVarying || _nodes[of[i]].isVarying;
  }
  const bool isProduct = op == Op::Mul && _joinsFactors;
  if (isProduct && isVarying && (_nodes[a].op == Op::Constant || _nodes[b].op == Op::Constant)) isFixed = false;
  const Node node{op, isFixed, isFixed && isVarying, a, b, c, value};
  const std::size_t mask = _slots.size() - 1;
  std::size_t at = hashOf(node) & mask;
  for (; _slots[at].generation == _generation; at = (at + 1) & mask) {
    if (same(_nodes[_slots[at].node], node)) return _slots[at].node;
  }
  _nodes.push_back(node);
  _slots[at] = {_generation, size() - 1};
  return size() - 1;
}

std::uint32_t Graph::parameter(std::uint32_t number, bool isVarying) {
  const std::uint32_t node = leaf(Op::Parameter, number);
  _nodes[node].isVarying = isVarying;
  return node;
}

std::uint32_t Graph::neg(std::uint32_t a) {
  const Node node = _nodes[a];
  if (node.op == Op::Neg) return node.a;
  if (node.op == Op::Constant) return constant(-node.value);
  if (node.op == Op::Sub) return make(Op::Sub, node.b, node.a, kNone, 0.0);
  return make(Op::Neg, a, kNone, kNone, 0.0);
}

std::uint32_t Graph::add(std::uint32_t a, std::uint32_t b) {
  if (is(a, 0)) return b;
  if (is(b, 0)) return a;
  if (a == b) return mul(constant(2), a);
  if (_nodes[a].op == Op::Constant && _nodes[b].op == Op::Constant) return constant(_nodes[a].value + _nodes[b].value);
  if (_nodes[b].op == Op::Neg) return sub(a, _nodes[b].a);
  if (_nodes[a].op == Op::Neg) return sub(b, _nodes[a].a);
  return make(Op::Add, std::min(a, b), std::max(a, b), kNone, 0.0);
}

std::uint32_t Graph::sub(std::uint32_t a, std::uint32_t b) {
  if (is(b, 0)) return a;
  if (is(a, 0)) return neg(b);
  if (_nodes[a].op == Op::Constant && _nodes[b].op == Op::Constant) return constant(_nodes[a].value - _nodes[b].value);
  if (_nodes[b].op == Op::Neg) return add(a, _nodes[b].a);
  if (_nodes[a].op == Op::Neg) return neg(add(_nodes[a].a, b));
  return make(Op::Sub, a, b, kNone, 0.0);
}

std::uint32_t Graph::mul(std::uint32_t a, std::uint32_t b) {
  if (is(a, 0) || is(b, 0)) return constant(0);
  if (is(a, 1)) return b;
  if (is(b, 1)) return a;
  if (_nodes[a].op == Op::Constant && _nodes[b].op == Op::Constant) return constant(_nodes[a].value * _nodes[b].value);
  if (_nodes[a].op == Op::Neg) return neg(mul(_nodes[a].a, b));
  if (_nodes[b].op == Op::Neg) return neg(mul(a, _nodes[b].a));
  if (_nodes[a].op == Op::Constant && _nodes[a].value < 0) return neg(mul(constant(-_nodes[a].value), b));
  if (_nodes[b].op == Op::Constant && _nodes[b].value < 0) return neg(mul(a, constant(-_nodes[b].value)));
  if (a == b) return make(Op::Square, a, kNone, kNone, 0.0);
  if (const std::uint32_t joined = joinFactors(a, b); joined != kNone) return joined;
  return make(Op::Mul, std::min(a, b), std::max(a, b), kNone, 0.0);
}

/// f (g x) as (f g) x, for fixed f and g and an x that is not. One of them is part of the structure: a product of data
/// could overflow.
std::uint32_t Graph::joinFactors(std::uint32_t a, std::uint32_t b) {
  if (_nodes[b].isFixed) std::swap(a, b);
  const Node product = _nodes[b];
  if (!_joinsFactors || !_nodes[a].isFixed || product.isFixed || product.op != Op::Mul) return kNone;
  const bool isFirst = _nodes[product.a].isFixed;
  const std::uint32_t factor = isFirst ? product.a : product.b, rest = isFirst ? product.b : product.a;
  if (!_nodes[factor].isFixed || (_nodes[a].op != Op::Constant && _nodes[factor].op != Op::Constant)) return kNone;
  return mul(mul(a, factor), rest);
}

std::uint32_t Graph::div(std::uint32_t a, std::uint32_t b) {
  if (is(a, 0)) return a;
  if (is(b, 1)) return a;
  if (_nodes[a].op == Op::Constant && _nodes[b].op == Op::Constant) return constant(_nodes[a].value / _nodes[b].value);
  if (_nodes[a].op == Op::Neg) return neg(div(_nodes[a].a, b));
  if (_nodes[b].op == Op::Neg) return neg(div(a, _nodes[b].a));
  return make(Op::Div, a, b, kNone, 0.0);
}

std::uint32_t Graph::select(std::uint32_t condition, std::uint32_t a, std::uint32_t b) {
  if (a == b) return a;
  // What another choice by the same condition has excluded never shows.
  if (_nodes[a].op == Op::Select && _nodes[a].a == condition) return select(condition, _nodes[a].b, b);
  if (_nodes[b].op == Op::Select && _nodes[b].a == condition) return select(condition, a, _nodes[b].c);
  return make(Op::Select, condition, a, b, 0.0);
}

std::uint32_t Graph::withoutSign(std::uint32_t a, bool& negated) {
  const Node node = _nodes[a];
  negated = node.op == Op::Neg || (node.op == Op::Sub && node.a > node.b);
  if (!negated) return a;
  return node.op == Op::Neg ? node.a : make(Op::Sub, node.b, node.a, kNone, 0.0);
}

std::uint32_t Graph::power(std::uint32_t base, std::uint32_t exponent) {
  if (is(exponent, 1)) return base;
  if (is(exponent, 2)) return mul(base, base);
  return make(Op::Power, base, exponent, kNone, 0.0);
}

std::uint32_t Graph::apply(Op op, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  bool negated = false;
  switch (op) {
    case Op::Add:
      return add(a, b);
    case Op::Sub:
      return sub(a, b);
    case Op::Mul:
      return mul(a, b);
    case Op::Div:
      return div(a, b);
    case Op::Neg:
      return neg(a);
    case Op::Square:
      return mul(a, a);
    case Op::Power:
      return power(a, b);
    case Op::Select:
      return select(a, b, c);
    case Op::Sin: {
      const std::uint32_t sine = make(op, withoutSign(a, negated), kNone, kNone, 0.0);
      return negated ? neg(sine) : sine;
    }
    case Op::Cos:
      return make(op, withoutSign(a, negated), kNone, kNone, 0.0);
    default:
      return make(op, a, b, c, 0.0);
  }
}

}  // namespace taveval
