#pragma once
/// Linear models whose rows are not kept: for those that are built once, solved, and never modified.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "expression/tavexpression.h"
#include "host/large_array.h"
#include "solve/model/large_vector.h"

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
  const LargeVector<TavNumVar>& columns() const { return _columns; }
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
  /// Calls term(column, coefficient) for each term of a sum, which it ends; returns the sum's constant.
  template <class Term>
  double take(TavExpr sum, const std::string& what, Term term);
  void dropUnfinishedRow();

  LargeVector<TavNumVar> _columns;
  /// The number of a variable's column by its identifier, kNowhere for none.
  LargeVector<int> _places;
  /// Terms of all rows; of each row where they end, and its bounds without the constant.
  TavLargeArray<int> _termColumns;
  TavLargeArray<double> _termValues;
  TavLargeArray<std::size_t> _ends;
  TavLargeArray<double> _lower, _upper;
  std::vector<std::pair<int, double>> _costs;
  double _costConstant = 0.0;
};

}  // namespace tavsolve
