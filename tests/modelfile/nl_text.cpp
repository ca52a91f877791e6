#include "nl_text.h"

#include <algorithm>
#include <ios>
#include <map>
#include <span>
#include <sstream>

namespace {

using Of = TavFileSuffix::Of;
using Order = std::vector<std::size_t>;

/// The marks by item, and the items by mark.
struct Marks {
  Marks(const TavFileModel& model, Of of, std::size_t size) : markOf(size), itemAt(size) {
    for (const TavFileSuffix& suffix : model.suffixes) {
      if (suffix.of != of || suffix.name != "_from") continue;
      for (const TavFileTerm& term : suffix.values) {
        const auto item = static_cast<std::size_t>(term.variable);
        markOf[item] = static_cast<std::size_t>(term.value) - 1;
      }
    }
    for (std::size_t i = 0; i < size; ++i) itemAt.at(markOf[i]) = i;
  }
  std::size_t of(std::int32_t item) const { return markOf[static_cast<std::size_t>(item)]; }

  Order markOf, itemAt;
};

class NlText {
 public:
  explicit NlText(const TavFileModel& model)
      : _model(model),
        _variables(model, Of::Variables, model.variables.size()),
        _rows(model, Of::Rows, model.rows.size()) {}

  std::string whole() {
    _text << std::hexfloat;
    for (const std::size_t j : _variables.itemAt) {
      const TavFileVariable& variable = _model.variables[j];
      _text << " | " << static_cast<int>(variable.kind) << '[' << variable.lower << ',' << variable.upper << ']';
      if (!_model.start.empty()) _text << " starts at " << _model.start[j];
    }
    std::map<std::int32_t, TavFileExpr> parts;
    for (const TavFileRowPart& part : _model.rowParts) parts[part.row] = part.expr;
    for (const std::size_t i : _rows.itemAt) addRow(i, parts[static_cast<std::int32_t>(i)]);
    for (const TavFileExpr& expr : _model.logical) addExpression(expr);
    for (const TavFileObjective& objective : _model.objectives) {
      _text << " | " << (objective.maximise ? "max " : "min ") << objective.constant + 0.0;
      addTerms(objective.linear);
      addExpression(objective.expr);
    }
    for (std::size_t i = 0; i < _commons.size(); ++i) {  // grows as they use others
      const TavFileCommon& common = _model.commons[_commons[i]];
      addTerms(common.linear);
      addExpression(common.expr);
    }
    addSuffixesAndSets();
    for (const double option : _model.answerOptions.empty() ? std::vector{1.0, 1.0, 0.0} : _model.answerOptions) {
      _text << ' ' << option;
    }
    return _text.str();
  }

 private:
  void addRow(std::size_t i, TavFileExpr expr) {
    _text << " | [" << _model.rows[i].lower << ',' << _model.rows[i].upper << ']';
    if (!_model.dualStart.empty()) _text << " starts at " << _model.dualStart[i];
    std::vector<TavFileTerm> terms;
    for (std::size_t k = _model.linearBegin[i]; k < _model.linearBegin[i + 1]; ++k) {
      terms.push_back({_model.linearVariable[k], _model.linearValue[k]});
    }
    addTerms(terms);
    addExpression(expr);
  }

  void addTerms(std::span<const TavFileTerm> terms) {
    std::map<std::size_t, double> values;
    for (const TavFileTerm& term : terms) values[_variables.of(term.variable)] = term.value;
    for (const auto& [mark, value] : values) {
      if (value != 0.0) _text << ' ' << value << " v" << mark;
    }
  }

  void addExpression(TavFileExpr expr) {
    _text << ':';
    if (expr.empty()) _text << " 0";
    for (std::size_t i = expr.begin; i < expr.end; ++i) {
      const TavFileToken& token = _model.tokens[i];
      if (token.op == TavFileOp::Variable) {
        _text << " v" << _variables.of(token.arg);
      } else if (token.op == TavFileOp::Common) {
        const auto common = static_cast<std::size_t>(token.arg);
        const auto [at, isNew] = _numberOf.emplace(common, _commons.size());
        if (isNew) _commons.push_back(common);
        _text << " common" << at->second;
      } else if (token.op == TavFileOp::Sum && token.arg == 2) {
        _text << " o" << static_cast<int>(TavFileOp::Add) << "/0";
      } else if (token.op == TavFileOp::Number) {
        _text << ' ' << token.value;
      } else if (token.op != TavFileOp::Sum || token.arg != 1) {
        _text << " o" << static_cast<int>(token.op) << '/' << token.arg;
      }
    }
  }

  void addSuffixesAndSets() {
    for (const TavFileSuffix& suffix : _model.suffixes) {
      _text << " | " << static_cast<int>(suffix.of) << suffix.real << suffix.name;
      std::multimap<std::size_t, double> values;
      for (const TavFileTerm& term : suffix.values) {
        const bool known = suffix.of == Of::Variables || suffix.of == Of::Rows;
        const Marks& marks = suffix.of == Of::Rows ? _rows : _variables;
        values.emplace(known ? marks.of(term.variable) : static_cast<std::size_t>(term.variable), term.value);
      }
      for (const auto& [mark, value] : values) _text << ' ' << mark << ' ' << value;
    }
    for (const TavFileSet& set : _model.sets) {
      _text << " | sos" << int{set.type};
      addTerms(set.members);
    }
  }

  const TavFileModel& _model;
  Marks _variables, _rows;
  std::ostringstream _text;
  /// Common expressions in the order of their first use, and their places there.
  Order _commons;
  std::map<std::size_t, std::size_t> _numberOf;
};

}  // namespace

void markItems(TavFileModel& model) {
  std::erase_if(model.suffixes, [](const TavFileSuffix& suffix) { return suffix.name == "_from"; });
  for (const auto& [of, size] : {std::pair{Of::Variables, model.variables.size()}, {Of::Rows, model.rows.size()}}) {
    TavFileSuffix suffix{"_from", of, false, {}};
    for (std::size_t i = 0; i < size; ++i) {
      suffix.values.push_back({static_cast<std::int32_t>(i), static_cast<double>(i + 1)});
    }
    model.suffixes.push_back(std::move(suffix));
  }
}

std::string nlTextOf(const TavFileModel& model) { return NlText(model).whole(); }
