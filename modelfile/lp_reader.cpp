#include "modelfile/lp_reader.h"

#include <algorithm>

#include "modelfile/words.h"

TavFileModel TavReadLp(TavFileInput& input) { return TavLpReader(input).read(); }

TavFileModel TavLpReader::read() {
  _line = 1;
  nextWindow();
  readSense();
  readObjective();
  readSections();
  finish();
  return std::move(_model);
}

void TavLpReader::readSense() {
  const char c = peek();
  const char* end = kTavLpBytes.beginsName(c) ? TavLpNameEnd(_at) : _at;
  const std::string_view word(_at, static_cast<std::size_t>(end - _at));
  const auto is = [&](std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(), [&](const char* known) { return TavSameWord(word, known); });
  };
  _objective.maximise = is({"max", "maximize", "maximise", "maximum"});
  if (!_objective.maximise && !is({"min", "minimize", "minimise", "minimum"})) {
    fail("expected Minimize or Maximize, found " + found());
  }
  take(word.size());
}

/// The section that begins at hand; none: fails.
TavLpSection TavLpReader::requireSection() {
  TavLpSection section = TavLpSection::None;
  const char* end = nullptr;
  if (peek() == 0) fail("the file ends without End, expected the rest of it");
  if (!kTavLpBytes.beginsName(*_at) || !atSection(section, end)) fail("expected a section or End, found " + found());
  if (section == TavLpSection::Unsupported) fail("the section " + found() + " is not supported, expected another");
  take(static_cast<std::size_t>(end - _at));
  return section;
}

void TavLpReader::readSections() {
  bool hasRows = false;
  for (;;) {
    peek();
    const TavFilePlace place = placeOf(_at);
    const TavLpSection section = requireSection();
    switch (section) {
      case TavLpSection::End:
        return readEnd();
      case TavLpSection::Rows:
        if (hasRows) fail(place, "a second section of rows, expected one");
        hasRows = true;
        readRows();
        break;
      case TavLpSection::Bounds:
        readBounds();
        break;
      case TavLpSection::Sets:
      case TavLpSection::Sets1:
      case TavLpSection::Sets2:
        readSets(section);
        break;
      default:
        readList(section);
    }
  }
}

void TavLpReader::readEnd() {
  if (peek() != 0) fail("text behind End, expected the end of the file");
}

/// Names of variables of one kind. A word of a section counts at the start of a line; elsewhere a variable of that name
/// comes first.
void TavLpReader::readList(TavLpSection section) {
  for (;;) {
    if (peek() == 0) return;
    TavLpSection next;
    const char* end;
    if (kTavLpBytes.beginsName(*_at) && atSection(next, end)) {
      const bool isVariable = _model.variableNames.find({_at, static_cast<std::size_t>(end - _at)}) >= 0;
      if (isVariable && _atLineStart) fail(found() + " is a section and a variable, expected it behind another name");
      if (!isVariable) return;
    }
    Variable& state = _states[static_cast<std::size_t>(knownVariable(name()))];
    state.integer |= section == TavLpSection::Integer;
    state.binary |= section == TavLpSection::Binary;
    state.semi |= section == TavLpSection::Semi;
  }
}

/// `name: S1:: x:1 y:2` in the section SOS, `name: x:1 y:2` in the sections SOS1 and SOS2. A name in front of a colon
/// is that of a member when a number follows, else that of a set.
void TavLpReader::readSets(TavLpSection section) {
  for (;;) {
    if (peek() == 0) return;
    TavLpSection next;
    const char* end;
    if (kTavLpBytes.beginsName(*_at) && _atLineStart && atSection(next, end)) return;
    TavFileSet set;
    set.type = section == TavLpSection::Sets2 ? 2 : 1;
    const char* at = _at;
    std::string_view word = name();
    const auto isType = [&] { return TavSameWord(word, "S1") || TavSameWord(word, "S2"); };
    const auto takeColon = [&](const char* expectation) {
      if (peek() != ':') fail(expectation + found());
      take(1);
    };
    bool hasType = section == TavLpSection::Sets && isType() && _at[0] == ':' && _at[1] == ':';
    if (!hasType) {
      set.name = word;
      if (!_setNames.insert(set.name).second) fail(at, "a second set \"" + set.name + "\", expected a new name");
      takeColon("expected a colon, found ");
      if (section == TavLpSection::Sets) {
        peek();
        at = _at;
        word = name();
        hasType = isType();
        if (!hasType) fail(at, "expected the type of the set, S1:: or S2::");
      }
    }
    if (hasType) {
      set.type = word.back() == '1' ? 1 : 2;
      takeColon("expected ::, found ");
      takeColon("expected ::, found ");
    }
    readMembers(set);
    _model.sets.push_back(std::move(set));
  }
}

void TavLpReader::readMembers(TavFileSet& set) {
  std::unordered_set<std::int32_t> members;
  while (kTavLpBytes.beginsName(peek())) {
    const char* end = TavLpNameEnd(_at);
    const char* behind = end;
    while (*behind == ' ' || *behind == '\t') ++behind;
    if (*behind != ':') return;
    for (++behind; *behind == ' ' || *behind == '\t'; ++behind) {
    }
    const bool weight = (*behind >= '0' && *behind <= '9') || *behind == '.' || *behind == '-' || *behind == '+';
    if (!weight) return;
    const char* at = _at;
    const std::int32_t variable = knownVariable(name());
    if (!members.insert(variable).second) fail(at, "a second time in this set, expected each variable once");
    peek();
    take(1);
    peek();
    const double sign = *_at == '-' ? -1.0 : 1.0;
    if (*_at == '-' || *_at == '+') take(1);
    set.members.push_back({variable, sign * number()});
  }
}

void TavLpReader::finish() {
  for (std::int32_t variable = 0; variable < _model.variableNames.size(); ++variable) finishVariable(variable);
  _model.objectives.push_back(std::move(_objective));
}

void TavLpReader::finishVariable(std::int32_t variable) {
  const auto at = static_cast<std::size_t>(variable);
  const Variable& state = _states[at];
  TavFileVariable& result = _model.variables[at];
  const auto name = [&] { return '"' + std::string(_model.variableNames[variable]) + '"'; };
  if (result.upper < 0.0 && !state.lower) {
    fail(_negativeUppers.at(variable),
         "the upper bound of " + name() + " is below 0, its lower bound, expected a lower bound too");
  }
  if (state.semi && (result.lower < 0.0 || state.binary)) {
    fail("the semi-continuous variable " + name() + " is binary or has a lower bound below 0, expected neither");
  }
  if (state.semi) {
    result.kind = state.integer ? TavFileKind::SemiInteger : TavFileKind::SemiContinuous;
  } else if (state.binary) {
    result.kind = TavFileKind::Binary;
    result.lower = std::max(result.lower, 0.0);
    result.upper = std::min(result.upper, 1.0);
  } else if (state.integer) {
    result.kind = TavFileKind::Integer;
  }
}
