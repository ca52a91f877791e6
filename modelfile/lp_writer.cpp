#include <cmath>

#include "modelfile/formats.h"
#include "modelfile/lp_names.h"
#include "modelfile/writer_check.h"

namespace {

/// Lines are broken before a term beyond this length.
constexpr std::size_t kLine = 100;

class LpWriter {
 public:
  LpWriter(const TavFileModel& model, const std::string& file, TavTextSink& out)
      : _model(model),
        _file(file),
        _out(out),
        _variables(model.variableNames, model.variables.size(), "x", "variables", file) {}

  void write() {
    check();
    if (!_model.name.empty()) _out << "\\Problem name: " << _model.name << '\n';
    writeObjective();
    writeRows();
    writeBounds();
    writeList("General", TavFileKind::Integer, TavFileKind::SemiInteger);
    writeList("Binary", TavFileKind::Binary, TavFileKind::Binary);
    writeList("Semi-Continuous", TavFileKind::SemiContinuous, TavFileKind::SemiInteger);
    writeSets();
    _out << "End\n";
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { throw TavFileError(_file, {}, what); }

  void checkName(const char* kind, std::string_view name, bool ofVariable) const {
    if (const char* problem = TavLpNameProblem(name, ofVariable))
      fail(TavNamed(kind, name) + " has a name that LP cannot say: it " + problem);
  }

  void check() {
    const TavWriterNames rows(_model.rowNames, _model.rows.size(), "c", "rows", _file);
    TavCheckForText(_model, _variables, rows, _file);
    for (std::size_t i = 0; i < _model.variables.size(); ++i) checkName("variable", _variables[index(i)], true);
    for (std::int32_t i = 0; i < index(_model.rows.size()); ++i) {
      if (!_model.rowNames[i].empty()) checkName("row", _model.rowNames[i], false);
    }
    for (const TavFileSet& set : _model.sets) {
      if (!set.name.empty()) checkName("set", set.name, false);
    }
    if (!_model.objectives.empty()) _objective = _model.objectives.front();
    if (!_objective.name.empty()) checkName("objective", _objective.name, false);
    const std::string& name = _model.name;
    bool bad = !name.empty() && (name.front() == ' ' || name.back() == ' ');
    for (const char c : name) bad |= static_cast<unsigned char>(c) < ' ';
    if (bad) fail(TavNamed("model", name) + " has a name that LP cannot say");
  }

  static std::int32_t index(std::size_t i) noexcept { return static_cast<std::int32_t>(i); }

  // Text of one statement, broken into lines.
  void begin(std::string_view label) {
    _column = 0;
    put(" ");
    if (!label.empty()) {
      put(label);
      put(":");
    }
    _first = true;
  }
  void put(std::string_view text) {
    _out << text;
    _column += text.size();
  }
  void put(double number) {
    char text[kTavLongestNumber];
    put(std::string_view(text, static_cast<std::size_t>(TavWriteNumber(text, number) - text)));
  }
  /// The sign between terms, and a line end where the line is long.
  void putSign(double value) {
    if (_column > kLine) {
      put("\n ");
      _column = 1;
    }
    if (std::signbit(value)) {
      put(" -");
    } else if (!_first) {
      put(" +");
    }
    _first = false;
  }
  void putTerm(std::int32_t variable, double value) {
    putSign(value);
    const double size = std::fabs(value);
    if (size != 1.0) {
      put(" ");
      put(size);
    }
    put(" ");
    put(_variables[variable]);
  }
  void putProducts(const std::vector<TavFileProduct>& products, double scale) {
    if (products.empty()) return;
    put(_first ? " [" : " + [");
    _first = true;
    for (const TavFileProduct& product : products) {
      putTerm(product.first, product.value * scale);
      if (product.first == product.second) {
        put(" ^ 2");
      } else {
        put(" * ");
        put(_variables[product.second]);
      }
    }
    put(" ]");
    _first = false;
  }

  /// The reader numbers variables in the order in which they occur: is that their order here, with none left out?
  bool occurInOrder() const {
    std::int32_t next = 0;
    bool inOrder = true;
    const auto see = [&](std::int32_t variable) {
      if (variable == next) ++next;
      inOrder = inOrder && variable < next;
    };
    const auto seeProducts = [&](const std::vector<TavFileProduct>& products) {
      for (const TavFileProduct& product : products) {
        see(product.first);
        see(product.second);
      }
    };
    for (const TavFileTerm& term : _objective.linear) see(term.variable);
    seeProducts(_objective.products);
    auto part = _model.rowParts.begin();
    auto indicator = _model.indicators.begin();
    for (std::size_t i = 0; i < _model.rows.size() && inOrder; ++i) {
      if (indicator != _model.indicators.end() && indicator->row == index(i)) see(indicator++->variable);
      for (std::size_t k = _model.linearBegin[i]; k != _model.linearBegin[i + 1]; ++k) see(_model.linearVariable[k]);
      if (part != _model.rowParts.end() && part->row == index(i)) seeProducts(part++->products);
    }
    return inOrder && next == index(_model.variables.size());
  }

  void writeObjective() {
    _out << (_objective.maximise ? "Maximize\n" : "Minimize\n");
    begin(_objective.name);
    if (occurInOrder()) {
      for (const TavFileTerm& term : _objective.linear) putTerm(term.variable, term.value);
    } else {
      std::vector<double> cost(_model.variables.size());
      for (const TavFileTerm& term : _objective.linear) cost[static_cast<std::size_t>(term.variable)] = term.value;
      for (std::size_t i = 0; i < cost.size(); ++i) putTerm(index(i), cost[i]);
    }
    if (_objective.constant != 0.0) {
      putSign(_objective.constant);
      put(" ");
      put(std::fabs(_objective.constant));
    }
    putProducts(_objective.products, 2.0);
    if (!_objective.products.empty()) put(" / 2");
    put("\n");
  }

  void writeRows() {
    _out << "Subject To\n";
    auto part = _model.rowParts.begin();
    auto indicator = _model.indicators.begin();
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      begin(_model.rowNames[index(i)]);
      if (indicator != _model.indicators.end() && indicator->row == index(i)) {
        put(" ");
        put(_variables[indicator->variable]);
        put(indicator->value ? " = 1 ->" : " = 0 ->");
        ++indicator;
      }
      const bool hasPart = part != _model.rowParts.end() && part->row == index(i);
      writeRow(i, hasPart ? &*part : nullptr);
      part += hasPart ? 1 : 0;
    }
  }

  void writeRow(std::size_t i, const TavFileRowPart* part) {
    const TavFileRow& row = _model.rows[i];
    const bool isRange = std::isfinite(row.lower) && std::isfinite(row.upper) && row.lower != row.upper;
    if (isRange) {
      put(" ");
      put(row.lower);
      put(" <=");
    }
    for (std::size_t k = _model.linearBegin[i]; k != _model.linearBegin[i + 1]; ++k) {
      putTerm(_model.linearVariable[k], _model.linearValue[k]);
    }
    if (part) putProducts(part->products, 1.0);
    if (_first) put(" 0");
    if (_first && !_model.variables.empty()) {
      put(" ");
      put(_variables[0]);
    }
    const bool noLower = std::isinf(row.lower), noUpper = std::isinf(row.upper);
    if (noLower && noUpper) {
      put(" >= -inf");
    } else {
      put(row.lower == row.upper ? " = " : isRange || noLower ? " <= " : " >= ");
      put(isRange || noLower ? row.upper : row.lower);
    }
    put("\n");
  }

  void writeBounds() {
    _out << "Bounds\n";
    for (std::size_t i = 0; i < _model.variables.size(); ++i) {
      const TavFileVariable& variable = _model.variables[i];
      const bool noLower = std::isinf(variable.lower);
      const double usual = variable.kind == TavFileKind::Binary ? 1.0 : std::numeric_limits<double>::infinity();
      if (variable.lower == 0.0 && variable.upper == usual) continue;
      const std::string_view name = _variables[index(i)];
      _out << ' ';
      if (noLower && std::isinf(variable.upper)) {
        _out << name << " free";
      } else if (variable.lower == variable.upper) {
        _out << name << " = " << variable.lower;
      } else if (std::isinf(variable.upper) || (variable.kind == TavFileKind::Binary && variable.upper == 1.0)) {
        _out << name << " >= " << variable.lower;
      } else {
        if (noLower) _out << "-inf";
        if (!noLower) _out << variable.lower;
        _out << " <= " << name << " <= " << variable.upper;
      }
      _out << '\n';
    }
  }

  void writeList(const char* title, TavFileKind kind, TavFileKind other) {
    bool any = false;
    for (std::size_t i = 0; i < _model.variables.size(); ++i) {
      const TavFileKind of = _model.variables[i].kind;
      if (of != kind && of != other) continue;
      if (!any) _out << title << '\n';
      any = true;
      _out << ' ' << _variables[index(i)] << '\n';
    }
  }

  void writeSets() {
    if (!_model.sets.empty()) _out << "SOS\n";
    for (const TavFileSet& set : _model.sets) {
      begin(set.name);
      put(set.type == 1 ? " S1::" : " S2::");
      for (const TavFileTerm& member : set.members) {
        if (_column > kLine) {
          put("\n ");
          _column = 1;
        }
        put(" ");
        put(_variables[member.variable]);
        put(":");
        put(member.value);
      }
      put("\n");
    }
  }

  const TavFileModel& _model;
  const std::string& _file;
  TavTextSink& _out;
  TavWriterNames _variables;
  TavFileObjective _objective;
  /// Bytes on the line, and whether the sum has no term yet.
  std::size_t _column = 0;
  bool _first = true;
};

}  // namespace

void TavWriteLp(const TavFileModel& model, const std::string& file, TavTextSink& out) {
  LpWriter(model, file, out).write();
}
