#pragma once
/// Random expression programs, run on the library and on the model of tests/support/random_model.h side by side.

#include <string>

/// Runs the program of a seed. Empty when library and model agree on every value (bit for bit, or both not a number),
/// text, visit, kind, count and balance; else what differs first.
std::string runRandomProgram(unsigned seed);
