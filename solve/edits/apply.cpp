#include "solve/edits/apply.h"

#include <algorithm>
#include <span>

#include "modelfile/build.h"
#include "solve/edits/overloaded.h"
#include "solve/model/errors.h"

namespace tavsolve {

namespace {

void setCoef(Model& model, const std::string& row, TavNumVar column, double value) {
  if (RangeConstraintI* constraint = model.findRow(row)) {
    constraint->setCoef(column, value);
  } else {
    model.objective()->setCoef(column, value);
  }
}

double coefficientOf(TavNumVar column, TavExpr sum) {
  double coefficient = 0.0;
  for (const auto* term = sum.getImpl()->getFirstTerm(); term; term = term->next) {
    if (term->var == column.getImpl()) coefficient += term->coef;
  }
  return coefficient;
}

/// Adds the linear objective of a file. The terms of new columns come all at once: engines that have not extracted the
/// columns find them in the sum. They are notified of the others.
void addObjective(Model& model, const TavModelBuilder& builder, std::span<const TavNumVar> known,
                  std::span<const TavFileTerm> terms) {
  TavNumVarArray fresh(model.getEnv());
  TavNumArray values(model.getEnv());
  const auto columnOf = [&](const TavFileTerm& term) {
    return builder.variables()[static_cast<std::size_t>(term.variable)];
  };
  for (const TavFileTerm& term : terms) {
    if (known[static_cast<std::size_t>(term.variable)]) continue;
    fresh.add(columnOf(term));
    values.add(term.value);
  }
  model.objective()->getSum().getImpl()->setCoef(fresh, values, TavNumArray());
  fresh.end();
  values.end();
  for (const TavFileTerm& term : terms) {
    if (!known[static_cast<std::size_t>(term.variable)]) continue;
    const TavNumVar column = columnOf(term);
    model.objective()->setCoef(column, coefficientOf(column, model.objective()->getSum()) + term.value);
  }
}

void addFile(Model& model, EngineI* engine, const TavFileModel& file) {
  std::vector<TavNumVar> known;
  for (std::size_t j = 0; j < file.variables.size(); ++j) {
    known.push_back(model.findColumn(std::string(file.variableNames[static_cast<std::int32_t>(j)])));
  }
  TavModelBuilder builder(model.getEnv(), file, known);
  for (std::size_t j = 0; j < known.size(); ++j) {
    if (!known[j]) model.addColumn(builder.variables()[j]);
  }
  if (!file.objectives.empty()) addObjective(model, builder, known, file.objectives[0].linear);
  for (std::int32_t i = 0; i < builder.rowCount(); ++i) {
    const std::string name(file.rowNames[i]);
    model.addRow(builder.rowLower(i), builder.row(i), builder.rowUpper(i), name.empty() ? nullptr : name.c_str());
  }
  if (engine) engine->extend();
}

/// The edit that takes this one back.
Edit inverseOf(const Model& model, const Edit& edit) {
  const auto boundsOf = [&](const std::string& name) -> Edit {
    const TavNumVar column = model.findColumn(name);
    const double lb = model.isSemiContinuous(column)
                          ? static_cast<const TavSemiContVarI*>(column.getImpl())->getThreshold()
                          : column.getLB();
    return edit::Bounds{name, lb, column.getUB()};
  };
  return std::visit(Overloaded{
                        [&](const edit::Bounds& e) { return boundsOf(e.column); },
                        [&](const edit::Fix& e) { return boundsOf(e.column); },
                        [&](const edit::Coef& e) -> Edit {
                          const RangeConstraintI* row = model.findRow(e.row);
                          const TavExpr sum = row ? row->getSum() : model.objective()->getSum();
                          return edit::Coef{e.row, e.column, coefficientOf(model.findColumn(e.column), sum)};
                        },
                        [&](const edit::RowBounds& e) -> Edit {
                          const RangeConstraintI* row = model.findRow(e.row);
                          return edit::RowBounds{e.row, row->getLB(), row->getUB()};
                        },
                        [&](const edit::Sense&) -> Edit { return edit::Sense{model.objective()->isMaximised()}; },
                        [&](const edit::Remove& e) { return boundsOf(e.column); },
                        [&](const edit::Add&) -> Edit { throw InputError(describe(edit) + ": cannot be taken back"); },
                    },
                    edit);
}

}  // namespace

bool takesAdditions(const EngineKind& kind, const EditStage& stage) {
  for (const Edit& edit : stage) {
    const auto* addition = std::get_if<edit::Add>(&edit);
    if (!addition) continue;
    const TavFileModel& file = *addition->file;
    if (!file.rowParts.empty() || !file.indicators.empty() || !file.logical.empty()) return false;
    ModelClass added;
    for (const TavFileVariable& column : file.variables) {
      const bool semi = column.kind == TavFileKind::SemiContinuous || column.kind == TavFileKind::SemiInteger;
      added.choices = added.choices || semi;
      added.integers = added.integers || (!semi && column.kind != TavFileKind::Continuous);
    }
    if (!kind.takes(added)) return false;
  }
  return true;
}

void applyEdit(Model& model, EngineI* engine, const Edit& edit) {
  std::visit(Overloaded{
                 [&](const edit::Bounds& e) { model.setBounds(model.findColumn(e.column), e.lb, e.ub); },
                 [&](const edit::Fix& e) { model.fix(model.findColumn(e.column), e.value); },
                 [&](const edit::Coef& e) { setCoef(model, e.row, model.findColumn(e.column), e.value); },
                 [&](const edit::RowBounds& e) { model.findRow(e.row)->setBounds(e.lb, e.ub); },
                 [&](const edit::Sense& e) { model.objective()->setMaximised(e.maximise); },
                 [&](const edit::Remove& e) { model.remove(model.findColumn(e.column)); },
                 [&](const edit::Add& e) { addFile(model, engine, *e.file); },
             },
             edit);
}

std::vector<Edit> applyForAWhile(Model& model, EngineI* engine, const std::vector<Edit>& edits) {
  for (const Edit& edit : edits) {
    if (std::holds_alternative<edit::Add>(edit)) inverseOf(model, edit);
  }
  std::vector<Edit> inverses;
  for (const Edit& edit : edits) {
    inverses.push_back(inverseOf(model, edit));
    const auto* removal = std::get_if<edit::Remove>(&edit);
    applyEdit(model, engine, removal ? Edit(edit::Fix{removal->column, 0.0}) : edit);
  }
  std::reverse(inverses.begin(), inverses.end());
  return inverses;
}

}  // namespace tavsolve
