#pragma once
/// Which columns non-linear expressions are made of. Sums give up a column that is removed; other nodes cannot.

#include <string>
#include <unordered_map>

#include "solve/model/model.h"

namespace tavsolve {

/// For each column that is an operand of a node other than a sum: its identifier, and "row NAME" or "the objective",
/// the first one that has such a node.   Cost: linear in the size of the model's expressions, without recursion.
std::unordered_map<TavInt, std::string> nonLinearUses(const Model& model);

}  // namespace tavsolve
