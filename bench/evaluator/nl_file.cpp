#include "bench/evaluator/nl_file.h"

#include <cstdio>
#include <map>

namespace {

using Token = NlTerm::Token;

// Numbers of operators in the format.
enum : int { kPlus = 0, kMinus = 1, kTimes = 2, kPower = 5, kSine = 41, kCosine = 46, kSumOfList = 54 };

NlTerm number(double value) { return {{{Token::Number, 0, value}}}; }

NlTerm combine(int operation, const NlTerm& a, const NlTerm& b = {}) {
  NlTerm result{{{Token::Operator, operation, 0}}};
  result.tokens.insert(result.tokens.end(), a.tokens.begin(), a.tokens.end());
  result.tokens.insert(result.tokens.end(), b.tokens.begin(), b.tokens.end());
  return result;
}

}  // namespace

NlTerm operator+(const NlTerm& a, const NlTerm& b) { return combine(kPlus, a, b); }
NlTerm operator-(const NlTerm& a, const NlTerm& b) { return combine(kMinus, a, b); }
NlTerm operator*(const NlTerm& a, const NlTerm& b) { return combine(kTimes, a, b); }
NlTerm operator-(double a, const NlTerm& b) { return number(a) - b; }
NlTerm operator*(double a, const NlTerm& b) { return number(a) * b; }
NlTerm sqr(const NlTerm& a) { return combine(kPower, a, number(2)); }
NlTerm sin(const NlTerm& a) { return combine(kSine, a); }
NlTerm cos(const NlTerm& a) { return combine(kCosine, a); }

NlFile::NlFile(int columns, int rows)
    : _rows(static_cast<std::size_t>(rows) + 1),
      _inRow(static_cast<std::size_t>(columns)),
      _inObjective(static_cast<std::size_t>(columns)),
      _placeOf(static_cast<std::size_t>(columns)) {}

void NlFile::add(int row, const NlTerm& term) {
  at(row).terms.push_back(term);
  for (const Token& token : term.tokens) {
    if (token.kind != Token::Column) continue;
    at(row).columns.push_back(token.what);
    (row < 0 ? _inObjective : _inRow)[static_cast<std::size_t>(token.what)] = 1;
  }
}

void NlFile::order() {
  const auto take = [this](bool inRow, bool inObjective) {
    int count = 0;
    for (std::size_t i = 0; i < _inRow.size(); ++i) {
      if ((_inRow[i] != 0) != inRow || (_inObjective[i] != 0) != inObjective) continue;
      _placeOf[i] = static_cast<int>(columnAt.size());
      columnAt.push_back(static_cast<int>(i));
      ++count;
    }
    return count;
  };
  _both = take(true, true);
  _rowsOnly = take(true, false);
  _objectiveOnly = take(false, true);
  take(false, false);
  for (const bool nonlinear : {true, false}) {
    for (std::size_t row = 1; row < _rows.size(); ++row) {
      if (_rows[row].terms.empty() != nonlinear) rowAt.push_back(static_cast<int>(row) - 1);
    }
    if (nonlinear) _nonlinearRows = static_cast<int>(rowAt.size());
  }
}

std::vector<std::pair<int, double>> NlFile::entriesOf(const Row& row) const {
  std::map<int, double> entries;
  for (const auto& [column, coefficient] : row.linear)
    entries[_placeOf[static_cast<std::size_t>(column)]] += coefficient;
  for (const int column : row.columns) entries[_placeOf[static_cast<std::size_t>(column)]] += 0;
  return {entries.begin(), entries.end()};
}

void NlFile::writeBody(std::FILE* file, const Row& row) const {
  const std::size_t parts = row.terms.size() + (row.constant != 0 ? 1 : 0);
  if (parts == 0) std::fputs("n0\n", file);
  if (parts == 2) std::fprintf(file, "o%d\n", kPlus);
  if (parts > 2) std::fprintf(file, "o%d\n%zu\n", kSumOfList, parts);
  for (const NlTerm& term : row.terms) {
    for (const Token& token : term.tokens) {
      if (token.kind == Token::Operator) std::fprintf(file, "o%d\n", token.what);
      if (token.kind == Token::Number) std::fprintf(file, "n%.17g\n", token.number);
      if (token.kind == Token::Column) std::fprintf(file, "v%d\n", _placeOf[static_cast<std::size_t>(token.what)]);
    }
  }
  if (row.constant != 0) std::fprintf(file, "n%.17g\n", row.constant);
}

void NlFile::write(const std::string& path) {
  order();
  const std::size_t n = columnAt.size(), m = rowAt.size();
  std::vector<std::vector<std::pair<int, double>>> entries;
  std::vector<int> starts(n + 1, 0);
  std::size_t nonzeros = 0;
  for (const int row : rowAt) {
    entries.push_back(entriesOf(at(row)));
    nonzeros += entries.back().size();
    for (const auto& [column, coefficient] : entries.back()) ++starts[static_cast<std::size_t>(column)];
  }
  const auto gradient = entriesOf(_rows[0]);
  std::FILE* const file = std::fopen(path.c_str(), "w");
  const int inObjective = _both + (_objectiveOnly > 0 ? _rowsOnly + _objectiveOnly : 0);
  std::fprintf(
      file, "g3 1 1 0\n %zu %zu 1 0 %zu\n %d %d\n 0 0\n %d %d %d\n 0 0 0 1\n 0 0 0 0 0\n %zu %zu\n 0 0\n 0 0 0 0 0\n",
      n, m, m, _nonlinearRows, _rows[0].terms.empty() ? 0 : 1, _both + _rowsOnly, inObjective, _both, nonzeros,
      gradient.size());
  for (std::size_t i = 0; i < m; ++i) {
    std::fprintf(file, "C%zu\n", i);
    writeBody(file, at(rowAt[i]));
  }
  std::fputs("O0 0\n", file);
  writeBody(file, _rows[0]);
  if (m > 0) std::fputs("r\n", file);
  for (std::size_t i = 0; i < m; ++i) std::fputs("4 0\n", file);
  std::fputs("b\n", file);
  for (std::size_t i = 0; i < n; ++i) std::fputs("3\n", file);
  std::fprintf(file, "k%zu\n", n - 1);
  for (std::size_t i = 0, sum = 0; i + 1 < n; ++i) {
    sum += static_cast<std::size_t>(starts[i]);
    std::fprintf(file, "%zu\n", sum);
  }
  for (std::size_t i = 0; i < m; ++i) {
    std::fprintf(file, "J%zu %zu\n", i, entries[i].size());
    for (const auto& [column, coefficient] : entries[i]) std::fprintf(file, "%d %.17g\n", column, coefficient);
  }
  if (!gradient.empty()) std::fprintf(file, "G0 %zu\n", gradient.size());
  for (const auto& [column, coefficient] : gradient) std::fprintf(file, "%d %.17g\n", column, coefficient);
  std::fclose(file);
}
