#pragma once
/// Class header of the MPS reader.

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "modelfile/formats.h"
#include "modelfile/matrix_turner.h"
#include "modelfile/mps_lines.h"
#include "modelfile/product_sum.h"

/// Reads one MPS file: lines come in, section by section; what can be known only at the end (bounds of rows, defaults
/// of bounds, entries row by row) is brought together by finish().
class TavMpsReader {
 public:
  explicit TavMpsReader(TavFileInput& input) : _input(input), _lines(input) {}
  TavFileModel read();

 private:
  static constexpr std::int32_t kObjective = -2;

  /// Of a row, while the file is read.
  struct RowState {
    char type = 'N';
    bool hasRhs = false;
    bool hasRange = false;
  };
  /// Of a column: which bounds the file gives.
  struct ColumnState {
    bool lower : 1 = false;
    bool upper : 1 = false;
    bool integer : 1 = false;
    bool binary : 1 = false;
    bool semi : 1 = false;
    bool mentioned : 1 = false;
  };

  struct Section {
    const char* name;
    void (TavMpsReader::*begin)(const TavMpsFields& header);
    void (TavMpsReader::*line)();
    TavMpsLines::Plausible plausible;
    /// May occur more than once.
    bool repeats;
  };
  static const Section kSections[];

  // mps_reader.cpp: the file as a whole, names, numbers
  void readHeader();
  void enter(const Section& section, const TavMpsFields& header);
  void refuseWords(const TavMpsFields& header, int allowed) const;
  double number(std::string_view field, const char* what, bool infinite = false) const;
  std::int32_t rowOf(std::string_view name) const;
  std::int32_t trueRowOf(std::string_view name) const;
  std::int32_t columnOf(std::string_view name) const;
  void requireSet(std::string_view name, std::string& known, const char* what) const;
  bool isComment(std::string_view field, std::string_view behind, bool last) const;
  void beginNothing(const TavMpsFields& header);
  void beginName(const TavMpsFields& header);
  void beginSense(const TavMpsFields& header);
  void beginObjectiveName(const TavMpsFields& header);
  void beginRows(const TavMpsFields& header);
  void beginColumns(const TavMpsFields& header);
  void beginEnd(const TavMpsFields& header);
  void senseLine();
  void objectiveNameLine();
  void noLine();
  void setSense(std::string_view word);

  // mps_columns.cpp: ROWS, COLUMNS, RHS, RANGES
  void rowLine();
  void columnLine();
  void beginColumn(std::string_view name);
  void addEntry(std::string_view row, std::string_view value);
  void takeEntry(const char* row, const TavNameTable::Key& key, double value);
  [[noreturn]] void failTwice(std::string_view row) const;
  /// Looks up the rows of the pending entries but for the last `kept`, and takes these.
  void settleEntries(int kept = 0);
  void endColumns();
  void marker(const TavMpsFields& fields);
  bool isObjective(const char* row, const TavNameTable::Key& key) const noexcept {
    return _hasObjective && key.word == _objectiveKey.word && key.size == _objectiveKey.size &&
           (key.size <= 8 || std::string_view(row, key.size) == _objectiveName);
  }
  int pairs(const TavMpsFields& fields, int& first) const;
  void rhsLine();
  void setRhs(std::string_view row, std::string_view value);
  void rangeLine();
  void setRange(std::string_view row, std::string_view value);
  void finish();
  void finishRow(std::int32_t row);

  // mps_plain_lines.cpp: most lines of COLUMNS
  struct PlainEntry;
  void plainColumnLines();
  bool plainColumnLine(const char* line);
  bool plainEntry(const char*& at, PlainEntry& entry) const;

  // mps_bounds.cpp: BOUNDS
  void boundLine();
  void setBound(std::string_view type, std::int32_t column, std::string_view value);
  void setLower(std::int32_t column, double value, std::string_view where);
  void setUpper(std::int32_t column, double value, std::string_view where);
  void setSemi(std::int32_t column, std::string_view value, std::string_view type);
  void finishColumn(std::int32_t column);

  // mps_sections.cpp: quadratic parts, sets, indicators
  void beginQuadratic(const TavMpsFields& header);
  void beginRowQuadratic(const TavMpsFields& header);
  void beginSets(const TavMpsFields& header);
  void beginTypedSets(const TavMpsFields& header);
  void quadraticLine();
  void matrixLine();
  void leaveMatrix();
  void setLine();
  void memberLine(const TavMpsFields& fields);
  void indicatorLine();
  TavProductSum& productsOf(std::int32_t row);
  void finishProducts();
  void finishIndicators();

  TavFileInput& _input;
  TavMpsLines _lines;
  TavFileModel _model;
  const Section* _section = nullptr;
  /// One bit a section that has been seen.
  std::uint32_t _seen = 0;
  bool _ended = false;

  bool _hasSense = false;
  std::string _wantedObjective;
  bool _hasObjective = false;
  std::string _objectiveName;
  TavNameTable::Key _objectiveKey{0, 0};
  bool _hasObjectiveRhs = false;
  TavFileObjective _objective;

  /// Until the end the lower bound of a row is its right-hand side and the upper one its range.
  TavLargeArray<RowState> _rowStates;
  TavLargeArray<ColumnState> _columnStates;
  bool _integerColumns = false;
  /// Of the column at hand.
  TavNameTable::Key _columnKey{0, 0};
  std::int32_t _lastColumnOfObjective = -1;
  /// An entry whose row has not been looked up yet. The processor fetches what the look-up needs in the meantime.
  struct Pending {
    const char* row;
    TavNameTable::Key key;
    double value;
    std::int32_t column;
    std::int32_t found;
    std::string_view name() const noexcept { return {row, key.size}; }
  };
  static constexpr int kMostPending = 64;
  /// Entries that stay pending, so that what their look-up needs has time to arrive.
  static constexpr int kKeptPending = 16;
  Pending _pending[kMostPending];
  int _pendingCount = 0;
  /// Where each column begins in the file.
  TavLargeArray<TavPackedPlace> _columnPlaces;
  TavMatrixTurner _entries;
  std::string _rhsName, _rangeName, _boundName;
  /// The row and the column that a line of RHS or BOUNDS is about if these come in order.
  mutable std::int32_t _nextRow = 0;
  mutable std::int32_t _nextColumn = 0;

  /// The row whose quadratic part is being read.
  std::int32_t _quadraticRow = kObjective;
  std::unordered_map<std::int32_t, TavProductSum> _products;
  /// An entry of a symmetric matrix, above or below the diagonal, and where it stands.
  struct MatrixEntry {
    double value = 0.0;
    bool seen = false;
    TavFilePlace place;
  };
  struct MatrixPair {
    MatrixEntry upper, lower;
  };
  std::unordered_map<std::uint64_t, MatrixPair> _matrix;
  double _matrixFactor = 1.0;
  std::unordered_set<std::int32_t> _indicatorRows;
  std::unordered_set<std::string> _setNames;
  /// Of the last set.
  std::unordered_set<std::int32_t> _members;
  /// How many columns and rows the notes about them concern.
  std::size_t _negativeUppers = 0;
  std::size_t _freeRowRhs = 0;
  /// The type of the sets in the section SOS1 or SOS2, 0 in the section SOS.
  std::uint8_t _setType = 0;
};
