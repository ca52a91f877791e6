/// Objective and rows of the LP reader.

#include <algorithm>
#include <cmath>
#include <utility>

#include "modelfile/lp_reader.h"
#include "modelfile/words.h"

void TavLpReader::readObjective() {
  if (kTavLpBytes.beginsName(peek())) {
    const char* end = TavLpNameEnd(_at);
    if (atLabel(end)) {
      _objective.name = name();
      peek();
      take(1);
    }
  }
  const Side side = readSide(Place::Objective, 1.0);
  if (side.infinite != 0) fail("an infinite objective, expected finite numbers");
  settleNames();
  compactTerms(placeOf(_at));
  _objective.linear.reserve(_model.linearValue.size());
  for (std::size_t i = 0; i < _model.linearValue.size(); ++i) {
    _objective.linear.push_back({_model.linearVariable[i], _model.linearValue[i]});
  }
  _model.linearVariable.clear();
  _model.linearValue.clear();
  _objective.constant = side.constant;
  _objective.products = _products.take();
}

void TavLpReader::readRows() {
  for (;;) {
    const char c = peek();
    if (c == 0) break;
    TavLpSection section;
    const char* end;
    if (kTavLpBytes.beginsName(c) && _atLineStart && atSection(section, end)) break;
    readRow();
  }
  settleNames();
  closeRowsBefore(static_cast<std::int32_t>(_model.rows.size()));
  compareRowNames();
}

/// The names of all rows at once.
void TavLpReader::compareRowNames() {
  const std::int32_t twice = _model.rowNames.rehash();
  if (twice != TavNameTable::kNone) {
    fail(_rowPlaces[static_cast<std::size_t>(twice)].unpacked(),
         "a second row \"" + std::string(_model.rowNames[twice]) + "\", expected a new name");
  }
  _rowPlaces = {};
}

void TavLpReader::readRow() {
  const char c = peek();
  std::string_view label;
  _rowPlaces.push_back(TavPackedPlace::of(placeOf(_at)));
  if (kTavLpBytes.beginsName(c) && atLabel(TavLpNameEnd(_at))) {
    label = name();
    peek();
    take(1);
  }
  _model.rowNames.append(label);
  _model.rows.emplace_back();
  Side left = readSide(Place::First, 1.0);
  Relation relation, second;
  if (!this->relation(relation)) fail("expected an operator or a relation, found " + found());
  Side right = readSide(Place::Later, -1.0);
  if (peek() == '-' && _at[1] == '>') {
    readIndicator(left, relation, right);
    left = readSide(Place::First, 1.0);
    if (!this->relation(relation)) fail("expected an operator or a relation, found " + found());
    right = readSide(Place::Later, -1.0);
  }
  if (this->relation(second)) {
    if (!left.isConstant()) fail("a second relation, expected a constant in front of the first");
    if (second != relation || relation == Relation::Equal)
      fail("two relations of different directions, expected one direction");
    const Side last = readSide(Place::Later, -1.0);
    if (!last.isConstant()) fail("variables behind the second relation, expected a constant");
    finishRange(left, relation, right, last);
  } else {
    finishRow(left, relation, right);
  }
  std::vector<TavFileProduct> products = _products.take();
  if (!products.empty()) {
    _model.rowParts.push_back({static_cast<std::int32_t>(_model.rows.size()) - 1, std::move(products), {}});
  }
}

/// The row holds where a binary variable is 0 or 1: left is the variable alone.
void TavLpReader::readIndicator(const Side& left, Relation relation, const Side& right) {
  settleNames();
  const bool single = _model.linearValue.size() == _rowBegin + 1 && _model.linearValue.back() == 1.0 &&
                      !left.hasConstant && right.isConstant() && _products.products().empty();
  if (!single || relation != Relation::Equal || (right.constant != 0.0 && right.constant != 1.0)) {
    fail("expected a condition in front of ->: a variable, = and 0 or 1");
  }
  _model.indicators.push_back(
      {static_cast<std::int32_t>(_model.rows.size()) - 1, _model.linearVariable.back(), right.constant == 1.0});
  _model.linearVariable.pop_back();
  _model.linearValue.pop_back();
  take(2);
}

/// A complete side ends here; what stands here does not begin an operand of it.
bool TavLpReader::sideEnds(const Side& side, Place place, Operand operand) const {
  if (operand == Operand::Must) return false;
  const char c = *_at;
  if (c == '-' && _at[1] == '>') return true;
  const bool sign = c == '+' || c == '-';
  if (operand == Operand::Had && place == Place::Later && _atLineStart) return !(sign && side.hasVariables);
  if (!kTavLpBytes.beginsName(c)) return false;
  TavLpSection section;
  const char* end;
  if (operand == Operand::Had) return atSection(section, end) || atLabel(TavLpNameEnd(_at));
  return place == Place::Objective && _atLineStart && atSection(section, end);
}

/// Reads operands up to what is none, and adds the terms, times `factor`, to the row.
TavLpReader::Side TavLpReader::readSide(Place place, double factor) {
  Side side;
  Operand operand = place == Place::Objective ? Operand::May : Operand::Must;
  double sign = 1.0;
  bool signedAlready = false;
  for (;;) {
    if (operand == Operand::Had && place != Place::Later && side.hasVariables) plainTerms();
    const char c = peek();
    if (sideEnds(side, place, operand)) return side;
    const bool begins = (c >= '0' && c <= '9') || c == '.' || c == '[' || kTavLpBytes.beginsName(c);
    if (c == '+' || c == '-') {
      if (signedAlready) fail("a second sign, expected a number or a name");
      sign = c == '-' ? -1.0 : 1.0;
      signedAlready = true;
      operand = Operand::Must;
      take(1);
      continue;
    }
    if (!begins || operand == Operand::Had) {
      if (operand == Operand::Must) fail("expected a number or a name, found " + found());
      if (begins) fail("expected an operator, a relation or a section, found " + found());
      return side;
    }
    if (side.infinite != 0) fail("more than an infinity, expected a bound or a finite expression");
    if (c == '[') {
      readProducts(place, sign * factor);
      side.hasVariables = true;
    } else if (kTavLpBytes.beginsName(c)) {
      readName(side, sign, factor);
    } else {
      readNumber(side, place, sign, factor);
    }
    sign = 1.0;
    signedAlready = false;
    operand = Operand::Had;
  }
}

/// A constant, or the coefficient of the variable behind it.
void TavLpReader::readNumber(Side& side, Place place, double sign, double factor) {
  const double value = sign * number();
  const char next = peek();
  const bool newRow = place == Place::Later && _atLineStart;
  if (next == '[' && !newRow) fail("a coefficient in front of [, expected it inside the brackets");
  if (kTavLpBytes.beginsName(next) && !newRow) {
    TavLpSection section;
    const char* end;
    const bool coefficient = !(_atLineStart && atSection(section, end)) && !atLabel(TavLpNameEnd(_at));
    if (coefficient && infinityAt(end)) fail("a multiple of infinity, expected a variable");
    if (coefficient) return readName(side, value, factor);
  }
  side.constant += value;
  side.hasConstant = true;
  if (std::isinf(side.constant)) fail("constants add up beyond the range of a double, expected smaller ones");
}

void TavLpReader::readName(Side& side, double coefficient, double factor) {
  const char* end;
  if (infinityAt(end)) {
    if (side.hasVariables || side.hasConstant) fail("an infinity in an expression, expected a finite number");
    side.infinite = coefficient < 0 ? -1 : 1;
    take(static_cast<std::size_t>(end - _at));
    return;
  }
  addTerm(takeName(), coefficient * factor);
  side.hasVariables = true;
}

/// Takes terms that are a sign, perhaps a number, and a name on one line. What is something else is left to readSide.
void TavLpReader::plainTerms() {
  for (;;) {
    const char* at = _at;
    const char* lineBegin = _lineBegin;
    std::uint64_t line = _line;
    for (; *at == ' ' || *at == '\n'; ++at) {
      if (*at == ' ') continue;
      if (at + 1 == _input.end()) return;
      lineBegin = at + 1;
      ++line;
    }
    if (*at != '+' && *at != '-') return;
    double value = *at == '-' ? -1.0 : 1.0;
    for (++at; *at == ' '; ++at) {
    }
    if ((*at >= '0' && *at <= '9') || *at == '.') {
      const TavScannedNumber scanned = TavScanNumber(at);
      if (scanned.fault != TavNumberFault::None) return;
      value *= scanned.value;
      for (at = scanned.end; *at == ' '; ++at) {
      }
    }
    if (!kTavLpBytes.beginsName(*at) || TavLowerLetter(*at) == 'i') return;  // perhaps an infinity
    const char* const end = TavLpNameEnd(at);
    if (atLabel(end)) return;
    _line = line;
    _lineBegin = lineBegin;
    _at = end;
    _atLineStart = false;
    addTerm({at, static_cast<std::size_t>(end - at)}, value);
  }
}

void TavLpReader::addTerm(std::string_view name, double value) {
  const TavNameTable::Key key = TavNameTable::keyOf(name);
  _model.variableNames.prefetch(key);
  const auto row = static_cast<std::int32_t>(_model.rows.size()) - 1;
  _pending[_pendingCount++] = {name.data(), key, value, row, TavNameTable::kNone};
  if (_pendingCount == kMostPending) settleNames(kKeptPending);
}

void TavLpReader::settleNames(int kept) {
  const int pending = std::exchange(_pendingCount, 0);
  kept = std::min(kept, pending);
  Pending* const end = _pending + (pending - kept);
  for (Pending* term = _pending; term != end; ++term) {
    term->variable = enter(term->name(), term->key);
    __builtin_prefetch(&_lastPlace[static_cast<std::size_t>(term->variable)], 1);
  }
  for (const Pending* term = _pending; term != end; ++term) {
    closeRowsBefore(term->row);
    addTerm(term->variable, term->value);
  }
  std::copy(end, end + kept, _pending);
  _pendingCount = kept;
  if (kept == 0) closeRowsBefore(static_cast<std::int32_t>(_model.rows.size()) - 1);
}

void TavLpReader::closeRowsBefore(std::int32_t row) {
  for (auto closed = static_cast<std::int32_t>(_model.linearBegin.size()) - 1; closed < row; ++closed) {
    if (_addedUp) compactTerms(_rowPlaces[static_cast<std::size_t>(closed)].unpacked());
    _rowBegin = _model.linearValue.size();
    _model.linearBegin.push_back(_rowBegin);
  }
}

void TavLpReader::addTerm(std::int32_t variable, double value) {
  std::size_t& place = _lastPlace[static_cast<std::size_t>(variable)];
  const std::size_t size = _model.linearValue.size();
  if (place < size && place >= _rowBegin && _model.linearVariable[place] == variable) {
    _model.linearValue[place] += value;
    _addedUp = true;
  } else if (value != 0.0) {
    place = size;
    _model.linearVariable.push_back(variable);
    _model.linearValue.push_back(value);
  }
}

/// Of the terms that were added up in the row or the objective at `place`, some may be 0 or too large now.
void TavLpReader::compactTerms(TavFilePlace place) {
  _addedUp = false;
  std::size_t to = _rowBegin;
  for (std::size_t from = _rowBegin; from != _model.linearValue.size(); ++from) {
    const double value = _model.linearValue[from];
    if (std::isinf(value)) fail(place, "coefficients add up beyond the range of a double, expected smaller ones");
    if (value == 0.0) continue;
    _model.linearVariable[to] = _model.linearVariable[from];
    _model.linearValue[to++] = value;
  }
  _model.linearVariable.resize(to);
  _model.linearValue.resize(to);
}

/// [ ... ] in rows, [ ... ] / 2 in the objective.
void TavLpReader::readProducts(Place place, double factor) {
  const double scale = place == Place::Objective ? 0.5 : 1.0;
  take(1);
  bool first = true;
  while (peek() != ']') {
    double sign = 1.0;
    const char c = peek();
    if (c == '+' || c == '-') {
      sign = c == '-' ? -1.0 : 1.0;
      take(1);
    } else if (!first) {
      fail("expected +, - or ], found " + found());
    }
    readProduct(sign * factor, scale);
    first = false;
  }
  take(1);
  const bool divided = peek() == '/';
  if (divided != (place == Place::Objective)) {
    fail(divided ? "a division of a quadratic part of a row, expected / only in the objective"
                 : "expected / 2 behind the quadratic part of the objective, found " + found());
  }
  if (!divided) return;
  take(1);
  peek();
  const char* at = _at;
  if (number() != 2.0) fail(at, "expected / 2 behind the quadratic part of the objective");
}

/// Coefficient, variable, and ^ 2 or * and a variable.
void TavLpReader::readProduct(double factor, double scale) {
  double coefficient = 1.0;
  const char c = peek();
  const TavFilePlace place = placeOf(_at);
  if ((c >= '0' && c <= '9') || c == '.') coefficient = number();
  peek();
  const std::int32_t first = variableOf(takeName());
  std::int32_t second = first;
  const char sign = peek();
  if (sign != '^' && sign != '*') fail("expected ^ 2 or * and a variable, found " + found());
  take(1);
  peek();
  if (sign == '*') {
    second = variableOf(takeName());
  } else {
    const char* at = _at;
    if (number() != 2.0) fail(at, "expected the exponent 2");
  }
  const double value = coefficient * scale;
  if (value / scale != coefficient) fail(place, "half of this coefficient is no double, expected a larger one");
  _products.add(first, second, factor * value);
}

void TavLpReader::setRowBound(TavFileRow& row, Relation relation, double value, int infinite) {
  if (infinite != 0) value = infinite * kTavInfinity;
  if (std::fabs(value) >= _input.options().infinity) value = std::copysign(kTavInfinity, value);
  const bool impossible = (relation == Relation::AtLeast && value == kTavInfinity) ||
                          (relation == Relation::AtMost && value == -kTavInfinity) ||
                          (relation == Relation::Equal && std::isinf(value));
  if (impossible) fail("the row has a bound that counts as infinite, expected one that can be met");
  if (relation != Relation::AtMost) row.lower = value;
  if (relation != Relation::AtLeast) row.upper = value;
}

void TavLpReader::negateTerms() {
  settleNames();
  for (std::size_t i = _rowBegin; i != _model.linearValue.size(); ++i) _model.linearValue[i] = -_model.linearValue[i];
  _products.negate();
}

/// left relation right; all variables stand on the left already. With all of them on the right the relation is turned.
void TavLpReader::finishRow(const Side& left, Relation relation, const Side& right) {
  TavFileRow& row = _model.rows.back();
  if (left.infinite != 0 && right.infinite != 0) fail("infinity on both sides, expected a finite expression");
  if (!left.isConstant() || right.isConstant()) {
    if (left.infinite != 0) fail("an infinite expression, expected a finite one");
    return setRowBound(row, relation, right.constant - left.constant, right.infinite);
  }
  negateTerms();
  setRowBound(row, turned(relation), left.constant - right.constant, left.infinite);
}

/// left relation middle relation right; the terms are those of the middle, negated.
void TavLpReader::finishRange(const Side& left, Relation relation, const Side& middle, const Side& right) {
  if (middle.infinite != 0) fail("an infinite expression between two relations, expected a finite one");
  negateTerms();
  TavFileRow& row = _model.rows.back();
  setRowBound(row, turned(relation), left.constant - middle.constant, left.infinite);
  setRowBound(row, relation, right.constant - middle.constant, right.infinite);
}
