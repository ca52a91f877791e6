#pragma once
/// A model of an .nl file as text that does not depend on the order of its items.

#include <string>

#include "modelfile/tavmodelfile.h"

/// Adds the suffix `_from` to variables and rows: their present numbers, which stay with them in other orders.
void markItems(TavFileModel& model);

/// Everything that the marked model says, its items in the order of the marks; zero coefficients are left out, and
/// common expressions stand in the order in which the others use them.
std::string nlTextOf(const TavFileModel& model);
