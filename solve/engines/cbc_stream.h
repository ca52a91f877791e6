#pragma once
/// Linear models whose rows are not kept: for those that are built once, solved, and never modified.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "expression/tavexpression.h"
#include "host/large_array.h"
#include "solve/engines/places.h"

class OsiClpSolverInterface;

namespace tavsolve {

/// Takes the rows of a linear or mixed-integer model one after the other and loads them into CLP. Of a row its numbers
/// are kept, 12 bytes a term; its expression is ended at once, so that the next row reuses its memory. The price: rows
/// are no model objects. They have no names, cannot be printed or evaluated, and follow no modification; what CLP has
/// can only be changed by CLP's own calls. A Model with an engine over it does all that.
class RowStream {
 public:
  /// The next column, counted from 0: a continuous or integer variable. Throws InputError for another kind.
  int addColumn(TavNumVar column);
  const TavLargeArray<TavNumVar>& columns() const { return _columns; }
  /// lb <= sum <= ub as the next row; infinite bounds are none. Takes over the reference that the sum holds, also when
  /// it throws: InputError, naming the row by its number from 1, for a sum that is not linear or has a variable that is
  /// no column; the stream is then as it was. Cost: linear in the terms.
  void addRow(double lb, TavExpr sum, double ub);
  /// Replaces the objective, which is 0 at first, as addRow() takes a row.
  void setObjective(TavExpr sum, bool maximise);
  /// The model in the solver's memory, with rows and columns by their numbers; the solver minimises, so that it has the
  /// objective times -1 for one that is maximised. The stream is empty afterwards. Bounds of variables are taken here.
  std::unique_ptr<OsiClpSolverInterface> load();

 private:
  /// A row's terms end here; its bounds are without its constant.
  struct Row {
    std::size_t end;
    double lower, upper;
  };

  /// Calls term(column, coefficient) for each term of a sum, which it ends; returns the sum's constant.
  template <class Term, class Name>
  double take(TavExpr sum, Name name, Term term);

  TavLargeArray<TavNumVar> _columns;
  Places _places;
  /// The class of the last column.
  TavTypeInfo _lastType = nullptr;
  /// Terms of all rows.
  TavLargeArray<int> _termColumns;
  TavLargeArray<double> _termValues;
  TavLargeArray<Row> _rows;
  std::vector<std::pair<int, double>> _costs;
  double _costConstant = 0.0;
};

}  // namespace tavsolve
