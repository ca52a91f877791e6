#include <cmath>
#include <optional>
#include <utility>

#include "modelfile/build.h"
#include "modelfile/file_error.h"
#include "modelfile/flattener.h"

namespace {

std::string labelOf(const char* kind, const char* name, std::size_t position) {
  return kind + (name ? std::string(" ") + name : " number " + std::to_string(position + 1));
}

TavFileVariable variableOf(const TavNumVarI* variable, const std::string& model, std::size_t position) {
  const auto refuse = [&](const char* what) {
    throw TavFileError(model, {}, labelOf("variable", variable->getName(), position) + ": " + what);
  };
  if (variable->isEnumerated()) refuse("a list of values");
  TavFileVariable out{variable->getLB(), variable->getUB(), TavFileKind::Continuous};
  if (std::isnan(out.lower) || std::isnan(out.upper) || out.lower == TavGetInfinity() ||
      out.upper == -TavGetInfinity()) {
    refuse("bounds that no value lies between");
  }
  const TavNumVar::Type type = variable->getType();
  if (variable->getTypeInfo() == TavSemiContVarI::GetTypeInfo()) {
    out.lower = static_cast<const TavSemiContVarI*>(variable)->getThreshold();
    out.kind = type == TavNumVar::Float ? TavFileKind::SemiContinuous : TavFileKind::SemiInteger;
  } else if (variable->getTypeInfo() != TavNumVarI::GetTypeInfo()) {
    refuse("a variable that stands for the truth of a constraint");
  } else if (type != TavNumVar::Float) {
    const bool binary = out.lower >= 0.0 && out.upper <= 1.0;
    out.kind = binary ? TavFileKind::Binary : TavFileKind::Integer;
  }
  return out;
}

/// A row under a condition: what TavModelBuilder::row makes of an indicator row.
struct Condition {
  const TavNumVarI* variable;
  bool value;
  const TavNumExprI* body;
};

/// A variable that must be 1, or one that must be 0, which stands as 1 less the variable.
std::optional<std::pair<const TavNumVarI*, bool>> switchOf(const TavNumExprI* condition) {
  bool value = true;
  if (condition->getTypeInfo() == TavNumLinTermI::GetTypeInfo()) {
    const auto* sum = static_cast<const TavNumLinTermI*>(condition);
    const TavNumLinExprTermI* term = sum->getFirstTerm();
    if (sum->getConstant() != 1.0 || sum->getFirstPart() || !term || term->next || term->coef != -1.0) return {};
    condition = term->var;
    value = false;
  }
  if (!condition->isType(TavNumVarI::GetTypeInfo())) return {};
  return std::pair(static_cast<const TavNumVarI*>(condition), value);
}

std::optional<Condition> conditionOf(const TavModelRow& row) {
  const TavNumExprI* node = row.expression.getImpl();
  if (node->getTypeInfo() != TavNumLinTermI::GetTypeInfo()) return {};
  const auto* sum = static_cast<const TavNumLinTermI*>(node);
  const TavPart* part = sum->getFirstPart();
  if (sum->getFirstTerm() || sum->getConstant() != 0.0 || !part || part->next) return {};
  if (part->expr->getTypeInfo() != TavConditionalNumExprI::GetTypeInfo()) return {};
  const auto* choice = static_cast<const TavConditionalNumExprI*>(part->expr);
  const double otherwise = choice->getElseConstant();
  if (!choice->getThen() || choice->getElse() || otherwise < row.lower || otherwise > row.upper) return {};
  const auto on = switchOf(choice->getCondition());
  if (!on) return {};
  return Condition{on->first, on->second, choice->getThen()};
}

/// Fills a file model from a model in memory.
class Converter {
 public:
  Converter(const TavModelContents& model, TavProductsIn products)
      : _model(model), _products(products), _flattener(model.variables, products, _out) {
    _out.name = model.name;
  }

  TavFileModel convert() {
    variables();
    noteAll();
    _flattener.defineCommons();
    for (std::size_t i = 0; i < _model.rows.size(); ++i) row(i);
    for (std::size_t i = 0; i < _model.objectives.size(); ++i) objective(i);
    for (const TavModelSet& from : _model.sets) set(from);
    _out.start = _model.start;
    _out.suffixes = _model.suffixes;
    return std::move(_out);
  }

 private:
  void variables() {
    for (const TavNumVar variable : _model.variables) {
      const std::size_t position = _out.variables.size();
      _out.variables.push_back(variableOf(variable.getImpl(), _model.name, position));
      _out.variableNames.append(variable.getName() ? variable.getName() : "");
    }
    refuseTwice(_out.variableNames, "variables");
  }

  void refuseTwice(TavNameTable& names, const char* what) {
    const std::int32_t twice = names.rehash();
    if (twice == TavNameTable::kNone) return;
    throw TavFileError(_model.name, {}, std::string("two ") + what + " are named " + std::string(names[twice]));
  }

  std::string rowLabel(std::size_t i) const { return labelOf("row", _model.rows[i].name, i); }
  std::string objectiveLabel(std::size_t i) const { return labelOf("objective", _model.objectives[i].name, i); }

  void noteAll() {
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      const std::optional<Condition> condition = conditionOf(_model.rows[i]);
      _flattener.note(condition ? condition->body : _model.rows[i].expression.getImpl(), rowLabel(i));
    }
    for (std::size_t i = 0; i < _model.objectives.size(); ++i) {
      if (_model.objectives[i].expression) {
        _flattener.note(_model.objectives[i].expression.getImpl(), objectiveLabel(i));
      }
    }
  }

  /// The rest that remains beside terms and products; the constant goes with it, and is 0 from then on.
  TavFileExpr rest(TavFlatSum& sum, const std::string& label) {
    if (sum.rest.empty()) return {};
    if (_products == TavProductsIn::Products) {
      throw TavFileError(_model.name, {},
                         label + ": " + sum.rest.front().node->getRttiTypeName() +
                             " is neither linear nor quadratic, expected a format that has it: .nl");
    }
    return _flattener.write(std::exchange(sum.constant, 0.0), sum.rest, label);
  }

  void row(std::size_t i) {
    const TavModelRow& row = _model.rows[i];
    const std::string label = rowLabel(i);
    const std::optional<Condition> condition = conditionOf(row);
    TavFlatSum sum = _flattener.flatten(condition ? condition->body : row.expression.getImpl(), label);
    const TavFileExpr expr = rest(sum, label);
    _out.rows.push_back({row.lower - sum.constant, row.upper - sum.constant});
    if (std::isnan(row.lower) || std::isnan(row.upper) || row.lower == TavGetInfinity() ||
        row.upper == -TavGetInfinity()) {
      throw TavFileError(_model.name, {}, label + ": bounds that no value lies between");
    }
    _out.rowNames.append(row.name ? row.name : "");
    for (const TavFileTerm& term : sum.terms) {
      _out.linearVariable.push_back(term.variable);
      _out.linearValue.push_back(term.value);
    }
    _out.linearBegin.push_back(_out.linearVariable.size());
    const auto number = static_cast<std::int32_t>(i);
    if (!sum.products.empty() || !expr.empty()) _out.rowParts.push_back({number, std::move(sum.products), expr});
    if (condition)
      _out.indicators.push_back({number, _flattener.numberOf(condition->variable, label), condition->value});
    if (i + 1 == _model.rows.size()) refuseTwice(_out.rowNames, "rows");
  }

  void objective(std::size_t i) {
    const TavModelObjective& from = _model.objectives[i];
    TavFileObjective& objective = _out.objectives.emplace_back();
    objective.name = from.name ? from.name : "";
    objective.maximise = from.maximise;
    if (!from.expression) return;
    TavFlatSum sum = _flattener.flatten(from.expression.getImpl(), objectiveLabel(i));
    objective.expr = rest(sum, objectiveLabel(i));
    objective.constant = sum.constant;
    objective.linear.assign(sum.terms.begin(), sum.terms.end());
    objective.products = std::move(sum.products);
  }

  void set(const TavModelSet& from) {
    TavFileSet& set = _out.sets.emplace_back(TavFileSet{from.name, static_cast<std::uint8_t>(from.type), {}});
    for (std::size_t k = 0; k < from.members.size(); ++k) {
      set.members.push_back({_flattener.numberOf(from.members[k].getImpl(), "set " + from.name), from.weights[k]});
    }
  }

  const TavModelContents& _model;
  TavProductsIn _products;
  TavFileModel _out;
  TavFlattener _flattener;
};

}  // namespace

TavFileModel TavFileModelOf(const TavModelContents& model, TavProductsIn products) {
  return Converter(model, products).convert();
}
