/// ROWS, COLUMNS, RHS and RANGES of the MPS reader, and what the rows become at the end.

#include <algorithm>
#include <cmath>
#include <utility>

#include "modelfile/mps_reader.h"
#include "modelfile/words.h"

void TavMpsReader::rowLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  const bool comment = fields.count > 2 && (fields[2].front() == '$' || fields[2].front() == '*');
  if (fields.count != 2 && !comment) _lines.failLine("expected two fields, type and name of a row");
  const char type = static_cast<char>(fields[0].size() == 1 ? fields[0][0] & ~0x20 : '?');
  if (type != 'N' && type != 'E' && type != 'L' && type != 'G') {
    _lines.fail(fields[0], "a row of type " + TavQuoted(fields[0]) + ", expected N, E, L or G");
  }
  const std::string_view name = fields[1];
  const bool isObjective = type == 'N' && !_hasObjective && (_wantedObjective.empty() || name == _wantedObjective);
  if ((_hasObjective && name == _objectiveName) || (isObjective && _model.rowNames.find(name) >= 0)) {
    _lines.fail(name, "a second row " + TavQuoted(name) + ", expected a new name");
  }
  if (isObjective) {
    _hasObjective = true;
    _objectiveName = name;
    _objectiveKey = TavNameTable::keyOf(name);
    return;
  }
  const std::int32_t before = _model.rowNames.size();
  if (_model.rowNames.insert(name) != before) {
    _lines.fail(name, "a second row " + TavQuoted(name) + ", expected a new name");
  }
  RowState state;
  state.type = type;
  _rowStates.push_back(state);
  _model.rows.push_back({0.0, 0.0});
}

void TavMpsReader::columnLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  int count = fields.count;
  if (count >= 3 && fields[1] == "'MARKER'") return marker(fields);
  if (count > 3 && isComment(fields[3], fields[4], count == 4)) count = 3;
  if (count > 5 && isComment(fields[5], {}, true)) count = 5;
  if (count != 3 && count != 5) {
    settleEntries();
    _lines.failLine("expected three or five fields: column, row, coefficient and perhaps row, coefficient");
  }
  const std::int32_t column = _model.variableNames.size() - 1;
  if (column < 0 || fields[0] != _model.variableNames[column]) beginColumn(fields[0]);
  addEntry(fields[1], fields[2]);
  if (count == 5) addEntry(fields[3], fields[4]);
  if (_lines.lastOfWindow()) settleEntries();
}

/// The names are compared at the end of the section, all at once.
void TavMpsReader::beginColumn(std::string_view name) {
  _model.variableNames.append(name);
  _columnKey = TavNameTable::keyOf(name);
  _columnPlaces.push_back(TavPackedPlace::of(_lines.placeOf(name)));
  TavFileVariable variable;
  variable.kind = _integerColumns ? TavFileKind::Integer : TavFileKind::Continuous;
  _model.variables.push_back(variable);
  ColumnState state;
  state.integer = _integerColumns;
  _columnStates.push_back(state);
}

void TavMpsReader::addEntry(std::string_view row, std::string_view text) {
  const bool negative = text.front() == '-';
  const TavScannedNumber scanned = TavScanNumber<true>(text.data() + (negative ? 1 : 0));
  double value = negative ? -scanned.value : scanned.value;
  if (scanned.fault != TavNumberFault::None || scanned.end != text.data() + text.size()) {
    settleEntries();
    value = number(text, "a coefficient");
  }
  const TavNameTable::Key key = TavNameTable::keyOf(row);
  if (isObjective(row.data(), key) && _lastColumnOfObjective == _model.variableNames.size() - 1) {
    settleEntries();
    failTwice(row);
  }
  takeEntry(row.data(), key, value);
}

/// An entry of the column at hand, which has none in the objective if that is the row.
void TavMpsReader::takeEntry(const char* row, const TavNameTable::Key& key, double value) {
  const std::int32_t column = _model.variableNames.size() - 1;
  if (isObjective(row, key)) {
    _lastColumnOfObjective = column;
    if (value != 0.0) _objective.linear.push_back({column, value});
    return;
  }
  if (_pendingCount == 0) {
    const std::int32_t numbered = _model.rowNames.findNumbered(key);
    if (numbered != TavNameTable::kNone) {
      if (!_entries.add(numbered, column, value)) failTwice({row, key.size});
      return;
    }
  }
  _model.rowNames.prefetch(key);
  _pending[_pendingCount++] = {row, key, value, column, TavNameTable::kNone};
  if (_pendingCount == kMostPending) settleEntries(kKeptPending);
}

void TavMpsReader::settleEntries(int kept) {
  const int pending = std::exchange(_pendingCount, 0);
  kept = std::min(kept, pending);
  Pending* const end = _pending + (pending - kept);
  for (Pending* entry = _pending; entry != end; ++entry) {
    entry->found = _model.rowNames.find(entry->name(), entry->key);
    if (entry->found == TavNameTable::kNone) {
      _input.fail(entry->row, "no row " + TavQuoted(entry->name()) + ", expected one of the section ROWS");
    }
  }
  for (const Pending* entry = _pending; entry != end; ++entry) {
    if (!_entries.add(entry->found, entry->column, entry->value)) failTwice(entry->name());
  }
  std::copy(end, end + kept, _pending);
  _pendingCount = kept;
}

/// Of a row in the window.
void TavMpsReader::failTwice(std::string_view row) const {
  _input.fail(row.data(), "a second entry of the column in row " + TavQuoted(row) + ", expected one");
}

void TavMpsReader::endColumns() {
  settleEntries();
  const std::int32_t twice = _model.variableNames.rehash();
  if (twice != TavNameTable::kNone) {
    throw TavFileError(_input.name(), _columnPlaces[static_cast<std::size_t>(twice)].unpacked(),
                       "the column " + TavQuoted(_model.variableNames[twice]) +
                           " once more, expected all its entries on consecutive lines");
  }
  _columnPlaces = {};
}

void TavMpsReader::marker(const TavMpsFields& fields) {
  if (fields.count > 3 && !isComment(fields[3], {}, true)) {
    _lines.fail(fields[3], TavQuoted(fields[3]) + " behind a marker, expected the end of the line");
  }
  const std::string_view kind = fields[2];
  if (kind == "'INTORG'" && !_integerColumns) {
    _integerColumns = true;
  } else if (kind == "'INTEND'" && _integerColumns) {
    _integerColumns = false;
  } else {
    _lines.fail(kind, "the marker " + TavQuoted(kind) + " here, expected " +
                          (_integerColumns ? "'INTEND'" : "'INTORG' (sets stand in the section SOS)"));
  }
}

/// Number of pairs of row and value on a line of RHS or RANGES; the first of them is at `first`.
int TavMpsReader::pairs(const TavMpsFields& fields, int& first) const {
  int count = fields.count;
  for (int i = 2; i < count; ++i) {
    const bool last = i + 1 == fields.count;
    if (isComment(fields[i], last ? fields[i] : fields[i + 1], last)) count = i;
  }
  if (count < 2 || count > 5) {
    _lines.failLine("expected two to five fields: perhaps a name of the set, row, value and perhaps row, value");
  }
  first = count % 2;
  return count / 2;
}

void TavMpsReader::rhsLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  int first;
  const int count = pairs(fields, first);
  if (first == 1) requireSet(fields[0], _rhsName, "right-hand sides");
  for (int i = 0; i < count; ++i) setRhs(fields[first + 2 * i], fields[first + 2 * i + 1]);
}

void TavMpsReader::setRhs(std::string_view rowName, std::string_view text) {
  const std::int32_t row = rowOf(rowName);
  const bool isObjective = row == kObjective;
  double value = number(text, "a right-hand side", !isObjective);
  bool& has = isObjective ? _hasObjectiveRhs : _rowStates[static_cast<std::size_t>(row)].hasRhs;
  if (has) _lines.fail(rowName, "a second right-hand side of " + TavQuoted(rowName) + ", expected one");
  has = true;
  if (isObjective) {
    // By contract: the right-hand side of the objective is its constant with the sign turned.
    _objective.constant = 0.0 - value;
    return;
  }
  RowState& state = _rowStates[static_cast<std::size_t>(row)];
  if (std::fabs(value) >= _input.options().infinity) value = std::copysign(kTavInfinity, value);
  const bool impossible = (state.type == 'E' && std::isinf(value)) || (state.type == 'L' && value == -kTavInfinity) ||
                          (state.type == 'G' && value == kTavInfinity);
  if (impossible) {
    _lines.fail(text,
                "the right-hand side " + TavQuoted(text) + " counts as infinite, expected a bound that can be met");
  }
  if (state.type == 'N' && _freeRowRhs++ == 0) {
    _model.notes.push_back("the right-hand side of " + TavQuoted(rowName) + ", a row of type N, has no meaning");
  }
  _model.rows[static_cast<std::size_t>(row)].lower = value;
}

void TavMpsReader::rangeLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  int first;
  const int count = pairs(fields, first);
  if (first == 1) requireSet(fields[0], _rangeName, "ranges");
  for (int i = 0; i < count; ++i) setRange(fields[first + 2 * i], fields[first + 2 * i + 1]);
}

void TavMpsReader::setRange(std::string_view rowName, std::string_view text) {
  const std::int32_t row = trueRowOf(rowName);
  RowState& state = _rowStates[static_cast<std::size_t>(row)];
  if (state.type == 'N') _lines.fail(rowName, "a range of a row of type N, expected a row of type E, L or G");
  if (state.hasRange) _lines.fail(rowName, "a second range of " + TavQuoted(rowName) + ", expected one");
  state.hasRange = true;
  double& range = _model.rows[static_cast<std::size_t>(row)].upper;
  range = number(text, "a range", true);
  if (std::fabs(range) >= _input.options().infinity) range = std::copysign(kTavInfinity, range);
}

/// The bounds of a row. A range r widens them: E and r >= 0 to [rhs, rhs + r], E and r < 0 to [rhs + r, rhs], L to
/// [rhs - |r|, rhs], G to [rhs, rhs + |r|].
void TavMpsReader::finishRow(std::int32_t row) {
  const RowState& state = _rowStates[static_cast<std::size_t>(row)];
  TavFileRow& bounds = _model.rows[static_cast<std::size_t>(row)];
  const double rhs = bounds.lower, range = bounds.upper;
  bounds = {};
  if (state.type == 'N') return;
  if (state.type != 'L') bounds.lower = rhs;
  if (state.type != 'G') bounds.upper = rhs;
  if (!state.hasRange) return;
  if (std::isinf(rhs)) {
    _lines.failLine("row " + TavQuoted(_model.rowNames[row]) +
                    " has a range but an infinite right-hand side, expected a finite one");
  }
  const bool up = state.type == 'G' || (state.type == 'E' && !std::signbit(range));
  double& bound = up ? bounds.upper : bounds.lower;
  bound = up ? rhs + std::fabs(range) : rhs - std::fabs(range);
  if (std::fabs(bound) >= _input.options().infinity) bound = std::copysign(kTavInfinity, bound);
}

void TavMpsReader::finish() {
  if (_integerColumns) _lines.failLine("ENDATA without the marker 'INTEND', expected the marker");
  for (std::int32_t row = 0; row < _model.rowNames.size(); ++row) finishRow(row);
  for (std::int32_t column = 0; column < _model.variableNames.size(); ++column) finishColumn(column);
  if (_negativeUppers > 1) _model.notes.push_back("so have " + std::to_string(_negativeUppers - 1) + " other columns");
  if (_freeRowRhs > 1) {
    _model.notes.push_back(std::to_string(_freeRowRhs) +
                           " rows of type N have right-hand sides, which have no meaning");
  }
  finishProducts();
  if (_hasObjective) {
    _objective.name = _objectiveName;
    _model.objectives.push_back(std::move(_objective));
  } else if (_hasSense) {
    _model.notes.emplace_back("a sense of the objective, but no objective");
  }
  _entries.finish(_model);
  finishIndicators();
}
