#pragma once
/// Edits meet a model: they are checked, applied while the model stays loaded in a solver, and taken back.

#include <vector>

#include "solve/edits/edit.h"
#include "solve/engines/engines.h"

namespace tavsolve {

/// Makes sure that all edits can be applied one after the other, without applying any. Throws InputError.
void checkEdits(const Model& model, const std::vector<EditStage>& stages);

/// Whether the engine takes what these edits add.
bool takesAdditions(const EngineKind& kind, const EditStage& stage);

/// Applies one checked edit through the library's public calls; every algorithm that has extracted the model is
/// notified by change records before the call returns. `engine`, which may be null, also extracts new rows and columns.
void applyEdit(Model& model, EngineI* engine, const Edit& edit);

/// Applies checked edits and returns the edits that take them back, in the order in which they are to be applied. A
/// column that `remove` names is fixed at 0 instead, which is the same model. Throws InputError, before any is applied,
/// when one adds rows or columns.
std::vector<Edit> applyForAWhile(Model& model, EngineI* engine, const std::vector<Edit>& edits);

}  // namespace tavsolve
