#pragma once
/// What the tests of .nl files share: random models with expressions, and their values by an evaluator of its own.

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "expression/nodes.h"
#include "modelfile/build.h"
#include "modelfile/operations.h"

/// The value of an expression of a file, computed from its tokens by the standard functions.
double valueOf(const TavFileModel& model, TavFileExpr expr, const std::vector<double>& x);
/// The values of all rows, logical constraints and objectives.
std::vector<double> valuesOf(const TavFileModel& model, const std::vector<double>& x);

/// The same of a model in memory, by the library's evaluation.
std::vector<double> valuesOf(const TavModelContents& model, const std::vector<double>& x);

/// A random model over a few variables; `smooth` leaves out statements and roundings.
TavFileModel randomNlModel(unsigned seed, bool smooth);
/// Values for its variables, in the order of `model`.
std::vector<double> randomPoint(const TavFileModel& model, std::mt19937& random);
/// The point's values in the order of another model with variables of the same names.
std::vector<double> reordered(const TavFileModel& from, const std::vector<double>& x, const TavFileModel& to);

/// The binary variant of a text .nl file in either byte order.
std::string binaryOf(const std::string& text, bool bigEndian);
