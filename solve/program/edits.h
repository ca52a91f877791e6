#pragma once
/// Modifications of a model that stays loaded in a solver.

#include <string>
#include <variant>
#include <vector>

namespace tavsolve {

class Model;

struct SetBounds {
  std::string column;
  double lb, ub;
};

struct SetCoef {
  /// A row's name, or the objective's.
  std::string row;
  std::string column;
  double value;
};

struct Remove {
  std::string column;
};

using Edit = std::variant<SetBounds, SetCoef, Remove>;

/// The edit as the user wrote it.
std::string describe(const Edit& edit);

/// Makes sure that all edits can be applied one after the other, without applying any. Throws InputError.
void checkEdits(const Model& model, const std::vector<Edit>& edits);

/// Applies one checked edit through the library's public calls; every algorithm that has extracted the model hears of
/// it through change records before the call returns.
void applyEdit(Model& model, const Edit& edit);

}  // namespace tavsolve
