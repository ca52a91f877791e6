#pragma once
/// Values of models read from .nl files: from the tokens of the file by an evaluator of the tests, and by the library.

#include <vector>

#include "modelfile/build.h"

/// The value of an expression of a file, computed from its tokens by the standard functions.
double valueOf(const TavFileModel& model, TavFileExpr expr, const std::vector<double>& x);
/// The values of all rows, logical constraints and objectives, computed from the tokens.
std::vector<double> valuesOf(const TavFileModel& model, const std::vector<double>& x);
/// The values of all rows and objectives of a model in memory, computed by the library.
std::vector<double> valuesOf(const TavModelContents& model, const std::vector<double>& x);
