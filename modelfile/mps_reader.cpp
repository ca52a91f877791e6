#include "modelfile/mps_reader.h"

#include <cmath>

#include "modelfile/words.h"

namespace {

bool isNumber(std::string_view field) {
  const char* at = field.data();
  if (*at == '+' || *at == '-') ++at;
  const TavScannedNumber scanned = TavScanNumber<true>(at);
  return scanned.fault != TavNumberFault::NoNumber && scanned.end == field.data() + field.size();
}

// What a data line looks like, section by section.
bool isRowLine(const TavMpsFields& f) { return f.count == 2 && f[0].size() == 1; }
bool isColumnLine(const TavMpsFields& f) {
  if (f.count == 3 && f[1] == "'MARKER'") return true;
  return (f.count == 3 && isNumber(f[2])) || (f.count == 5 && isNumber(f[2]) && isNumber(f[4]));
}
bool isPairLine(const TavMpsFields& f) {
  if (f.count < 2 || f.count > 5) return false;
  return isNumber(f[f.count - 1]) && (f.count < 4 || isNumber(f[f.count - 3]));
}
bool isBoundLine(const TavMpsFields& f) {
  return f[0].size() == 2 && (f.count == 3 || (f.count == 4 && isNumber(f[3])));
}
bool isProductLine(const TavMpsFields& f) { return f.count == 3 && isNumber(f[2]); }
bool isSetLine(const TavMpsFields& f) { return f.count >= 2 && f.count <= 4; }
bool isIndicatorLine(const TavMpsFields& f) { return f.count == 4 && f[0] == "IF"; }
bool isWord(const TavMpsFields& f) { return f.count == 1; }

}  // namespace

using Mps = TavMpsReader;
const TavMpsReader::Section TavMpsReader::kSections[] = {
    {"NAME", &Mps::beginName, &Mps::noLine, &isWord, false},
    {"OBJSENSE", &Mps::beginSense, &Mps::senseLine, &isWord, false},
    {"OBJNAME", &Mps::beginObjectiveName, &Mps::objectiveNameLine, &isWord, false},
    {"ROWS", &Mps::beginRows, &Mps::rowLine, &isRowLine, false},
    {"COLUMNS", &Mps::beginColumns, &Mps::columnLine, &isColumnLine, false},
    {"RHS", &Mps::beginNothing, &Mps::rhsLine, &isPairLine, false},
    {"RANGES", &Mps::beginNothing, &Mps::rangeLine, &isPairLine, false},
    {"BOUNDS", &Mps::beginNothing, &Mps::boundLine, &isBoundLine, false},
    {"QUADOBJ", &Mps::beginQuadratic, &Mps::quadraticLine, &isProductLine, false},
    {"QMATRIX", &Mps::beginQuadratic, &Mps::matrixLine, &isProductLine, false},
    {"QSECTION", &Mps::beginRowQuadratic, &Mps::quadraticLine, &isProductLine, true},
    {"QCMATRIX", &Mps::beginRowQuadratic, &Mps::matrixLine, &isProductLine, true},
    {"SOS", &Mps::beginSets, &Mps::setLine, &isSetLine, false},
    {"SOS1", &Mps::beginTypedSets, &Mps::setLine, &isSetLine, false},
    {"SOS2", &Mps::beginTypedSets, &Mps::setLine, &isSetLine, false},
    {"INDICATORS", &Mps::beginNothing, &Mps::indicatorLine, &isIndicatorLine, false},
    {"ENDATA", &Mps::beginEnd, &Mps::noLine, &isWord, false}};

TavFileModel TavReadMps(TavFileInput& input) { return TavMpsReader(input).read(); }

TavFileModel TavMpsReader::read() {
  for (;;) {
    if (_section && _section->line == &Mps::columnLine) plainColumnLines();
    if (!_lines.next()) break;
    if (_lines.isHeader()) {
      readHeader();
    } else if (!_section) {
      _lines.failLine("a data line before any section, expected NAME or ROWS");
    } else {
      (this->*_section->line)();
    }
  }
  settleEntries();
  if (!_ended) _lines.failLine("the file ends without ENDATA, expected the rest of it");
  return std::move(_model);
}

void TavMpsReader::readHeader() {
  const TavMpsFields& header = _lines.fields(nullptr);
  if (_ended) _lines.failLine("text behind ENDATA, expected the end of the file");
  for (const Section& section : kSections) {
    // Column names may be words of sections too, but data lines begin with a blank.
    if (TavSameWord(header[0], section.name)) return enter(section, header);
  }
  _lines.fail(header[0], "the section " + TavQuoted(header[0]) +
                             " is not supported, expected one of NAME, OBJSENSE, OBJNAME, ROWS, COLUMNS, RHS, RANGES, "
                             "BOUNDS, QUADOBJ, QMATRIX, QSECTION, QCMATRIX, SOS, INDICATORS, ENDATA");
}

void TavMpsReader::enter(const Section& section, const TavMpsFields& header) {
  if (_section && _section->line == &Mps::matrixLine) leaveMatrix();
  if (_section && _section->line == &Mps::columnLine) endColumns();
  const auto bitOf = [](const Section& which) { return std::uint32_t{1} << (&which - kSections); };
  const auto seen = [&](const char* name) {
    for (const Section& other : kSections) {
      if (std::string_view(other.name) == name) return (_seen & bitOf(other)) != 0;
    }
    return false;
  };
  if (!section.repeats && (_seen & bitOf(section)) != 0) {
    _lines.fail(header[0], std::string("the section ") + section.name + " a second time, expected it once");
  }
  const bool aboutRows = section.line == &Mps::rhsLine || section.line == &Mps::rangeLine;
  const bool first = section.begin == &Mps::beginName || section.line == &Mps::senseLine ||
                     section.line == &Mps::objectiveNameLine || section.line == &Mps::rowLine;
  if (!first && !seen("ROWS")) {
    _lines.fail(header[0], std::string("the section ") + section.name + " before ROWS, expected ROWS first");
  }
  if (!first && !aboutRows && section.line != &Mps::columnLine && !seen("COLUMNS")) {
    _lines.fail(header[0], std::string("the section ") + section.name + " before COLUMNS, expected COLUMNS first");
  }
  _seen |= bitOf(section);
  _section = &section;
  (this->*section.begin)(header);
}

void TavMpsReader::refuseWords(const TavMpsFields& header, int allowed) const {
  if (header.count > allowed && header[allowed].front() != '$' && header[allowed].front() != '*') {
    _lines.fail(header[allowed], TavQuoted(header[allowed]) + " behind the section " + _section->name +
                                     ", expected the end of the line");
  }
}

void TavMpsReader::beginNothing(const TavMpsFields& header) { refuseWords(header, 1); }

void TavMpsReader::beginName(const TavMpsFields& header) {
  if (header.count == 3 && TavSameWord(header[2], "FREE")) {
    _lines.setFree();
    _model.name = header[1];
    return;
  }
  // A name may have blanks: all the rest of the line.
  if (header.count > 1) _model.name = std::string(header[1].data(), _lines.text().data() + _lines.text().size());
}

void TavMpsReader::beginSense(const TavMpsFields& header) {
  refuseWords(header, 2);
  if (header.count > 1) setSense(header[1]);
}

void TavMpsReader::senseLine() {
  const TavMpsFields& fields = _lines.fields(&isWord);
  if (fields.count != 1) _lines.failLine("more than one word, expected MIN or MAX");
  setSense(fields[0]);
}

void TavMpsReader::setSense(std::string_view word) {
  if (_hasSense) _lines.fail(word, "a second sense of the objective, expected one");
  const bool minimise = TavSameWord(word, "MIN") || TavSameWord(word, "MINIMIZE") || TavSameWord(word, "MINIMISE");
  _objective.maximise = TavSameWord(word, "MAX") || TavSameWord(word, "MAXIMIZE") || TavSameWord(word, "MAXIMISE");
  if (!minimise && !_objective.maximise) {
    _lines.fail(word, TavQuoted(word) + " as sense of the objective, expected MIN or MAX");
  }
  _hasSense = true;
}

void TavMpsReader::beginObjectiveName(const TavMpsFields& header) {
  refuseWords(header, 2);
  if (!_rowStates.empty() || _hasObjective) _lines.failLine("OBJNAME behind ROWS, expected it before them");
  if (header.count > 1) _wantedObjective = header[1];
}

void TavMpsReader::objectiveNameLine() {
  const TavMpsFields& fields = _lines.fields(&isWord);
  if (fields.count != 1 || !_wantedObjective.empty()) _lines.failLine("a second name, expected one objective");
  _wantedObjective = fields[0];
}

void TavMpsReader::beginRows(const TavMpsFields& header) { refuseWords(header, 1); }

void TavMpsReader::beginColumns(const TavMpsFields& header) {
  refuseWords(header, 1);
  if (!_wantedObjective.empty() && !_hasObjective) {
    _lines.fail(header[0],
                "no row " + TavQuoted(_wantedObjective) + " of type N, expected the objective that OBJNAME names");
  }
  _entries.begin(_rowStates.size());
}

void TavMpsReader::beginEnd(const TavMpsFields& header) {
  refuseWords(header, 1);
  finish();
  _ended = true;
}

void TavMpsReader::noLine() {
  if (_ended) _lines.failLine("text behind ENDATA, expected the end of the file");
  _lines.failLine(std::string("a data line in the section ") + _section->name + ", expected a section");
}

double TavMpsReader::number(std::string_view field, const char* what, bool infinite) const {
  const char* at = field.data();
  const char* const end = at + field.size();
  const bool negative = *at == '-';
  if (negative || *at == '+') ++at;
  const TavScannedNumber scanned = TavScanNumber<true>(at);
  if (scanned.end == end && scanned.fault == TavNumberFault::None) return negative ? -scanned.value : scanned.value;
  if (scanned.end == end && scanned.fault == TavNumberFault::TooLarge) {
    _lines.fail(field, TavQuoted(field) + " is beyond the range of a double, expected " + what);
  }
  if (scanned.end == end && scanned.fault == TavNumberFault::TooSmall) {
    _lines.fail(field, TavQuoted(field) + " is too small for a double, expected " + what);
  }
  const std::string_view word(at, static_cast<std::size_t>(end - at));
  if (TavSameWord(word, "inf") || TavSameWord(word, "infinity")) {
    if (!infinite) _lines.fail(field, TavQuoted(field) + " is not finite, expected " + what);
    return negative ? -HUGE_VAL : HUGE_VAL;
  }
  _lines.fail(field, TavQuoted(field) + " is not a number, expected " + what);
}

std::int32_t TavMpsReader::rowOf(std::string_view name) const {
  if (_hasObjective && name == _objectiveName) return kObjective;
  const std::int32_t row = TavKnownOrNext(_model.rowNames, name, _nextRow);
  if (row == TavNameTable::kNone) _lines.fail(name, "no row " + TavQuoted(name) + ", expected one of the section ROWS");
  return row;
}

std::int32_t TavMpsReader::trueRowOf(std::string_view name) const {
  const std::int32_t row = rowOf(name);
  if (row == kObjective) _lines.fail(name, TavQuoted(name) + " is the objective, expected a row of type E, L or G");
  return row;
}

std::int32_t TavMpsReader::columnOf(std::string_view name) const {
  const std::int32_t column = TavKnownOrNext(_model.variableNames, name, _nextColumn);
  if (column == TavNameTable::kNone) {
    _lines.fail(name, "no column " + TavQuoted(name) + ", expected one of the section COLUMNS");
  }
  return column;
}

void TavMpsReader::requireSet(std::string_view name, std::string& known, const char* what) const {
  if (known.empty()) known = name;
  if (name != known) {
    _lines.fail(name, std::string("a second set of ") + what + ", " + TavQuoted(name) + ", expected one only, here " +
                          TavQuoted(known));
  }
}

/// A field that begins with $ or * where the line is complete without it begins a comment, unless it is the name of a
/// row and a number follows.
bool TavMpsReader::isComment(std::string_view field, std::string_view behind, bool last) const {
  if (field.front() != '$' && field.front() != '*') return false;
  const bool isRow = (_hasObjective && field == _objectiveName) || _model.rowNames.find(field) != TavNameTable::kNone;
  return last || !isRow || !isNumber(behind);
}
