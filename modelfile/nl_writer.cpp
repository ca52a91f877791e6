#include <algorithm>
#include <cmath>
#include <map>

#include "modelfile/formats.h"
#include "modelfile/nl_order.h"
#include "modelfile/operations.h"
#include "modelfile/writer_check.h"

namespace {

/// Writes one model.
class NlWriter {
 public:
  NlWriter(const TavFileModel& model, TavTextSink& out)
      : _model(model), _out(out), _layout(model), _seen(model.variables.size(), kNever) {}

  void write() {
    findRowVariables();
    header();
    suffixes();
    commons();
    for (std::size_t i = 0; i < _model.rows.size(); ++i) row(i);
    for (std::size_t i = 0; i < _model.logical.size(); ++i) {
      _out << 'L' << number(i) << '\n';
      expression(_model.logical[i]);
    }
    for (std::size_t i = 0; i < _model.objectives.size(); ++i) objective(i);
    startValues('d', _model.dualStart, _layout.rows);
    startValues('x', _model.start, _layout.variables);
    bounds();
    columnCounts();
    linearParts();
  }

 private:
  static constexpr std::uint32_t kNever = ~std::uint32_t{0};

  static std::string number(std::size_t n) { return std::to_string(n); }
  std::size_t place(std::int32_t variable) const {
    return static_cast<std::size_t>(_layout.variables.placeOf[static_cast<std::size_t>(variable)]);
  }

  /// The variables of each row and objective, by their places in the file and in ascending order, with their linear
  /// coefficients: 0 for one that occurs in the nonlinear part alone.
  using Terms = std::vector<TavFileTerm>;

  void addVariable(Terms& terms, std::int32_t variable, double value) {
    auto& seen = _seen[static_cast<std::size_t>(variable)];
    if (seen != _stamp) {
      seen = _stamp;
      terms.push_back({static_cast<std::int32_t>(place(variable)), value});
    }
  }
  void addExpression(Terms& terms, TavFileExpr expr) {
    for (std::size_t i = expr.begin; i < expr.end; ++i) {
      const TavFileToken& token = _model.tokens[i];
      if (token.op == TavFileOp::Variable) addVariable(terms, token.arg, 0.0);
      if (token.op == TavFileOp::Common) addCommon(token.arg);
    }
  }
  /// Notes a common expression that the row uses.
  void addCommon(std::int32_t common) {
    auto& seen = _commonSeen[static_cast<std::size_t>(common)];
    if (seen == _stamp) return;
    seen = _stamp;
    _used.push_back(common);
  }
  void addProducts(Terms& terms, const std::vector<TavFileProduct>& products) {
    for (const TavFileProduct& product : products) {
      addVariable(terms, product.first, 0.0);
      addVariable(terms, product.second, 0.0);
    }
  }
  void followCommons(Terms& terms) {
    while (!_used.empty()) {
      const TavFileCommon& common = _model.commons[static_cast<std::size_t>(_used.back())];
      _used.pop_back();
      for (const TavFileTerm& term : common.linear) addVariable(terms, term.variable, 0.0);
      addExpression(terms, common.expr);
    }
  }
  static void sort(Terms& terms) {
    std::sort(terms.begin(), terms.end(), [](const auto& a, const auto& b) { return a.variable < b.variable; });
  }

  void findRowVariables() {
    _commonSeen.assign(_model.commons.size(), kNever);
    _columnCounts.assign(_model.variables.size(), 0);
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      rowTerms(i, _terms);
      for (const TavFileTerm& term : _terms) ++_columnCounts[static_cast<std::size_t>(term.variable)];
      _nonzeros += _terms.size();
    }
    for (const TavFileObjective& objective : _model.objectives) {
      objectiveTerms(objective, _terms);
      _gradientNonzeros += _terms.size();
    }
  }

  void rowTerms(std::size_t row, Terms& terms) {
    terms.clear();
    ++_stamp;
    const TavFileIndicator* indicator = _layout.indicatorOf[row];
    for (std::size_t k = _model.linearBegin[row]; k < _model.linearBegin[row + 1]; ++k) {
      addVariable(terms, _model.linearVariable[k], indicator ? 0.0 : _model.linearValue[k]);
    }
    if (indicator) addVariable(terms, indicator->variable, 0.0);
    if (const TavFileRowPart* part = _layout.partOf[row]) {
      addProducts(terms, part->products);
      addExpression(terms, part->expr);
      followCommons(terms);
    }
    sort(terms);
  }

  void objectiveTerms(const TavFileObjective& objective, Terms& terms) {
    terms.clear();
    ++_stamp;
    for (const TavFileTerm& term : objective.linear) addVariable(terms, term.variable, term.value);
    addProducts(terms, objective.products);
    addExpression(terms, objective.expr);
    followCommons(terms);
    sort(terms);
  }

  static std::size_t longest(const TavNameTable& names) {
    std::size_t length = 0;
    for (std::int32_t i = 0; i < names.size(); ++i) length = std::max(length, names[i].size());
    return length;
  }

  template <class... Numbers>
  void line(const char* comment, Numbers... numbers) {
    ((_out << ' ' << std::to_string(numbers)), ...);
    _out << "\t# " << comment << '\n';
  }

  void header() {
    const TavNlLayout& l = _layout;
    std::vector<double> options = _model.answerOptions;
    if (options.empty()) options = {1.0, 1.0, 0.0};
    const std::size_t extra = options.size() > 2 && options[1] == 3.0 ? 1 : 0;
    _out << 'g' << number(options.size() - extra);
    for (std::size_t i = 0; i < options.size(); ++i) {
      _out << ' ';
      if (i < options.size() - extra) {
        _out << std::to_string(static_cast<std::int64_t>(options[i]));
      } else {
        _out << options[i];
      }
    }
    _out << "\t# " << (_model.name.empty() ? "model" : oneWord(_model.name)) << '\n';
    int ranges = 0, equations = 0;
    for (const TavFileRow& row : _model.rows) {
      equations += row.lower == row.upper;
      ranges += row.lower != row.upper && std::isfinite(row.lower) && std::isfinite(row.upper);
    }
    line("variables, constraints, objectives, ranges, equations, logical constraints", _model.variables.size(),
         _model.rows.size(), _model.objectives.size(), ranges, equations, _model.logical.size());
    line("nonlinear constraints, objectives", l.nonlinearRows, l.nonlinearObjectives);
    line("network constraints: nonlinear, linear", 0, 0);
    const std::int32_t inRows = l.inBoth + l.inRows;
    line("nonlinear variables in constraints, objectives, both", inRows,
         l.inObjectives > 0 ? inRows + l.inObjectives : l.inBoth, l.inBoth);
    line("linear network variables; functions; arithmetic, flags", 0, 0, 0, 1);
    line("discrete variables: binary, integer, nonlinear in both, constraints, objectives", l.binaries, l.integers,
         l.integersInBoth, l.integersInRows, l.integersInObjectives);
    line("nonzeros in Jacobian, gradients", _nonzeros, _gradientNonzeros);
    line("longest names: constraints, variables", longest(_model.rowNames), longest(_model.variableNames));
    line("common expressions: both, constraints, objectives, one constraint, one objective", l.commonsInBoth,
         l.commonsInRows, l.commonsInObjectives, 0, 0);
  }

  static std::string oneWord(const std::string& name) {
    std::string word = name;
    std::replace_if(
        word.begin(), word.end(), [](unsigned char c) { return c < ' '; }, ' ');
    return word;
  }

  void suffixes() {
    for (const TavFileSuffix& suffix : _model.suffixes) writeSuffix(suffix);
    if (_model.sets.empty()) return;
    TavFileSuffix numbers{"sosno", TavFileSuffix::Of::Variables, false, {}};
    TavFileSuffix weights{"ref", TavFileSuffix::Of::Variables, true, {}};
    double set = 0.0;
    for (const TavFileSet& from : _model.sets) {
      set += 1.0;
      for (const TavFileTerm& member : from.members) {
        numbers.values.push_back({member.variable, from.type == 1 ? set : -set});
        weights.values.push_back(member);
      }
    }
    writeSuffix(numbers);
    writeSuffix(weights);
  }

  void writeSuffix(const TavFileSuffix& suffix) {
    const auto kind = static_cast<std::size_t>(suffix.of) | (suffix.real ? 4u : 0u);
    _out << 'S' << number(kind) << ' ' << number(suffix.values.size()) << ' ' << suffix.name << '\n';
    for (const TavFileTerm& value : suffix.values) {
      std::int32_t at = value.variable;
      if (suffix.of == TavFileSuffix::Of::Variables) at = _layout.variables.placeOf[static_cast<std::size_t>(at)];
      if (suffix.of == TavFileSuffix::Of::Rows) at = _layout.rows.placeOf[static_cast<std::size_t>(at)];
      _out << std::to_string(at) << ' ';
      if (suffix.real) {
        _out << value.value << '\n';
      } else {
        _out << std::to_string(static_cast<std::int64_t>(value.value)) << '\n';
      }
    }
  }

  void commons() {
    for (std::size_t place = 0; place < _model.commons.size(); ++place) {
      const TavFileCommon& common = _model.commons[static_cast<std::size_t>(_layout.commons.itemAt[place])];
      _out << 'V' << number(_model.variables.size() + place) << ' ' << number(common.linear.size()) << " 0\n";
      Terms terms;
      for (const TavFileTerm& term : common.linear) {
        terms.push_back({static_cast<std::int32_t>(this->place(term.variable)), term.value});
      }
      sort(terms);
      writeTerms(terms);
      expression(common.expr);
    }
  }

  void row(std::size_t placeOfRow) {
    const auto i = static_cast<std::size_t>(_layout.rows.itemAt[placeOfRow]);
    _out << 'C' << number(placeOfRow) << '\n';
    const TavFileRowPart* part = _layout.partOf[i];
    const TavFileIndicator* indicator = _layout.indicatorOf[i];
    if (indicator) {
      _out << "o35\no24\nv" << number(place(indicator->variable)) << (indicator->value ? "\nn1\n" : "\nn0\n");
      body(0.0, _model.linearBegin[i], _model.linearBegin[i + 1], part);
      const TavFileRow& bounds = _model.rows[i];
      _out << 'n' << TavWithin(bounds) << '\n';
    } else {
      body(0.0, 0, 0, part);
    }
  }

  void objective(std::size_t i) {
    const TavFileObjective& objective = _model.objectives[i];
    _out << 'O' << number(i) << (objective.maximise ? " 1\n" : " 0\n");
    const TavFileRowPart part{0, objective.products, objective.expr};
    body(objective.constant, 0, 0, &part);
  }

  /// constant + linear terms from `begin` to `end` + products + expression
  void body(double constant, std::size_t begin, std::size_t end, const TavFileRowPart* part) {
    std::size_t count = end - begin + (constant != 0.0 ? 1 : 0);
    if (part) count += part->products.size() + (part->expr.empty() ? 0 : 1);
    if (count == 0) _out << "n0\n";
    if (count > 1) sumOf(count);
    for (std::size_t k = begin; k < end; ++k) {
      factor(_model.linearValue[k]);
      variable(_model.linearVariable[k]);
    }
    if (part) {
      for (const TavFileProduct& product : part->products) writeProduct(product);
      if (!part->expr.empty()) expression(part->expr);
    }
    if (constant != 0.0) _out << 'n' << constant << '\n';
  }

  /// Modelling systems write a list only for three summands and more.
  void sumOf(std::size_t count) {
    if (count == 2) {
      _out << "o0\n";
    } else {
      _out << "o54\n" << number(count) << '\n';
    }
  }
  void factor(double value) {
    if (value != 1.0) _out << "o2\nn" << value << '\n';
  }
  void variable(std::int32_t variable) { _out << 'v' << number(place(variable)) << '\n'; }

  void writeProduct(const TavFileProduct& product) {
    factor(product.value);
    if (product.first == product.second) {
      _out << "o5\n";
      variable(product.first);
      _out << "n2\n";
    } else {
      _out << "o2\n";
      variable(product.first);
      variable(product.second);
    }
  }

  void expression(TavFileExpr expr) {
    if (expr.empty()) _out << "n0\n";
    for (std::size_t i = expr.begin; i < expr.end; ++i) token(_model.tokens[i]);
  }

  void token(const TavFileToken& token) {
    switch (token.op) {
      case TavFileOp::Number:
        _out << 'n' << token.value << '\n';
        return;
      case TavFileOp::Variable:
        return variable(token.arg);
      case TavFileOp::Common: {
        const auto at = static_cast<std::size_t>(_layout.commons.placeOf[static_cast<std::size_t>(token.arg)]);
        _out << 'v' << number(_model.variables.size() + at) << '\n';
        return;
      }
      case TavFileOp::Sum:
        if (token.arg > 1) sumOf(static_cast<std::size_t>(token.arg));
        return;
      default:
        break;
    }
    _out << 'o' << number(static_cast<std::size_t>(token.op)) << '\n';
    const TavFileShape shape = TavOperationOf(token.op).shape;
    if (shape == TavFileShape::List || shape == TavFileShape::Piecewise) _out << std::to_string(token.arg) << '\n';
  }

  void startValues(char letter, const std::vector<double>& values, const TavNlOrder& order) {
    const auto given = std::count_if(values.begin(), values.end(), [](double value) { return !std::isnan(value); });
    if (given == 0) return;
    _out << letter << std::to_string(given) << '\n';
    for (std::size_t at = 0; at < values.size(); ++at) {
      const double value = values[static_cast<std::size_t>(order.itemAt[at])];
      if (!std::isnan(value)) _out << number(at) << ' ' << value << '\n';
    }
  }

  void bounds() {
    if (!_model.rows.empty()) _out << "r\n";
    for (const std::int32_t i : _layout.rows.itemAt) {
      const TavFileRow& row = _model.rows[static_cast<std::size_t>(i)];
      writeBounds(row.lower, row.upper);
    }
    _out << "b\n";
    for (const std::int32_t j : _layout.variables.itemAt) {
      const TavFileVariable& variable = _model.variables[static_cast<std::size_t>(j)];
      writeBounds(variable.lower, variable.upper);
    }
  }

  void writeBounds(double lower, double upper) {
    const bool below = std::isfinite(lower), above = std::isfinite(upper);
    if (below && above && lower == upper && std::signbit(lower) == std::signbit(upper)) {
      _out << "4 " << lower << '\n';
    } else if (below && above) {
      _out << "0 " << lower << ' ' << upper << '\n';
    } else if (below) {
      _out << "2 " << lower << '\n';
    } else if (above) {
      _out << "1 " << upper << '\n';
    } else {
      _out << "3\n";
    }
  }

  void columnCounts() {
    if (_model.variables.empty()) return;
    _out << 'k' << number(_model.variables.size() - 1) << '\n';
    std::size_t sum = 0;
    for (std::size_t j = 0; j + 1 < _columnCounts.size(); ++j) _out << number(sum += _columnCounts[j]) << '\n';
  }

  void linearParts() {
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      rowTerms(static_cast<std::size_t>(_layout.rows.itemAt[i]), _terms);
      writePart('J', i);
    }
    for (std::size_t i = 0; i < _model.objectives.size(); ++i) {
      objectiveTerms(_model.objectives[i], _terms);
      writePart('G', i);
    }
  }
  void writePart(char letter, std::size_t i) {
    if (_terms.empty()) return;
    _out << letter << number(i) << ' ' << number(_terms.size()) << '\n';
    writeTerms(_terms);
  }
  void writeTerms(const Terms& terms) {
    for (const TavFileTerm& term : terms) _out << std::to_string(term.variable) << ' ' << term.value << '\n';
  }

  const TavFileModel& _model;
  TavTextSink& _out;
  TavNlLayout _layout;
  /// By variable and common expression: the row that it was seen in last.
  std::vector<std::uint32_t> _seen, _commonSeen;
  std::uint32_t _stamp = 0;
  /// Common expressions that are still to be followed.
  std::vector<std::int32_t> _used;
  Terms _terms;
  std::vector<std::size_t> _columnCounts;
  std::size_t _nonzeros = 0;
  std::size_t _gradientNonzeros = 0;
};

}  // namespace

void TavWriteNl(const TavFileModel& model, const std::string& file, TavTextSink& out) {
  TavCheckForNl(model, file);
  NlWriter(model, out).write();
}
