#include "evaluator/derivative_rules.h"

namespace taveval {

namespace {

/// Builds formulas in a graph.
class Formula {
 public:
  Formula(Graph& graph, std::uint32_t node) : _graph(graph), _node(node) {}
  std::uint32_t node() const noexcept { return _node; }
  Formula number(double value) const { return {_graph, _graph.constant(value)}; }
  Formula of(Op op) const { return {_graph, _graph.apply(op, _node)}; }
  Formula with(Op op, Formula b) const { return {_graph, _graph.apply(op, _node, b._node)}; }
  friend Formula operator+(Formula x, Formula y) { return x.with(Op::Add, y); }
  friend Formula operator-(Formula x, Formula y) { return x.with(Op::Sub, y); }
  friend Formula operator*(Formula x, Formula y) { return x.with(Op::Mul, y); }
  friend Formula operator/(Formula x, Formula y) { return x.with(Op::Div, y); }
  friend Formula operator-(Formula x) { return x.of(Op::Neg); }
  friend Formula operator*(double x, Formula y) { return y.number(x) * y; }
  friend Formula operator/(double x, Formula y) { return y.number(x) / y; }
  friend Formula operator+(double x, Formula y) { return y.number(x) + y; }
  friend Formula operator-(double x, Formula y) { return y.number(x) - y; }

 private:
  Graph& _graph;
  std::uint32_t _node;
};

Partial factor(std::uint32_t node) { return {Partial::Kind::Factor, node}; }
Partial factor(Formula formula) { return factor(formula.node()); }

/// f(x) with a second derivative of 0.
Rule unary(Formula x, Formula first) {
  Rule rule;
  rule.count = 1;
  rule.operand[0] = x.node();
  rule.first[0] = factor(first);
  return rule;
}

Rule unary(Formula x, Formula first, Formula second) {
  Rule rule = unary(x, first);
  rule.second[0] = second.node();
  return rule;
}

Rule binary(std::uint32_t a, std::uint32_t b, Partial byA, Partial byB) {
  Rule rule;
  rule.count = 2;
  rule.operand[0] = a;
  rule.operand[1] = b;
  rule.first[0] = byA;
  rule.first[1] = byB;
  return rule;
}

Rule elementaryRule(Graph& graph, const Graph::Node& node, Formula f) {
  const Formula x(graph, node.a);
  switch (node.op) {
    case Op::Square:
      return unary(x, 2 * x, x.number(2));
    case Op::Sin:
      return unary(x, x.of(Op::Cos), -f);
    case Op::Cos:
      return unary(x, -x.of(Op::Sin), -f);
    case Op::Tan: {
      const Formula first = 1 + f * f;
      return unary(x, first, 2 * (f * first));
    }
    case Op::ArcSin:
    case Op::ArcCos: {
      const Formula rest = (1 - x) * (1 + x);  // 1 - x^2, exact near 1
      const Formula first = 1 / rest.of(Op::Sqrt);
      const Formula second = x * (first / rest);
      return node.op == Op::ArcSin ? unary(x, first, second) : unary(x, -first, -second);
    }
    case Op::ArcTan: {
      const Formula first = 1 / (1 + x * x);
      return unary(x, first, -(2 * (x * (first * first))));
    }
    case Op::Log: {
      const Formula first = 1 / x;
      return unary(x, first, -(first * first));
    }
    case Op::Exp:
      return unary(x, f, f);
    case Op::Sqrt: {
      const Formula reciprocal = x.of(Op::SafeRecipSqrt);
      return unary(x, 0.5 * reciprocal, -(0.25 * (reciprocal * (reciprocal * reciprocal))));
    }
    case Op::Abs:
      return unary(x, x.of(Op::Sign));
    case Op::Neg:
      return unary(x, x.number(-1));
    default:
      return Rule();
  }
}

Rule powerRule(Graph& graph, const Graph::Node& node) {
  const Formula x(graph, node.a), y(graph, node.b);
  Rule rule = binary(node.a, node.b, factor(x.with(Op::PowerByBase, y)), factor(x.with(Op::PowerByExp, y)));
  rule.second[0] = x.with(Op::PowerByBase2, y).node();
  rule.second[1] = x.with(Op::PowerByBaseExp, y).node();
  rule.second[2] = x.with(Op::PowerByExp2, y).node();
  return rule;
}

Rule quotientRule(Graph& graph, const Graph::Node& node, Formula quotient) {
  const Formula y(graph, node.b);
  const Formula reciprocal = 1 / y;
  Rule rule = binary(node.a, node.b, factor(reciprocal), factor(-(quotient * reciprocal)));
  rule.second[1] = (-(reciprocal * reciprocal)).node();
  rule.second[2] = (2 * (quotient * (reciprocal * reciprocal))).node();
  return rule;
}

}  // namespace

Rule ruleOf(Graph& graph, std::uint32_t k) {
  const Graph::Node node = graph[k];
  const auto one = [&graph] { return factor(graph.constant(1)); };
  switch (node.op) {
    case Op::Add:
      return binary(node.a, node.b, one(), one());
    case Op::Sub:
      return binary(node.a, node.b, one(), factor(graph.constant(-1)));
    case Op::Mul: {
      Rule rule = binary(node.a, node.b, factor(node.b), factor(node.a));
      rule.second[1] = graph.constant(1);
      return rule;
    }
    case Op::Div:
      return quotientRule(graph, node, Formula(graph, k));
    case Op::Power:
      return powerRule(graph, node);
    case Op::Min:
    case Op::Max: {
      const std::uint32_t first =
          node.op == Op::Min ? graph.apply(Op::Less, node.a, node.b) : graph.apply(Op::Less, node.b, node.a);
      return binary(node.a, node.b, {Partial::Kind::IfTrue, first}, {Partial::Kind::IfFalse, first});
    }
    case Op::Select:
      return binary(node.b, node.c, {Partial::Kind::IfTrue, node.a}, {Partial::Kind::IfFalse, node.a});
    case Op::Piecewise:
      return unary(Formula(graph, node.a), Formula(graph, graph.apply(Op::PiecewiseSlope, node.a, node.b)));
    default:
      return elementaryRule(graph, node, Formula(graph, k));
  }
}

}  // namespace taveval
