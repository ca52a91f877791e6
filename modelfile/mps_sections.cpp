/// Quadratic parts, special ordered sets and indicators of the MPS reader.

#include <algorithm>
#include <cmath>

#include "modelfile/mps_reader.h"
#include "modelfile/words.h"

void TavMpsReader::beginQuadratic(const TavMpsFields& header) {
  refuseWords(header, 1);
  if (!_hasObjective) _lines.fail(header[0], "a quadratic objective, but no row of type N, expected one");
  _quadraticRow = kObjective;
  _matrixFactor = 0.5;
}

void TavMpsReader::beginRowQuadratic(const TavMpsFields& header) {
  refuseWords(header, 2);
  if (header.count < 2) _lines.failBehind("expected the name of a row");
  _quadraticRow = rowOf(header[1]);
  const bool matrix = _section->line == &TavMpsReader::matrixLine;
  if (matrix && _quadraticRow == kObjective) {
    _lines.fail(header[1], "the objective in QCMATRIX, expected QMATRIX or QUADOBJ for it");
  }
  if (_products.count(_quadraticRow) != 0) {
    _lines.fail(header[1], "a second quadratic part of " + TavQuoted(header[1]) + ", expected one");
  }
  _matrixFactor = 1.0;
}

TavProductSum& TavMpsReader::productsOf(std::int32_t row) { return _products[row]; }

/// One triangle of a symmetric matrix Q, of which half counts: x'Qx / 2. What is given twice adds up.
void TavMpsReader::quadraticLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  if (fields.count != 3 && !(fields.count > 3 && isComment(fields[3], {}, true))) {
    _lines.failLine("expected three fields: column, column, coefficient");
  }
  const std::int32_t a = columnOf(fields[0]), b = columnOf(fields[1]);
  const double value = number(fields[2], "a coefficient");
  const double half = a == b ? value / 2 : value;
  if (a == b && half * 2 != value) _lines.fail(fields[2], "half of this number is no double, expected a larger one");
  productsOf(_quadraticRow).add(a, b, half);
}

/// A whole symmetric matrix.
void TavMpsReader::matrixLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  if (fields.count != 3 && !(fields.count > 3 && isComment(fields[3], {}, true))) {
    _lines.failLine("expected three fields: column, column, coefficient");
  }
  const std::int32_t a = columnOf(fields[0]), b = columnOf(fields[1]);
  const auto key = static_cast<std::uint64_t>(std::min(a, b)) << 32 | static_cast<std::uint32_t>(std::max(a, b));
  MatrixPair& pair = _matrix[key];
  MatrixEntry& entry = a <= b ? pair.upper : pair.lower;
  if (entry.seen) {
    _lines.fail(fields[0],
                "a second entry of " + TavQuoted(fields[0]) + " and " + TavQuoted(fields[1]) + ", expected one");
  }
  entry = {number(fields[2], "a coefficient"), true, _lines.placeOf(fields[0])};
  if (a == b) {
    pair.lower = pair.upper;
    const double value = entry.value * _matrixFactor;
    if (value / _matrixFactor != entry.value) {
      _lines.fail(fields[2], "half of this number is no double, expected a larger one");
    }
    productsOf(_quadraticRow).add(a, a, value);
  } else if (pair.upper.seen && pair.lower.seen) {
    // By contract: both halves of an entry off the diagonal count.
    productsOf(_quadraticRow).add(a, b, entry.value * _matrixFactor * 2);
  } else {
    productsOf(_quadraticRow).add(a, b, 0.0);
  }
}

void TavMpsReader::leaveMatrix() {
  const MatrixEntry* first = nullptr;
  for (const auto& [key, pair] : _matrix) {
    if (pair.upper.seen && pair.lower.seen && pair.upper.value == pair.lower.value) continue;
    const MatrixEntry& seen = pair.upper.seen ? pair.upper : pair.lower;
    const TavFilePlace& a = seen.place;
    if (!first || a.line < first->place.line) first = &seen;
  }
  if (first) {
    throw TavFileError(_input.name(), first->place,
                       "an entry without an equal one on the other side of the diagonal, expected a symmetric matrix");
  }
  _matrix.clear();
}

void TavMpsReader::finishProducts() {
  const auto fits = [&](const std::vector<TavFileProduct>& products, const std::string& row) {
    for (const TavFileProduct& product : products) {
      if (std::isinf(product.value))
        _lines.failLine("a quadratic coefficient of " + TavQuoted(row) +
                        " beyond the range of a double, expected smaller ones");
    }
  };
  if (const auto found = _products.find(kObjective); found != _products.end()) {
    _objective.products = found->second.take();
    fits(_objective.products, _objectiveName);
    _products.erase(found);
  }
  for (auto& [row, sum] : _products) {
    std::vector<TavFileProduct> products = sum.take();
    fits(products, std::string(_model.rowNames[row]));
    if (!products.empty()) _model.rowParts.push_back({row, std::move(products), {}});
  }
  std::sort(_model.rowParts.begin(), _model.rowParts.end(),
            [](const TavFileRowPart& a, const TavFileRowPart& b) { return a.row < b.row; });
}

void TavMpsReader::beginSets(const TavMpsFields& header) {
  refuseWords(header, 1);
  _setType = 0;
}

void TavMpsReader::beginTypedSets(const TavMpsFields& header) {
  refuseWords(header, 1);
  _setType = header[0].back() == '1' ? 1 : 2;
}

/// A set begins with S1 or S2 in the section SOS, and with SOS in the first field in the sections SOS1 and SOS2.
void TavMpsReader::setLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  const bool atStart = fields[0].data() - _lines.text().data() <= 2;
  std::uint8_t type = 0;
  if (_setType == 0 && (fields[0] == "S1" || fields[0] == "S2")) type = fields[0] == "S1" ? 1 : 2;
  if (_setType != 0 && atStart && fields[0] == "SOS") type = _setType;
  if (type == 0) return memberLine(fields);
  // Behind it stand perhaps the word SOS, the name, and perhaps a priority.
  int name = 1;
  if (fields.count > 2 && fields[1] == "SOS") name = 2;
  if (fields.count <= name || fields.count > name + 2)
    _lines.failLine("expected a type, a name and perhaps a priority of a set");
  if (fields.count == name + 2) number(fields[name + 1], "a priority");
  if (!_setNames.insert(std::string(fields[name])).second) {
    _lines.fail(fields[name], "a second set " + TavQuoted(fields[name]) + ", expected a new name");
  }
  _model.sets.push_back({std::string(fields[name]), type, {}});
}

void TavMpsReader::memberLine(const TavMpsFields& fields) {
  if (_model.sets.empty()) _lines.failLine("a member before any set, expected a line that begins with S1 or S2");
  if (fields.count != 2 && fields.count != 3) _lines.failLine("expected a column and its weight");
  const std::string_view name = fields[fields.count - 2];
  const std::int32_t column = columnOf(name);
  TavFileSet& set = _model.sets.back();
  if (set.members.empty()) _members.clear();
  if (!_members.insert(column).second) {
    _lines.fail(name, TavQuoted(name) + " a second time in this set, expected it once");
  }
  set.members.push_back({column, number(fields[fields.count - 1], "a weight")});
}

void TavMpsReader::indicatorLine() {
  const TavMpsFields& fields = _lines.fields(_section->plausible);
  if (fields.count != 4 || fields[0] != "IF") _lines.failLine("expected IF, a row, a binary column and 0 or 1");
  const std::int32_t row = trueRowOf(fields[1]);
  const std::int32_t column = columnOf(fields[2]);
  const double value = number(fields[3], "0 or 1");
  if (value != 0.0 && value != 1.0)
    _lines.fail(fields[3], TavQuoted(fields[3]) + " as value of an indicator, expected 0 or 1");
  if (!_indicatorRows.insert(row).second) {
    _lines.fail(fields[1], "a second indicator of " + TavQuoted(fields[1]) + ", expected one");
  }
  _model.indicators.push_back({row, column, value == 1.0});
}

void TavMpsReader::finishIndicators() {
  std::sort(_model.indicators.begin(), _model.indicators.end(),
            [](const TavFileIndicator& a, const TavFileIndicator& b) { return a.row < b.row; });
}
