#pragma once
/// Pictures of expressions.

#include <iosfwd>

#include "expression/tavexpression.h"

/// Writes the graph of an expression in Graphviz's language. An object with several parents is drawn once; edges
/// leave a node in the order of its operands and show the coefficients of linear sums; nodes show class names and
/// constants. Objects are numbered in the order of the visit, so equal expressions give equal texts.
void drawGraph(std::ostream& os, TavExtractable expression);
