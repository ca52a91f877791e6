/// The lines that most of an MPS file consists of: column, row, number and perhaps row, number, separated by blanks.
/// They are taken without cutting the line into fields first. All other lines, and all mistakes, are left to
/// columnLine.

#include "modelfile/mps_reader.h"

namespace {

const char* skipSpaces(const char* at) noexcept {
  while (*at == ' ') ++at;
  return at;
}

/// Begins a comment or a marker.
bool isSpecial(char c) noexcept { return c == '$' || c == '*' || c == '\''; }

}  // namespace

struct TavMpsReader::PlainEntry {
  const char* row;
  TavNameTable::Key key;
  double value;
  const char* number;
  const char* numberEnd;
};

/// Reads row and number at `at`, which moves behind the blanks that follow or to the end of the line.
bool TavMpsReader::plainEntry(const char*& at, PlainEntry& entry) const {
  entry.row = at;
  entry.key = TavNameTable::keyOfWord(at);
  at += entry.key.size;
  if (*at != ' ' || entry.key.size == 0 || isSpecial(*entry.row)) return false;
  entry.number = skipSpaces(at);
  const bool negative = *entry.number == '-';
  const TavScannedNumber scanned = TavScanNumber<true>(entry.number + negative);
  if (scanned.fault != TavNumberFault::None) return false;
  entry.value = negative ? -scanned.value : scanned.value;
  entry.numberEnd = scanned.end;
  at = skipSpaces(scanned.end);
  if (*at == '\r' && at[1] == '\n') ++at;
  return *at == '\n' || at != scanned.end;
}

/// Takes lines as long as they are plain.
void TavMpsReader::plainColumnLines() {
  for (const char* line = _lines.ahead(); line && plainColumnLine(line); line = _lines.ahead()) {
  }
  if (!_lines.ahead()) settleEntries();
}

bool TavMpsReader::plainColumnLine(const char* line) {
  if (*line != ' ') return false;
  const char* const column = skipSpaces(line);
  const TavNameTable::Key key = TavNameTable::keyOfWord(column);
  const char* const columnEnd = column + key.size;
  if (*columnEnd != ' ' || isSpecial(*column)) return false;
  const char* at = skipSpaces(columnEnd);
  PlainEntry entries[2];
  int count = 0;
  do {
    if (count == 2 || !plainEntry(at, entries[count])) return false;
    ++count;
  } while (*at != '\n');
  if (!_lines.isFree()) {
    bool clear = _lines.isInColumns(line, 1, column, columnEnd);
    for (int i = 0; i < count; ++i) {
      const PlainEntry& entry = entries[i];
      clear = clear && _lines.isInColumns(line, 2 + 2 * i, entry.row, entry.row + entry.key.size) &&
              _lines.isInColumns(line, 3 + 2 * i, entry.number, entry.numberEnd);
    }
    if (!clear) return false;
  }
  const bool same =
      _model.variableNames.size() > 0 && key.word == _columnKey.word && key.size == _columnKey.size &&
      (key.size <= 8 || _model.variableNames[_model.variableNames.size() - 1] == std::string_view(column, key.size));
  const bool inObjective = isObjective(entries[0].row, entries[0].key);
  const bool alsoInObjective = count == 2 && isObjective(entries[1].row, entries[1].key);
  const bool had = same && _lastColumnOfObjective == _model.variableNames.size() - 1;
  if ((inObjective && (had || alsoInObjective)) || (alsoInObjective && had)) return false;

  _lines.pass(at + 1);
  if (!same) beginColumn({column, key.size});
  for (int i = 0; i < count; ++i) takeEntry(entries[i].row, entries[i].key, entries[i].value);
  return true;
}
