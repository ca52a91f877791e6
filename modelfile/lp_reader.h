#pragma once
/// Class header of the LP reader.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "modelfile/formats.h"
#include "modelfile/lp_names.h"
#include "modelfile/product_sum.h"

/// Reads one LP file. Blanks, line ends and comments separate; a line end has a meaning of its own in two places: a
/// word of a section counts only at the start of a line, or where nothing but an operator could stand; and a constant
/// on the right-hand side ends a row that no name of a row ends.
class TavLpReader {
 public:
  explicit TavLpReader(TavFileInput& input) : _input(input) {}
  TavFileModel read();

 private:
  enum class Relation : std::uint8_t { AtMost, AtLeast, Equal };
  /// What stands on one side of a relation, the terms apart.
  struct Side {
    double constant = 0.0;
    bool hasVariables = false;
    bool hasConstant = false;
    /// The side is infinite: 1 or -1.
    int infinite = 0;
    bool isConstant() const noexcept { return !hasVariables; }
  };
  /// Which side is read.
  enum class Place : std::uint8_t { Objective, First, Later };
  /// What an expression is waiting for.
  enum class Operand : std::uint8_t { May, Must, Had };
  struct Variable {
    bool lower = false;
    bool upper = false;
    bool integer = false;
    bool binary = false;
    bool semi = false;
  };

  /// A term whose variable has not been looked up yet. The processor fetches what the look-up needs in the meantime.
  struct Pending {
    const char* text;
    TavNameTable::Key key;
    double value;
    std::int32_t row;
    std::int32_t variable;
    std::string_view name() const noexcept { return {text, key.size}; }
  };

  // lp_text.cpp: characters, names, numbers
  char peek();
  bool nextWindow();
  void skipComment();
  void take(std::size_t bytes) noexcept {
    _at += bytes;
    _atLineStart = false;
  }
  char behindBlanks(const char* at) const noexcept;
  bool atSection(TavLpSection& section, const char*& end) const noexcept;
  bool atLabel(const char* nameEnd) const noexcept;
  std::string_view name();
  std::string_view takeName();
  void checkName(std::string_view name) const;
  double number();
  bool relation(Relation& relation);
  bool infinityAt(const char*& end) const noexcept;
  [[noreturn]] void fail(const std::string& what) const { fail(_at, what); }
  [[noreturn]] void fail(const char* at, const std::string& what) const;
  [[noreturn]] void fail(TavFilePlace place, const std::string& what) const;
  TavFilePlace placeOf(const char* at) const noexcept;
  std::string found() const;

  // lp_reader.cpp: the file as a whole, sections
  void readSense();
  void readSections();
  TavLpSection requireSection();
  void readList(TavLpSection section);
  void readSets(TavLpSection section);
  void readMembers(TavFileSet& set);
  void readEnd();
  void finish();
  void finishVariable(std::int32_t variable);

  // lp_rows.cpp: objective and rows
  void readObjective();
  void readRows();
  void readRow();
  void compareRowNames();
  Side readSide(Place place, double factor);
  bool sideEnds(const Side& side, Place place, Operand operand) const;
  void readNumber(Side& side, Place place, double sign, double factor);
  void readName(Side& side, double coefficient, double factor);
  void readProducts(Place place, double factor);
  void readProduct(double factor, double scale);
  void plainTerms();
  void addTerm(std::string_view name, double value);
  void addTerm(std::int32_t variable, double value);
  /// Looks up the names of the pending terms but for the last `kept`, and adds these terms to their rows. With 0, all
  /// rows before the one at hand are closed.
  void settleNames(int kept = 0);
  /// Rows get their terms late: closes those before `row`.
  void closeRowsBefore(std::int32_t row);
  void finishRow(const Side& left, Relation relation, const Side& right);
  void finishRange(const Side& left, Relation relation, const Side& middle, const Side& right);
  void setRowBound(TavFileRow& row, Relation relation, double value, int infinite);
  void readIndicator(const Side& left, Relation relation, const Side& right);
  void compactTerms(TavFilePlace place);
  void negateTerms();
  static Relation turned(Relation relation) noexcept {
    return relation == Relation::Equal ? relation : relation == Relation::AtMost ? Relation::AtLeast : Relation::AtMost;
  }

  // lp_bounds.cpp: bounds
  void readBounds();
  void readBound();
  double boundValue();
  void setBound(std::int32_t variable, Relation relation, double value, TavFilePlace place);
  void setLower(std::int32_t variable, double value, TavFilePlace place);
  void setUpper(std::int32_t variable, double value, TavFilePlace place);
  std::int32_t knownVariable(std::string_view name) const;
  std::int32_t variableOf(std::string_view name);
  std::int32_t enter(std::string_view name, const TavNameTable::Key& key);

  TavFileInput& _input;
  const char* _at = nullptr;
  const char* _lineBegin = nullptr;
  std::uint64_t _line = 0;
  bool _atLineStart = true;
  bool _atEnd = false;

  TavFileModel _model;
  TavFileObjective _objective;
  TavLargeArray<Variable> _states;
  /// Where in the arrays of terms a variable stands last; true only where that place has the variable.
  TavLargeArray<std::size_t> _lastPlace;
  static constexpr int kMostPending = 64;
  /// Terms that stay pending, so that what their look-up needs has time to arrive.
  static constexpr int kKeptPending = 16;
  Pending _pending[kMostPending];
  int _pendingCount = 0;
  /// First term of the row at hand, and whether terms of it were added up.
  std::size_t _rowBegin = 0;
  bool _addedUp = false;
  TavProductSum _products;
  std::unordered_set<std::string> _setNames;
  /// The variable that a bound is about if bounds come in the order of the variables.
  mutable std::int32_t _nextVariable = 0;
  /// Where the rows begin in the file.
  TavLargeArray<TavPackedPlace> _rowPlaces;
  /// Upper bounds below 0 and where they stand.
  std::unordered_map<std::int32_t, TavFilePlace> _negativeUppers;
};
