#pragma once
/// A problem's description as a .nl file in text form, for the solver library that reads them.

#include <string>
#include <vector>

/// A term in prefix notation.
struct NlTerm {
  struct Token {
    enum Kind { Operator, Number, Column } kind;
    int what;
    double number;
  };
  std::vector<Token> tokens;
};

NlTerm operator+(const NlTerm& a, const NlTerm& b);
NlTerm operator-(const NlTerm& a, const NlTerm& b);
NlTerm operator*(const NlTerm& a, const NlTerm& b);
NlTerm operator-(double a, const NlTerm& b);
NlTerm operator*(double a, const NlTerm& b);
NlTerm sqr(const NlTerm& a);
NlTerm sin(const NlTerm& a);
NlTerm cos(const NlTerm& a);

/// Receives the description, then writes it. The format requires the columns of non-linear terms first, those of
/// constraints and objective before those of either, and the non-linear rows first.
class NlFile {
 public:
  NlFile(int columns, int rows);

  NlTerm x(int column) const { return {{{NlTerm::Token::Column, column, 0}}}; }
  void constant(int row, double value) { at(row).constant += value; }
  void linear(int row, double coefficient, int column) { at(row).linear.emplace_back(column, coefficient); }
  void add(int row, const NlTerm& term);

  void write(const std::string& path);

  std::vector<int> columnAt, rowAt;  ///< of the problem, for each position in the file

 private:
  struct Row {
    double constant = 0;
    std::vector<std::pair<int, double>> linear;
    std::vector<NlTerm> terms;
    std::vector<int> columns;  // of the terms
  };
  Row& at(int row) { return _rows[static_cast<std::size_t>(row + 1)]; }  // the objective comes first
  void order();
  std::vector<std::pair<int, double>> entriesOf(const Row& row) const;
  void writeBody(std::FILE* file, const Row& row) const;

  std::vector<Row> _rows;
  std::vector<char> _inRow, _inObjective;  // by column: whether a non-linear term has it
  std::vector<int> _placeOf;
  int _both = 0, _rowsOnly = 0, _objectiveOnly = 0, _nonlinearRows = 0;
};
