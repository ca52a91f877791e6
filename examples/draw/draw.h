#pragma once
/// Pictures of expressions.

#include <iosfwd>

#include "expression/tavexpression.h"

/// Writes the graph of an expression in Graphviz's language. An object that several others hold is drawn once; edges
/// leave a node in the order of its operands and bear the coefficients of linear sums; nodes bear class names and
/// constants. Objects are numbered in the order in which they are met, so equal expressions give equal texts.
void drawGraph(std::ostream& os, TavExtractable expression);
