#include <cmath>
#include <unordered_set>

#include "modelfile/formats.h"
#include "modelfile/words.h"
#include "modelfile/writer_check.h"

namespace {

/// The right-hand side and the range of a row with two bounds, and its type.
struct RangeText {
  char type;
  double rhs;
  double range;
};

/// A right-hand side and a range from which the reader's one addition gives both bounds. Where there are none, because
/// the difference of the bounds has a digit too many, the bound of the larger size is off by one unit in its last
/// place.
RangeText rangeOf(double lower, double upper) {
  const double range = upper - lower;
  const RangeText ways[] = {{'G', lower, range}, {'L', upper, range}};
  for (const RangeText& way : ways) {
    for (const double wider : {range, std::nextafter(range, kTavInfinity), std::nextafter(range, 0.0)}) {
      const bool exact = way.type == 'G' ? lower + wider == upper : upper - wider == lower;
      if (exact) return {way.type, way.rhs, wider};
    }
  }
  return ways[std::fabs(lower) > std::fabs(upper) ? 1 : 0];
}

class MpsWriter {
 public:
  MpsWriter(const TavFileModel& model, const std::string& file, TavTextSink& out)
      : _model(model),
        _file(file),
        _out(out),
        _variables(model.variableNames, model.variables.size(), "x", "variables", file),
        _rows(model.rowNames, model.rows.size(), "c", "rows", file) {}

  void write() {
    check();
    transpose();
    writeHead();
    writeRows();
    writeColumns();
    writeRhs();
    writeRanges();
    writeBounds();
    writeProducts();
    writeSets();
    writeIndicators();
    _out << "ENDATA\n";
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { throw TavFileError(_file, {}, what); }

  void checkName(const char* kind, std::string_view name) const {
    for (const char c : name) {
      if (static_cast<unsigned char>(c) <= ' ')
        fail(TavNamed(kind, name) + " has a blank in its name, which free MPS cannot say");
    }
    if (name == "'MARKER'") fail(TavNamed(kind, name) + " has the name of a marker");
  }

  void check() {
    TavCheckForText(_model, _variables, _rows, _file);
    for (std::size_t i = 0; i < _model.variables.size(); ++i) checkName("variable", _variables[index(i)]);
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      checkName("row", _rows[index(i)]);
      const TavFileRow& row = _model.rows[i];
      if (row.lower > row.upper)
        fail(TavNamed("row", _rows[index(i)]) + " has a lower bound above its upper one, which MPS cannot say");
      if (isRange(row) && !std::isfinite(row.upper - row.lower))
        fail(TavNamed("row", _rows[index(i)]) + " has bounds too far apart for MPS");
    }
    for (const TavFileSet& set : _model.sets) checkName("set", set.name);
    checkHead();
  }

  void checkHead() {
    if (!_model.objectives.empty()) {
      _objective = _model.objectives.front();
      checkName("objective", _objective.name);
      if (!_objective.name.empty() && !_rows.isFree(_objective.name))
        fail(TavNamed("objective", _objective.name) + " has the name of a row");
    }
    if (_objective.name.empty()) _objective.name = _rows.freeName("OBJ");
    const std::string& name = _model.name;
    const std::size_t blank = name.find(' ');
    const bool edges = !name.empty() && (name.front() == ' ' || name.back() == ' ');
    const bool saysFree = blank != std::string::npos && TavSameWord(name.substr(name.find_last_of(' ') + 1), "FREE");
    bool control = false;
    for (const char c : name) control |= static_cast<unsigned char>(c) < ' ';
    if (edges || control || saysFree) fail(TavNamed("model", name) + " has a name that MPS cannot say");
  }

  static std::int32_t index(std::size_t i) noexcept { return static_cast<std::int32_t>(i); }
  static bool isRange(const TavFileRow& row) {
    return std::isfinite(row.lower) && std::isfinite(row.upper) && row.lower != row.upper;
  }
  static bool isFree(const TavFileRow& row) { return std::isinf(row.lower) && std::isinf(row.upper); }

  /// The entries of the rows, column by column.
  void transpose() {
    const std::size_t columns = _model.variables.size();
    _begin.assign(columns + 1, 0);
    for (const std::int32_t variable : _model.linearVariable) ++_begin[static_cast<std::size_t>(variable) + 1];
    for (std::size_t i = 0; i < columns; ++i) _begin[i + 1] += _begin[i];
    std::vector<std::size_t> next(_begin.begin(), _begin.end() - 1);
    _row.resize(_model.linearVariable.size());
    _value.resize(_row.size());
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      for (std::size_t k = _model.linearBegin[i]; k != _model.linearBegin[i + 1]; ++k) {
        const std::size_t place = next[static_cast<std::size_t>(_model.linearVariable[k])]++;
        _row[place] = index(i);
        _value[place] = _model.linearValue[k];
      }
    }
    _cost.assign(columns, 0.0);
    for (const TavFileTerm& term : _objective.linear) _cost[static_cast<std::size_t>(term.variable)] = term.value;
  }

  void writeHead() {
    _out << "NAME";
    if (!_model.name.empty()) _out << ' ' << _model.name;
    // One word behind the name says that the format is free.
    if (!_model.name.empty() && _model.name.find(' ') == std::string::npos) _out << " FREE";
    _out << '\n';
    if (_objective.maximise) _out << "OBJSENSE\n MAX\n";
  }

  /// Without rows and objective a column, which has no entries then, could not be said.
  bool writesObjective() const {
    return !_model.objectives.empty() || (_model.rows.empty() && !_model.variables.empty());
  }

  char typeOf(const TavFileRow& row) const {
    // Without an objective a row of type N would be taken for one.
    if (isFree(row)) return writesObjective() ? 'N' : 'G';
    if (row.lower == row.upper) return 'E';
    if (isRange(row)) return rangeOf(row.lower, row.upper).type;
    return std::isinf(row.lower) ? 'L' : 'G';
  }

  void writeRows() {
    _out << "ROWS\n";
    if (writesObjective()) _out << " N " << _objective.name << '\n';
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      _out << ' ' << typeOf(_model.rows[i]) << ' ' << _rows[index(i)] << '\n';
    }
  }

  void writeEntry(std::size_t column, std::string_view row, double value) {
    _out << ' ' << _variables[index(column)] << ' ' << row << ' ' << value << '\n';
  }

  void writeColumns() {
    _out << "COLUMNS\n";
    bool integers = false;
    int markers = 0;
    const auto mark = [&](bool wanted) {
      if (wanted == integers) return;
      integers = wanted;
      const std::string name = "MARKER" + std::to_string(++markers);
      _out << ' ' << name << " 'MARKER' " << (wanted ? "'INTORG'" : "'INTEND'") << '\n';
    };
    for (std::size_t i = 0; i < _model.variables.size(); ++i) {
      mark(_model.variables[i].kind == TavFileKind::Integer);
      bool written = _cost[i] != 0.0;
      if (written) writeEntry(i, _objective.name, _cost[i]);
      for (std::size_t k = _begin[i]; k != _begin[i + 1]; ++k) {
        writeEntry(i, _rows[_row[k]], _value[k]);
        written = true;
      }
      if (!written) writeEntry(i, writesObjective() ? std::string_view(_objective.name) : _rows[0], 0.0);
    }
    mark(false);
  }

  void writeRhs() {
    _out << "RHS\n";
    if (_objective.constant != 0.0) _out << " RHS " << _objective.name << ' ' << -_objective.constant << '\n';
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      const TavFileRow& row = _model.rows[i];
      if (isFree(row)) {
        if (!writesObjective()) _out << " RHS " << _rows[index(i)] << " -1e30\n";  // counts as infinite
        continue;
      }
      const double rhs = isRange(row)            ? rangeOf(row.lower, row.upper).rhs
                         : std::isinf(row.lower) ? row.upper
                                                 : row.lower;
      if (rhs != 0.0) _out << " RHS " << _rows[index(i)] << ' ' << rhs << '\n';
    }
  }

  void writeRanges() {
    bool any = false;
    for (std::size_t i = 0; i < _model.rows.size(); ++i) {
      const TavFileRow& row = _model.rows[i];
      if (!isRange(row)) continue;
      if (!any) _out << "RANGES\n";
      any = true;
      _out << " RNG " << _rows[index(i)] << ' ' << rangeOf(row.lower, row.upper).range << '\n';
    }
  }

  void writeBound(const char* type, std::size_t i) {
    if (!_anyBound) {
      _out << "BOUNDS\n";
      _boundSet = _variables.freeName("BND");
    }
    _anyBound = true;
    _out << ' ' << type << ' ' << _boundSet << ' ' << _variables[index(i)];
  }
  void writeBound(const char* type, std::size_t i, double value) {
    writeBound(type, i);
    _out << ' ' << value << '\n';
  }
  void writeBareBound(const char* type, std::size_t i) {
    writeBound(type, i);
    _out << '\n';
  }

  void writeBounds() {
    for (std::size_t i = 0; i < _model.variables.size(); ++i) {
      const TavFileVariable& variable = _model.variables[i];
      switch (variable.kind) {
        case TavFileKind::SemiContinuous:
        case TavFileKind::SemiInteger:
          writeBound(variable.kind == TavFileKind::SemiInteger ? "SI" : "SC", i,
                     std::isinf(variable.upper) ? 1e30 : variable.upper);
          if (variable.lower != 0.0) writeBound("LO", i, variable.lower);
          break;
        case TavFileKind::Binary:
          writeBareBound("BV", i);
          if (variable.lower != 0.0) writeBound("LO", i, variable.lower);
          if (variable.upper != 1.0) writeBound("UP", i, variable.upper);
          break;
        default:
          writePlainBounds(i, variable);
      }
    }
  }

  void writePlainBounds(std::size_t i, const TavFileVariable& variable) {
    const bool noLower = std::isinf(variable.lower), noUpper = std::isinf(variable.upper);
    if (noLower && noUpper) return writeBareBound("FR", i);
    if (variable.lower == variable.upper) return writeBound("FX", i, variable.lower);
    if (noLower) writeBareBound("MI", i);
    // An upper bound below 0 alone would take the lower bound away.
    if (!noLower && (variable.lower != 0.0 || variable.upper < 0.0)) writeBound("LO", i, variable.lower);
    if (!noUpper) writeBound("UP", i, variable.upper);
    // Without any bound an integer column would be binary.
    if (variable.kind == TavFileKind::Integer && noUpper && variable.lower == 0.0) writeBareBound("PL", i);
  }

  void writeProduct(std::int32_t a, std::int32_t b, double value) {
    _out << ' ' << _variables[a] << ' ' << _variables[b] << ' ' << value << '\n';
  }

  /// The objective by one triangle of twice its matrix, rows by the whole of theirs.
  void writeProducts() {
    if (!_objective.products.empty()) _out << "QUADOBJ\n";
    for (const TavFileProduct& product : _objective.products) {
      writeProduct(product.first, product.second, product.first == product.second ? 2 * product.value : product.value);
    }
    for (const TavFileRowPart& part : _model.rowParts) {
      if (part.products.empty()) continue;
      _out << "QCMATRIX " << _rows[part.row] << '\n';
      for (const TavFileProduct& product : part.products) {
        const bool square = product.first == product.second;
        writeProduct(product.first, product.second, square ? product.value : product.value / 2);
        if (!square) writeProduct(product.second, product.first, product.value / 2);
      }
    }
  }

  void writeSets() {
    std::unordered_set<std::string> names;
    for (const TavFileSet& set : _model.sets) names.insert(set.name);
    if (!_model.sets.empty()) _out << "SOS\n";
    std::size_t number = 0;
    for (const TavFileSet& set : _model.sets) {
      std::string name = set.name.empty() ? "s" + std::to_string(++number) : set.name;
      while (set.name.empty() && !names.insert(name).second) name += '_';
      // The second blank keeps the line from reading as one of the fixed format.
      _out << "  S" << static_cast<char>('0' + set.type) << " SOS " << name << '\n';
      for (const TavFileTerm& member : set.members) {
        _out << " SOS " << _variables[member.variable] << ' ' << member.value << '\n';
      }
    }
  }

  void writeIndicators() {
    if (!_model.indicators.empty()) _out << "INDICATORS\n";
    for (const TavFileIndicator& indicator : _model.indicators) {
      _out << " IF " << _rows[indicator.row] << ' ' << _variables[indicator.variable]
           << (indicator.value ? " 1\n" : " 0\n");
    }
  }

  const TavFileModel& _model;
  const std::string& _file;
  TavTextSink& _out;
  TavWriterNames _variables;
  TavWriterNames _rows;
  TavFileObjective _objective;
  std::vector<std::size_t> _begin;
  std::vector<std::int32_t> _row;
  std::vector<double> _value;
  std::vector<double> _cost;
  bool _anyBound = false;
  std::string _boundSet;
};

}  // namespace

void TavWriteMps(const TavFileModel& model, const std::string& file, TavTextSink& out) {
  MpsWriter(model, file, out).write();
}
