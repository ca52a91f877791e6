#pragma once
/// Random models as .nl files have them, and points for their variables.

#include <random>
#include <vector>

#include "modelfile/build.h"

/// A random model over a few variables; `smooth` leaves out statements and roundings.
TavFileModel randomNlModel(unsigned seed, bool smooth);
/// Values for its variables, in the order of `model`.
std::vector<double> randomPoint(const TavFileModel& model, std::mt19937& random);
/// The point's values in the order of another model with variables of the same names.
std::vector<double> reordered(const TavFileModel& from, const std::vector<double>& x, const TavFileModel& to);
