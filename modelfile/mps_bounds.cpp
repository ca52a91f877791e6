/// BOUNDS of the MPS reader.

#include <cmath>

#include "modelfile/mps_reader.h"
#include "modelfile/words.h"

namespace {

/// Types of bounds; those that need no value.
bool needsNoValue(std::string_view type) { return type == "FR" || type == "MI" || type == "PL" || type == "BV"; }
bool isBoundType(std::string_view type) {
  for (const char* known : {"UP", "MI", "LO", "FX", "FR", "PL", "BV", "LI", "UI", "SC", "SI"}) {
    if (type == known) return true;
  }
  return false;
}

}  // namespace

void TavMpsReader::boundLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  const std::string type{fields[0].size() == 2 ? static_cast<char>(fields[0][0] & ~0x20) : '?',
                         fields[0].size() == 2 ? static_cast<char>(fields[0][1] & ~0x20) : '?'};
  if (!isBoundType(type)) {
    _lines.fail(fields[0],
                "a bound of type " + TavQuoted(fields[0]) + ", expected UP, LO, FX, FR, MI, PL, BV, LI, UI, SC or SI");
  }
  const auto isColumn = [&](std::string_view name) { return _model.variableNames.find(name) >= 0; };
  int count = fields.count;
  for (int i = 2; i < count; ++i) {
    const char first = fields[i].front();
    if ((first == '$' || first == '*') && !(i == 2 && isColumn(fields[i]))) count = i;
  }
  const bool bare = needsNoValue(type);
  if (count == 4) {
    requireSet(fields[1], _boundName, "bounds");
    return setBound(type, columnOf(fields[2]), fields[3]);
  }
  if (count < 2 || count > 4)
    _lines.failLine("expected a type of bound, perhaps a name of the set, a column and a value");
  if (count == 2) {
    if (!bare && type != "SC") _lines.failBehind("expected a value of the bound");
    return setBound(type, columnOf(fields[1]), {});
  }
  // Three fields: the name of the set may be missing, or the value.
  const bool withSet = isColumn(fields[2]) && (bare || type == "SC");
  const bool withoutSet = isColumn(fields[1]) && fields[1] != _boundName;
  if (withSet && withoutSet) {
    _lines.fail(fields[1], "both " + TavQuoted(fields[1]) + " and " + TavQuoted(fields[2]) +
                               " are columns, expected a name of the set that is none");
  }
  if (withSet) {
    requireSet(fields[1], _boundName, "bounds");
    return setBound(type, columnOf(fields[2]), {});
  }
  setBound(type, columnOf(fields[1]), fields[2]);
}

void TavMpsReader::setBound(std::string_view type, std::int32_t column, std::string_view value) {
  const auto at = static_cast<std::size_t>(column);
  ColumnState& state = _columnStates[at];
  const std::string_view where = value.empty() ? _lines.text() : value;
  state.mentioned = true;
  if (type == "SC" || type == "SI") return setSemi(column, value, type);
  if (type == "FR" || type == "MI") setLower(column, -kTavInfinity, where);
  if (type == "FR" || type == "PL") setUpper(column, kTavInfinity, where);
  if (type == "BV") state.binary = true;
  if (needsNoValue(type)) {
    if (!value.empty()) number(value, "a value, which has no meaning here", true);
    return;
  }
  const double bound = number(value, "a bound", true);
  if (type == "LI" || type == "UI") state.integer = true;
  if (type == "LO" || type == "LI" || type == "FX") setLower(column, bound, where);
  if (type == "UP" || type == "UI" || type == "FX") setUpper(column, bound, where);
}

void TavMpsReader::setLower(std::int32_t column, double value, std::string_view where) {
  const auto at = static_cast<std::size_t>(column);
  if (value >= _input.options().infinity) {
    _lines.fail(where, "a lower bound that counts as +infinity, expected a finite one or none");
  }
  if (value <= -_input.options().infinity) value = -kTavInfinity;
  double& lower = _model.variables[at].lower;
  if (_columnStates[at].lower && lower != value) {
    _lines.fail(where, "a second lower bound of " + TavQuoted(_model.variableNames[column]) + ", expected one");
  }
  _columnStates[at].lower = true;
  lower = value;
}

void TavMpsReader::setUpper(std::int32_t column, double value, std::string_view where) {
  const auto at = static_cast<std::size_t>(column);
  if (value <= -_input.options().infinity) {
    _lines.fail(where, "an upper bound that counts as -infinity, expected a finite one or none");
  }
  if (value >= _input.options().infinity) value = kTavInfinity;
  double& upper = _model.variables[at].upper;
  if (_columnStates[at].upper && upper != value) {
    _lines.fail(where, "a second upper bound of " + TavQuoted(_model.variableNames[column]) + ", expected one");
  }
  _columnStates[at].upper = true;
  upper = value;
}

void TavMpsReader::setSemi(std::int32_t column, std::string_view value, std::string_view type) {
  ColumnState& state = _columnStates[static_cast<std::size_t>(column)];
  state.semi = true;
  if (type == "SI") state.integer = true;
  const double limit = value.empty() ? kTavInfinity : number(value, "an upper limit", true);
  if (!(limit > 0.0)) _lines.fail(value, "a semi-continuous limit of " + TavQuoted(value) + ", expected one above 0");
  setUpper(column, limit, value.empty() ? _lines.text() : value);
}

/// Kind and default bounds of a column.
void TavMpsReader::finishColumn(std::int32_t column) {
  const auto at = static_cast<std::size_t>(column);
  const ColumnState& state = _columnStates[at];
  TavFileVariable& variable = _model.variables[at];
  const auto name = [&] { return TavQuoted(_model.variableNames[column]); };
  if (state.semi) {
    if (variable.lower < 0.0)
      _lines.failLine("the semi-continuous column " + name() + " has a lower bound below 0, expected 0 or more");
    if (state.binary) _lines.failLine("the column " + name() + " is binary and semi-continuous, expected one of them");
    variable.kind = state.integer ? TavFileKind::SemiInteger : TavFileKind::SemiContinuous;
    return;
  }
  if (state.binary) {
    variable.kind = TavFileKind::Binary;
    if (!state.upper) variable.upper = 1.0;
    if (variable.lower < 0.0 || variable.upper > 1.0 || variable.lower > 1.0 || variable.upper < 0.0) {
      _lines.failLine("the binary column " + name() + " has a bound outside 0 and 1, expected none");
    }
    return;
  }
  variable.kind = state.integer ? TavFileKind::Integer : TavFileKind::Continuous;
  // By contract: integer columns between markers, without any bound, go from 0 to 1.
  if (state.integer && !state.mentioned) variable.upper = 1.0;
  if (state.upper && !state.lower && variable.upper < 0.0) {
    // By contract: an upper bound below 0 takes the default lower bound away.
    variable.lower = -kTavInfinity;
    if (_negativeUppers++ == 0) {
      _model.notes.push_back("the column " + name() +
                             " has an upper bound below 0 and no lower one: it is not bounded below");
    }
  }
}
