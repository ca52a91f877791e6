#!/usr/bin/env python3
"""Writes random_rows.inc: rows with a different random expression each, and code for their values and derivatives.

usage: random_rows.py ROWS COLUMNS FILE

The file has a template that describes the rows, and for each row three functions as one would write them by hand: the
value, the derivatives by the row's columns, and the entries of the second derivatives times a multiplier. Common
subexpressions are computed once.
"""

import random
import sys


class Graph:
    """Expressions in which equal ones are the same node, with the simplifications that derivatives need."""

    def __init__(self):
        self.nodes = []  # (operation, operands): operands are nodes, for `x` a column, for `c` a number
        self.known = {}

    def make(self, operation, *operands):
        key = (operation, operands)
        if key not in self.known:
            self.known[key] = len(self.nodes)
            self.nodes.append(key)
        return self.known[key]

    def number(self, value):
        return self.make("c", float(value))

    def value(self, node):
        operation, operands = self.nodes[node]
        return operands[0] if operation == "c" else None

    def add(self, a, b):
        if self.value(a) is not None and self.value(b) is not None:
            return self.number(self.value(a) + self.value(b))
        if self.value(a) == 0:
            return b
        return a if self.value(b) == 0 else self.make("+", a, b)

    def sub(self, a, b):
        return a if self.value(b) == 0 else self.make("-", a, b)

    def mul(self, a, b):
        for one, other in ((a, b), (b, a)):
            if self.value(one) == 0:
                return one
            if self.value(one) == 1:
                return other
        if self.value(a) is not None and self.value(b) is not None:
            return self.number(self.value(a) * self.value(b))
        return self.make("*", min(a, b), max(a, b))

    def gradient(self, root):
        """The derivatives by all columns of an expression, by reverse accumulation."""
        adjoint = {root: self.number(1)}
        result = {}
        for node in range(root, -1, -1):
            weight = adjoint.get(node)
            if weight is None or self.value(weight) == 0:
                continue
            operation, operands = self.nodes[node]

            def push(operand, amount):
                adjoint[operand] = self.add(adjoint[operand], amount) if operand in adjoint else amount

            if operation == "x":
                result[operands[0]] = weight
            elif operation == "+":
                push(operands[0], weight)
                push(operands[1], weight)
            elif operation == "-":
                push(operands[0], weight)
                push(operands[1], self.mul(self.number(-1), weight))
            elif operation == "*":
                a, b = operands
                push(a, self.mul(weight, b))
                push(b, self.mul(weight, a))
            elif operation == "sin":
                push(operands[0], self.mul(weight, self.make("cos", operands[0])))
            elif operation == "cos":
                push(operands[0], self.mul(self.number(-1), self.mul(weight, self.make("sin", operands[0]))))
            elif operation == "exp":
                push(operands[0], self.mul(weight, node))
        return result


def random_node(graph, depth, columns):
    """A random expression whose value stays moderate."""
    if depth == 0 or random.random() < 0.1:
        return graph.make("x", random.choice(columns))
    kind = random.choice(["+", "-", "*", "*", "sin", "cos", "exp", "scale"])
    first = random_node(graph, depth - 1, columns)
    if kind == "scale":
        return graph.mul(graph.number(random.randint(-8, 8) / 4 + 0.125), first)
    if kind in "+-*":
        second = random_node(graph, depth - 1, columns)
        return {"+": graph.add, "-": graph.sub, "*": graph.mul}[kind](first, second)
    return graph.make("exp", graph.make("sin", first)) if kind == "exp" else graph.make(kind, first)


def text(graph, node):
    """An expression in the form of the description."""
    operation, operands = graph.nodes[node]
    if operation == "x":
        return f"out.x({operands[0]})"
    if operation == "c":
        return f"({operands[0]!r})"
    if operation in "+-*":
        return f"({text(graph, operands[0])} {operation} {text(graph, operands[1])})"
    return f"{operation}({text(graph, operands[0])})"


def code(graph, roots):
    """Lines that compute nodes in order, and the names of the roots."""
    needed = set()
    todo = list(roots)
    while todo:
        node = todo.pop()
        if node not in needed:
            needed.add(node)
            if graph.nodes[node][0] not in ("x", "c"):
                todo += graph.nodes[node][1]
    names, lines = {}, []
    for node in sorted(needed):
        operation, operands = graph.nodes[node]
        if operation == "x":
            names[node] = f"x[{operands[0]}]"
        elif operation == "c":
            names[node] = f"({operands[0]!r})"
        else:
            names[node] = f"t{node}"
            values = [names[operand] for operand in operands]
            line = f" {operation} ".join(values) if len(values) == 2 else f"std::{operation}({values[0]})"
            lines.append(f"  const double t{node} = {line};")
    return lines, [names[root] for root in roots]


def main():
    rows, columns, path = int(sys.argv[1]), int(sys.argv[2]), sys.argv[3]
    random.seed(1)
    describe, functions = [], []
    jacobian, hessian = [], []
    for row in range(rows):
        while True:
            graph = Graph()
            root = random_node(graph, 5, random.sample(range(columns), 4))
            gradient = sorted(graph.gradient(root).items())
            if len(gradient) >= 2 and len(graph.nodes) >= 12 and graph.nodes[root][0] in "+-*":
                break
        second = [(column, other, entry) for column, slope in gradient
                  for other, entry in sorted(graph.gradient(slope).items())
                  if other <= column and graph.value(entry) != 0]
        describe.append(f"  out.add({row}, {text(graph, root)});")
        for name, roots, scale in (("value", [root], ""), ("slopes", [slope for _, slope in gradient], ""),
                                   ("seconds", [entry for _, _, entry in second], "lambda * ")):
            lines, names = code(graph, roots)
            functions.append(f"void {name}{row}([[maybe_unused]] const double* x, [[maybe_unused]] double lambda, "
                             "[[maybe_unused]] double* out) {")
            functions += lines + [f"  out[{k}] = {scale}{root};" for k, root in enumerate(names)] + ["}"]
        jacobian += [(row, column) for column, _ in gradient]
        hessian += [(row, column, other) for column, other, _ in second]
    with open(path, "w", encoding="utf-8") as out:
        out.write("// Written by random_rows.py.\n#ifdef TAV_DESCRIBE\n" + "\n".join(describe) + "\n#else\n")
        out.write("\n".join(functions) + "\n")
        for name in ("value", "slopes", "seconds"):
            out.write(f"constexpr Function k_{name}[] = {{{', '.join(f'{name}{row}' for row in range(rows))}}};\n")
        out.write(f"constexpr int kSlopePlaces[][2] = {{{', '.join(f'{{{r}, {c}}}' for r, c in jacobian)}}};\n")
        out.write(f"constexpr int kSecondPlaces[][3] = {{{', '.join(f'{{{r}, {a}, {b}}}' for r, a, b in hessian)}}};\n#endif\n")


if __name__ == "__main__":
    main()
