/// Bounds of the LP reader.

#include <cmath>

#include "modelfile/lp_reader.h"
#include "modelfile/words.h"

std::int32_t TavLpReader::variableOf(std::string_view name) {
  settleNames();
  return enter(name, TavNameTable::keyOf(name));
}

/// The variable of this name, which stands in the window; a new one where there is none. Only new names are checked:
/// known ones have been.
std::int32_t TavLpReader::enter(std::string_view name, const TavNameTable::Key& key) {
  const std::int32_t variable = _model.variableNames.insert(name, key);
  if (static_cast<std::size_t>(variable) == _model.variables.size()) {
    checkName(name);
    _model.variables.emplace_back();
    _states.emplace_back();
    _lastPlace.push_back(static_cast<std::size_t>(-1));
  }
  return variable;
}

std::int32_t TavLpReader::knownVariable(std::string_view name) const {
  const std::int32_t variable = TavKnownOrNext(_model.variableNames, name, _nextVariable);
  if (variable == TavNameTable::kNone) {
    fail(name.data(), "\"" + std::string(name) + "\" is in no objective and no row, expected a variable that is");
  }
  return variable;
}

void TavLpReader::readBounds() {
  for (;;) {
    const char c = peek();
    if (c == 0) return;
    TavLpSection section;
    const char* end;
    if (kTavLpBytes.beginsName(c) && _atLineStart && atSection(section, end)) return;
    readBound();
  }
}

/// A signed number or infinity.
double TavLpReader::boundValue() {
  double sign = 1.0;
  const char c = peek();
  if (c == '+' || c == '-') {
    sign = c == '-' ? -1.0 : 1.0;
    take(1);
    peek();
  }
  const char* end;
  if (infinityAt(end)) {
    take(static_cast<std::size_t>(end - _at));
    return sign * kTavInfinity;
  }
  return sign * number();
}

/// `x free`, `x <= 4`, `4 >= x`, `-1 <= x <= 4`.
void TavLpReader::readBound() {
  const char* end;
  if (kTavLpBytes.beginsName(peek()) && !infinityAt(end)) {
    const TavFilePlace start = placeOf(_at);
    const std::int32_t variable = knownVariable(name());
    Relation relation;
    if (this->relation(relation)) {
      peek();
      const TavFilePlace place = placeOf(_at);
      return setBound(variable, relation, boundValue(), place);
    }
    const char* word = _at;
    if (!kTavLpBytes.beginsName(*word) || !TavSameWord(name(), "free")) {
      fail(word, "expected a relation or the word free");
    }
    setLower(variable, -kTavInfinity, start);
    return setUpper(variable, kTavInfinity, start);
  }
  const TavFilePlace place = placeOf(_at);
  const double first = boundValue();
  Relation relation, second;
  if (!this->relation(relation)) fail("expected a relation, found " + found());
  peek();
  const std::int32_t variable = knownVariable(name());
  setBound(variable, turned(relation), first, place);
  if (!this->relation(second)) return;
  if (second != relation || relation == Relation::Equal)
    fail("two relations of different directions, expected one direction");
  peek();
  const TavFilePlace behind = placeOf(_at);
  setBound(variable, second, boundValue(), behind);
}

void TavLpReader::setBound(std::int32_t variable, Relation relation, double value, TavFilePlace place) {
  if (relation != Relation::AtMost) setLower(variable, value, place);
  if (relation != Relation::AtLeast) setUpper(variable, value, place);
}

void TavLpReader::setLower(std::int32_t variable, double value, TavFilePlace place) {
  const auto at = static_cast<std::size_t>(variable);
  if (value >= _input.options().infinity) {
    fail(place, "a lower bound that counts as +infinity, expected a finite one or none");
  }
  if (value <= -_input.options().infinity) value = -kTavInfinity;
  if (_states[at].lower && _model.variables[at].lower != value) {
    fail(place, "a second lower bound of \"" + std::string(_model.variableNames[variable]) + "\", expected one");
  }
  _states[at].lower = true;
  _model.variables[at].lower = value;
}

void TavLpReader::setUpper(std::int32_t variable, double value, TavFilePlace place) {
  const auto at = static_cast<std::size_t>(variable);
  if (value <= -_input.options().infinity) {
    fail(place, "an upper bound that counts as -infinity, expected a finite one or none");
  }
  if (value >= _input.options().infinity) value = kTavInfinity;
  if (_states[at].upper && _model.variables[at].upper != value) {
    fail(place, "a second upper bound of \"" + std::string(_model.variableNames[variable]) + "\", expected one");
  }
  if (value < 0.0) _negativeUppers.try_emplace(variable, place);
  _states[at].upper = true;
  _model.variables[at].upper = value;
}
