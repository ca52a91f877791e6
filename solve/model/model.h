#pragma once
/// The model in memory, built from a file through the library's public calls.

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "modelfile/build.h"
#include "solve/model/large_vector.h"
#include "solve/model/objective.h"
#include "solve/model/range_constraint.h"

namespace tavsolve {

/// Owns the environment and so everything in it.
class Model {
 public:
  /// An empty model, whose objective is 0.
  Model();
  /// Makes a variable per column (by kind and bounds), a sum per row and for the first objective. Linear in the size of
  /// the file, which is used up. Throws TavFileError for a column that has no counterpart.
  explicit Model(TavFileModel file);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  ~Model() { _env.end(); }

  TavEnv getEnv() const { return _env; }
  /// A removed column has left an empty handle.
  const LargeVector<TavNumVar>& columns() const { return _columns; }
  const LargeVector<RangeConstraintI*>& rows() const { return _rows; }
  ObjectiveI* objective() const { return _objective; }
  /// Special ordered sets; a removed column is no member any more.
  const std::vector<TavModelSet>& sets() const { return _sets; }
  const std::string& name() const { return _name; }
  /// Coefficients of the rows when the model was made.
  std::size_t nonZeros() const { return _nonZeros; }
  /// The conversion of all integer columns to continuous ones, or null.
  TavConversionI* relaxation() const { return _relaxation; }

  /// Start values of the file, as far as it has them: one for each column that it has made, NaN where there is none.
  const std::vector<double>& start() const { return _start; }

  /// Replaces the objective; before an engine extracts the model.
  void setObjective(TavExpr sum, bool maximise, const char* name = nullptr);
  ///@{
  /// Appends a column or a row. Engines that have extracted the model take them up by EngineI::extend(). A row takes
  /// over the reference that its sum holds.
  TavNumVar addColumn(TavNumVar column);
  RangeConstraintI* addRow(double lb, TavExpr sum, double ub, const char* name = nullptr);
  ///@}
  /// Appends a special ordered set; before an engine extracts the model.
  void addSet(TavModelSet set) { _sets.push_back(std::move(set)); }

  /// Adds a conversion of all integer columns to the model; the columns themselves stay integer.
  void relax();

  ///@{
  /// The column of this name, or an empty handle; the row, or null. Throws InputError when two share the name.
  /// Cost: constant, except at the first call after a column or row has come or gone.
  TavNumVar findColumn(const std::string& name) const;
  RangeConstraintI* findRow(const std::string& name) const;
  ///@}
  bool isSemiContinuous(TavNumVar column) const;

  /// Gives a column new bounds; on a semi-continuous one the lower bound is the threshold.
  void setBounds(TavNumVar column, double lb, double ub);
  /// Fixes a column; the value is possible for a column of its kind.
  void fix(TavNumVar column, double value) { column.setBounds(value, value); }
  /// Takes a column out of every sum and set and out of the algorithms, then ends it.
  void remove(TavNumVar column);
  /// Writes the model as it stands; the name's extension says the format. Throws TavFileError.
  void write(const std::string& path) const;

 private:
  void noteKind(TavNumVar column);
  /// Uses the file up row by row.
  void makeRows(TavModelBuilder& builder, TavFileModel& file);
  TavModelContents contents() const;

  TavEnv _env;
  std::string _name;
  std::size_t _nonZeros = 0;
  LargeVector<TavNumVar> _columns;
  LargeVector<RangeConstraintI*> _rows;
  ObjectiveI* _objective = nullptr;
  TavConversionI* _relaxation = nullptr;
  std::unordered_map<TavInt, TavSemiContVar> _semiContinuous;
  std::vector<TavModelSet> _sets;
  /// Start values and suffixes of the file, for writing.
  std::vector<double> _start;
  std::vector<TavFileSuffix> _suffixes;
  /// Places by name, kShared where two have it; empty until the first search.
  using Index = std::unordered_map<std::string_view, std::size_t>;
  mutable Index _columnIndex, _rowIndex;
};

/// A bound of an integer column brought to the nearest whole number within it, and to what a double counts exactly.
TavInt wholeLowerBound(double lb);
TavInt wholeUpperBound(double ub);

}  // namespace tavsolve
