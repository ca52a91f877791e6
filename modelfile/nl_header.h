#pragma once
/// Internal header of tavmodelfile: the ten lines that .nl files begin with.

#include <vector>

#include "modelfile/nl_tokens.h"

/// What the header says. Numbers of items are not negative and below 2^31.
struct TavNlHeader {
  bool binary = false;
  /// Of a binary file: 0 unknown, 1 little endian, 2 big endian.
  std::int64_t arithmetic = 0;
  /// The options of the first line, and the number that follows them where the second is 3.
  std::vector<double> options;
  std::int32_t variables = 0;
  std::int32_t rows = 0;
  std::int32_t objectives = 0;
  std::int32_t logical = 0;
  /// Variables that are nonlinear in constraints (first those in both), the last one that is nonlinear in objectives,
  /// those nonlinear in both.
  std::int32_t nonlinearInRows = 0;
  std::int32_t nonlinearInObjectives = 0;
  std::int32_t nonlinearInBoth = 0;
  /// Integer variables: linear binary, other linear, and nonlinear in both, in constraints only, in objectives only.
  std::int32_t binaries = 0;
  std::int32_t integers = 0;
  std::int32_t integersInBoth = 0;
  std::int32_t integersInRows = 0;
  std::int32_t integersInObjectives = 0;
  /// Coefficients of the constraints, and of the objectives.
  std::int64_t nonzeros = 0;
  std::int64_t gradientNonzeros = 0;
  std::int64_t commons = 0;
};

/// Reads the header and checks that its numbers fit together.
TavNlHeader TavReadNlHeader(TavNlText& text);
