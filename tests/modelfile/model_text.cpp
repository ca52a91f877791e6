#include "model_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <random>

namespace {

std::string num(double value) {
  value += 0.0;  // no sign of zero
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

class Text {
 public:
  explicit Text(const TavFileModel& model) : _model(model) {}

  std::string whole() {
    _text = "vars";
    for (std::size_t i = 0; i < _model.variables.size(); ++i) _text += ' ' + variable(i);
    for (const TavFileObjective& objective : _model.objectives) {
      _text += std::string(" | ") + (objective.maximise ? "max " : "min ") + objective.name + ':';
      TavLargeArray<TavFileTerm> linear = objective.linear;  // in any order
      std::sort(linear.begin(), linear.end(), [](auto& a, auto& b) { return a.variable < b.variable; });
      for (const TavFileTerm& term : linear) addTerm(term.variable, term.value);
      if (objective.constant != 0.0) _text += " +" + num(objective.constant);
      addProducts(objective.products);
    }
    for (std::size_t i = 0; i < _model.rows.size(); ++i) addRow(i);
    for (const TavFileRowPart& part : _model.rowParts) {
      _text += " | " + row(part.row) + ':';
      addProducts(part.products);
    }
    for (std::size_t i = 0; i < _model.variables.size(); ++i) addVariable(i);
    for (const TavFileIndicator& indicator : _model.indicators) {
      _text += " | if " + variable(indicator.variable) + '=' + (indicator.value ? '1' : '0') + ' ' + row(indicator.row);
    }
    for (const TavFileSet& set : _model.sets) {
      _text += " | sos" + std::to_string(set.type) + ' ' + set.name + ':';
      for (const TavFileTerm& member : set.members) _text += ' ' + variable(member.variable) + ':' + num(member.value);
    }
    if (!_model.name.empty()) _text += " | name " + _model.name;
    return _text;
  }

 private:
  template <class Index>
  std::string variable(Index i) const {
    return std::string(_model.variableNames[static_cast<std::int32_t>(i)]);
  }
  template <class Index>
  std::string row(Index i) const {
    return std::string(_model.rowNames[static_cast<std::int32_t>(i)]);
  }
  void addTerm(std::int32_t which, double value) { _text += ' ' + num(value) + ' ' + variable(which); }
  void addProducts(const std::vector<TavFileProduct>& products) {
    for (const TavFileProduct& product : products) {
      addTerm(product.first, product.value);
      _text += '*' + variable(product.second);
    }
  }
  void addBounds(double lower, double upper) { _text += '[' + num(lower) + ',' + num(upper) + ']'; }
  void addRow(std::size_t i) {
    _text += " | " + row(i) + ':';
    for (std::size_t k = _model.linearBegin[i]; k != _model.linearBegin[i + 1]; ++k) {
      addTerm(_model.linearVariable[k], _model.linearValue[k]);
    }
    _text += ' ';
    addBounds(_model.rows[i].lower, _model.rows[i].upper);
  }
  void addVariable(std::size_t i) {
    static constexpr const char* kKinds[] = {"", "int ", "bin ", "semi ", "semi int "};
    const TavFileVariable& of = _model.variables[i];
    if (of.kind == TavFileKind::Continuous && of.lower == 0.0 && std::isinf(of.upper)) return;
    _text += std::string(" | ") + kKinds[static_cast<int>(of.kind)] + variable(i);
    addBounds(of.lower, of.upper);
  }

  const TavFileModel& _model;
  std::string _text;
};

class RandomModel {
 public:
  RandomModel(std::uint64_t seed, const RandomFileModelParts& parts) : _random(seed), _parts(parts) {}

  TavFileModel make() {
    _model.name = below(2) == 0 ? "" : "random model " + std::to_string(below(100));
    const int variables = 1 + below(8);
    for (int i = 0; i < variables; ++i) addVariable(i);
    if (below(8) != 0) addObjective();
    const int rows = below(8);
    for (int i = 0; i < rows; ++i) addRow(i);
    if (_model.objectives.empty()) _model.objectives.emplace_back();
    if (_model.objectives[0].name.empty()) _model.objectives[0].name = "goal";
    for (int i = 0; _parts.sets && i < below(3); ++i) {
      TavFileSet set{"set" + std::to_string(i), static_cast<std::uint8_t>(1 + below(2)), {}};
      for (int k = 0; k < variables; ++k) {
        if (below(2) == 0) set.members.push_back({k, number()});
      }
      _model.sets.push_back(set);
    }
    return std::move(_model);
  }

 private:
  int below(int end) { return static_cast<int>(_random() % static_cast<unsigned>(end)); }

  /// Whole, decimal and arbitrary numbers of all sizes, never 0.
  double number() {
    const double sign = below(2) == 0 ? 1.0 : -1.0;
    switch (below(5)) {
      case 0:
        return sign * (1 + below(9));
      case 1:
        return sign * (1 + below(100000)) / 1000.0;
      case 2:
        return sign * std::ldexp(1.0 + static_cast<double>(_random() >> 12) * 0x1p-52, below(1000) - 900);
      case 3:
        return sign * std::ldexp(1.0 + static_cast<double>(_random() >> 12) * 0x1p-52, below(60) - 30);
      default:
        return sign;
    }
  }

  void bounds(double& lower, double& upper) {
    const auto usable = [&] {
      double value = below(4) == 0 ? 0.0 : number();
      while (std::fabs(value) > 1e19) value = number();
      return value;
    };
    const double a = usable(), b = usable();
    lower = below(3) == 0 ? -HUGE_VAL : std::min(a, b);
    upper = below(3) == 0 ? HUGE_VAL : std::max(a, b);
    if (below(4) == 0) upper = lower = a;
  }

  std::string name(const char* stem, int i) {
    static constexpr const char* kTails[] = {"", "[1]", "(a)", ".y#", "_", "!\"#$%&?@", "'{}~|", "e5", "/b", "[2,(3)]"};
    return stem + std::to_string(i) + kTails[below(10)];
  }

  void addVariable(int i) {
    static constexpr const char* kStems[] = {"x", "e", "end", "free", "S1", "$", "inf"};
    TavFileVariable variable;
    variable.kind = static_cast<TavFileKind>(_parts.kinds && below(2) == 0 ? below(5) : 0);
    if (variable.kind == TavFileKind::Binary) {
      variable.upper = below(4) == 0 ? 0.0 : 1.0;
    } else if (variable.kind >= TavFileKind::SemiContinuous) {
      variable.lower = below(2);
      variable.upper = below(2) == 0 ? HUGE_VAL : 1.5 + below(10);
    } else if (below(2) == 0) {
      bounds(variable.lower, variable.upper);
    } else if (below(3) == 0) {
      variable.upper = 1.0;
    }
    _model.variables.push_back(variable);
    _model.variableNames.insert(name(kStems[below(7)], i));
  }

  template <class Add>
  void terms(Add add) {
    for (std::int32_t k = 0; k < static_cast<std::int32_t>(_model.variables.size()); ++k) {
      if (below(2) == 0) add(k, number());
    }
  }
  std::vector<TavFileProduct> products() {
    std::vector<TavFileProduct> result;
    if (!_parts.products || below(3) != 0) return result;
    terms([&](std::int32_t k, double value) {
      if (value / 2 * 2 == value) result.push_back({below(2) == 0 ? k : 0, k, value});
    });
    return result;
  }

  void addObjective() {
    TavFileObjective objective;
    objective.name = below(3) == 0 ? "" : "end";
    objective.maximise = below(2) == 0;
    objective.constant = below(2) == 0 ? number() : 0.0;
    terms([&](std::int32_t k, double value) { objective.linear.push_back({k, value}); });
    objective.products = products();
    _model.objectives.push_back(objective);
  }

  void addRow(int i) {
    TavFileRow row;
    bounds(row.lower, row.upper);
    // Ranges whose bounds MPS can say without rounding: small whole numbers.
    if (std::isfinite(row.lower) && std::isfinite(row.upper) && row.lower != row.upper) {
      row.lower = below(10) - 5;
      row.upper = row.lower + 1 + below(10);
      if (_parts.infeasibleRows && below(4) == 0) std::swap(row.lower, row.upper);
    }
    _model.rows.push_back(row);
    _model.rowNames.insert(name("c", i));
    terms([&](std::int32_t k, double value) {
      _model.linearVariable.push_back(k);
      _model.linearValue.push_back(value);
    });
    _model.linearBegin.push_back(_model.linearValue.size());
    TavFileRowPart part{i, products(), {}};
    if (!part.products.empty()) _model.rowParts.push_back(part);
    if (_parts.indicators && below(6) == 0) {
      _model.indicators.push_back({i, below(static_cast<int>(_model.variables.size())), below(2) == 0});
    }
  }

  std::mt19937_64 _random;
  RandomFileModelParts _parts;
  TavFileModel _model;
};

}  // namespace

std::string textOf(const TavFileModel& model) { return Text(model).whole(); }

TavFileModel randomFileModel(std::uint64_t seed, const RandomFileModelParts& parts) {
  return RandomModel(seed, parts).make();
}
