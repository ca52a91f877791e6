#pragma once
/// The linear counterpart of a model: the same columns, further ones for its expressions, and linear rows alone.

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "solve/linearise/linearisation.h"
#include "solve/model/model.h"

namespace tavsolve {

/// Follows a model while it changes: what a modification does not concern stays as it was made. Throws
/// tavlinear::Refusal for a model that has no linear counterpart.
class LinearModel {
 public:
  /// Linearises the model, which must outlive this one.
  explicit LinearModel(const Model& model);

  /// A new linear model. Its first columns are those of the original that are not removed, in their order.
  std::unique_ptr<Model> make();

  /// Whether the object stands in an expression that was linearised.
  bool contains(const TavExtractableI* object) const { return _linear.contains(object); }
  ///@{
  /// The original has been modified: an object in expressions, the bounds of a row or column, the objective; a
  /// variable goes; columns and rows have come.
  void changed(const TavExtractableI* object) { _linear.changed(object); }
  void rowChanged(const RangeConstraintI* row) { boundsChanged(row, row->getLB(), row->getUB()); }
  void columnChanged(const TavNumVarI* column) { boundsChanged(column, column->getLB(), column->getUB()); }
  void objectiveChanged();
  void removed(const TavNumVarI* variable);
  void extend();
  ///@}

  /// How well the forms agree with the expressions.
  struct Disagreement {
    double amount = 0.0;
    std::string expression{};
  };
  /// The greatest distance between a form, by the values of the columns of the last model made, and what `values` says
  /// of the expression, on the side that counts; relative to values above 1.
  Disagreement disagreement(const std::vector<double>& columns, TavAlgorithm values) const;
  /// Where the constraint of an indicator variable holds within the tolerance 1, else 0.
  static double truthOf(const TavNumVarI* indicator, TavAlgorithm values, double tolerance);

 private:
  bool isLinear(const TavNumLinTermI* sum) const;
  void addRow(const RangeConstraintI* row);
  void boundsChanged(const TavExtractableI* object, double lb, double ub);
  void implyRanges();
  void addTruth(const TavNumVarI* indicator);

  const Model& _model;
  tavlinear::Linearisation _linear;
  /// Rows of the model that are linearised, and indicator variables.
  std::unordered_map<const TavExtractableI*, int> _rowOf;
  std::size_t _seenColumns = 0, _seenRows = 0;
  bool _hasIndicators = false;
  bool _isObjectiveLinear = true;
  /// Places of the linearisation's columns in the last model made.
  std::vector<int> _placeOf;
};

/// Whether the model has expressions that must be linearised.
bool needsLinearisation(const Model& model);
/// Why the model has no linear counterpart; empty if it has one.
std::string whyNotLinear(const Model& model);

}  // namespace tavsolve
