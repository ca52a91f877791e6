#pragma once
/// The model in memory, built from a file through the library's public calls.

#include <string>
#include <unordered_map>
#include <vector>

#include "model_file.h"
#include "objective.h"
#include "range_constraint.h"

namespace tavsolve {

/// Owns the environment and so everything in it.
class Model {
 public:
  /// Makes a variable per column (by kind and bounds), a linear sum per row and for the objective. Linear in the size
  /// of the file. Throws InputError for a column that has no counterpart.
  explicit Model(const ModelFile& file);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  ~Model() { _env.end(); }

  TavEnv getEnv() const { return _env; }
  /// A removed column has left an empty handle.
  const std::vector<TavNumVar>& columns() const { return _columns; }
  const std::vector<RangeConstraintI*>& rows() const { return _rows; }
  ObjectiveI* objective() const { return _objective; }
  /// The conversion of all integer columns to continuous ones, or null.
  TavConversionI* relaxation() const { return _relaxation; }

  /// Adds a conversion of all integer columns to the model; the columns themselves stay integer.
  void relax();

  /// The column of this name, or an empty handle. Throws InputError when two columns share the name.
  TavNumVar findColumn(const std::string& name) const;
  /// The row of this name, or null. Throws InputError when two rows share the name.
  RangeConstraintI* findRow(const std::string& name) const;
  bool isSemiContinuous(TavNumVar column) const;

  /// Gives a column new bounds; on a semi-continuous one the lower bound is the threshold.
  void setBounds(TavNumVar column, double lb, double ub);
  /// Takes a column out of every sum and out of the algorithms, then ends it.
  void remove(TavNumVar column);

 private:
  TavNumVar makeColumn(const ModelFile::Column& column);
  TavExpr makeCost(const ModelFile& file) const;

  TavEnv _env;
  std::vector<TavNumVar> _columns;
  std::vector<RangeConstraintI*> _rows;
  ObjectiveI* _objective = nullptr;
  TavConversionI* _relaxation = nullptr;
  std::unordered_map<TavInt, TavSemiContVar> _semiContinuous;
};

/// A bound of an integer column brought to the nearest whole number within it, and to what a double counts exactly.
TavInt wholeLowerBound(double lb);
TavInt wholeUpperBound(double ub);

}  // namespace tavsolve
