#pragma once
/// What linearisation makes: sums over columns, rows, columns, special ordered sets. Plain data, for any solver.

#include <string>
#include <utility>
#include <vector>

#include "expression/nodes.h"
#include "solve/linearise/interval.h"

namespace tavlinear {

/// coefficient * column
struct Term {
  int column;
  double coef;
};

/// constant + sum of terms.
struct LinearForm {
  double constant = 0.0;
  std::vector<Term> terms;

  LinearForm() = default;
  explicit LinearForm(double value) : constant(value) {}
  static LinearForm column(int number) {
    LinearForm form;
    form.terms.push_back({number, 1.0});
    return form;
  }

  /// this += factor * other. A column may then occur twice; see merge().
  LinearForm& add(double factor, const LinearForm& other) {
    constant += factor * other.constant;
    for (const Term& term : other.terms) terms.push_back({term.column, factor * term.coef});
    return *this;
  }
  LinearForm& addTerm(int column, double coef) {
    terms.push_back({column, coef});
    return *this;
  }
  /// Joins the terms of each column, in the order of the columns, and drops those with coefficient 0.
  void merge();
  bool isConstant() const noexcept { return terms.empty(); }
};

inline LinearForm operator*(double factor, const LinearForm& form) { return LinearForm().add(factor, form); }
inline LinearForm operator-(const LinearForm& a, const LinearForm& b) { return LinearForm(a).add(-1.0, b); }

/// A column: one of the model's variables, or one that linearisation has added.
struct Column {
  /// Null for an added column.
  const TavNumVarI* variable = nullptr;
  /// Of an added column; those of a variable are its own.
  double lb = -kInfinity, ub = kInfinity;
  bool whole = false;
};

/// lb <= sum of terms <= ub; no column occurs twice.
struct Row {
  double lb = -kInfinity, ub = kInfinity;
  std::vector<Term> terms;
};

/// At most two columns are not 0, and those are neighbours: a special ordered set of type 2. Columns are ordered.
struct Set {
  std::vector<int> columns;
};

}  // namespace tavlinear
