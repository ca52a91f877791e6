#include "solve/program/edits.h"

#include <cmath>
#include <set>

#include "solve/model/errors.h"
#include "solve/model/model.h"
#include "solve/program/report.h"

namespace tavsolve {

namespace {

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

bool isObjective(const Model& model, const std::string& name) {
  return model.objective()->getName() && name == model.objective()->getName();
}

/// Looks names up as they stand after the edits checked so far.
class Checker {
 public:
  explicit Checker(const Model& model) : _model(model) {}

  void operator()(const SetBounds& edit) {
    const TavNumVar column = find("--set-bounds", edit.column);
    if (edit.lb > edit.ub) fail(edit, "the lower bound is above the upper bound");
    if (edit.lb == TavGetInfinity() || edit.ub == -TavGetInfinity()) fail(edit, "no value lies between these bounds");
    if (column.isInteger() && wholeLowerBound(edit.lb) > wholeUpperBound(edit.ub)) {
      fail(edit, "the column is integer and no whole number lies between these bounds");
    }
    if (_model.isSemiContinuous(column) && edit.lb < 0.0) {
      fail(edit, "the column is semi-continuous, its threshold cannot be negative");
    }
  }

  void operator()(const SetCoef& edit) {
    if (!_model.findRow(edit.row) && !isObjective(_model, edit.row)) {
      throw InputError("--set-coef: no row is named " + edit.row);
    }
    find("--set-coef", edit.column);
    if (!std::isfinite(edit.value)) fail(edit, "a coefficient must be finite");
  }

  void operator()(const Remove& edit) {
    find("--remove", edit.column);
    _removed.insert(edit.column);
  }

 private:
  TavNumVar find(const std::string& option, const std::string& name) const {
    const TavNumVar column = _model.findColumn(name);
    if (!column) throw InputError(option + ": no column is named " + name);
    if (_removed.contains(name)) throw InputError(option + ": column " + name + " is removed by an earlier option");
    return column;
  }

  [[noreturn]] static void fail(const Edit& edit, const char* why) { throw InputError(describe(edit) + ": " + why); }

  const Model& _model;
  std::set<std::string> _removed;
};

}  // namespace

std::string describe(const Edit& edit) {
  return std::visit(
      Overloaded{
          [](const SetBounds& e) { return "--set-bounds " + e.column + " " + text(e.lb) + " " + text(e.ub); },
          [](const SetCoef& e) { return "--set-coef " + e.row + " " + e.column + " " + text(e.value); },
          [](const Remove& e) { return "--remove " + e.column; },
      },
      edit);
}

void checkEdits(const Model& model, const std::vector<Edit>& edits) {
  Checker checker(model);
  for (const Edit& edit : edits) std::visit(checker, edit);
}

void applyEdit(Model& model, const Edit& edit) {
  std::visit(Overloaded{
                 [&](const SetBounds& e) { model.setBounds(model.findColumn(e.column), e.lb, e.ub); },
                 [&](const SetCoef& e) {
                   const TavNumVar column = model.findColumn(e.column);
                   if (RangeConstraintI* row = model.findRow(e.row)) {
                     row->setCoef(column, e.value);
                   } else {
                     model.objective()->setCoef(column, e.value);
                   }
                 },
                 [&](const Remove& e) { model.remove(model.findColumn(e.column)); },
             },
             edit);
}

}  // namespace tavsolve
