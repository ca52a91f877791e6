#pragma once
/// From objects to rows: each expression becomes a constant, a linear part and summands that are not linear, over flat
/// records of what was read. Nothing behind reads the objects' structure again.

#include <cstdint>
#include <string>
#include <vector>

#include "evaluator/operations.h"
#include "evaluator/pages.h"
#include "evaluator/program.h"
#include "evaluator/tavevaluator.h"
#include "evaluator/watch.h"
#include "expression/nodes.h"
#include "host/large_array.h"

namespace taveval {

/// One operation as it was read. Operands are numbers of records; a variable's a is its column and its b the summand
/// that met it last; the bits of a number stand in a and b.
struct Record {
  Op op;
  std::uint8_t flags;   ///< Of this record or of one below it.
  std::uint8_t degree;  ///< As a polynomial; 3 for anything above 2.
  std::uint32_t a, b, c;

  /// Evaluating it may throw, or calls a client: its row's values come from the objects.
  static constexpr std::uint8_t kByObjects = 1;
  /// It has no derivative.
  static constexpr std::uint8_t kNoDerivative = 2;
  /// It is not made of sums and products alone.
  static constexpr std::uint8_t kCostly = 4;

  double number() const noexcept;
  /// Calls visit(record) for each operand.
  template <class Visit>
  void forEachOperand(Visit visit) const {
    const int count = operandCount(op);
    if (count > 0) visit(a);
    if (count > 1) visit(b);
    if (count > 2) visit(c);
  }
};

/// One summand of a row: coefficient * record.
struct Summand {
  double coefficient;
  std::uint32_t record;
  /// It consists of the records from this one on and of variables; kNone if it shares others with what was read before.
  std::uint32_t firstRecord;
  std::uint32_t firstColumn, columnCount;  ///< In Rows::columns, ascending; unless firstRecord is kNone.
  bool isScaled;                           ///< The coefficient is data; else it is a sign.
};

/// A row: constant + linear terms + summands, both given by their ranges. Summands and terms stand in the order in
/// which `eval` adds them, unless factors were multiplied out or terms of one variable were added up: the row's value
/// then comes from the record of the whole expression.
struct Row {
  double constant = 0.0;
  std::size_t firstTerm = 0, termEnd = 0;
  std::size_t firstSummand = 0, summandEnd = 0;
  std::size_t whole = kInOrder;  ///< The summand that is the whole expression, or kInOrder.
  static constexpr std::size_t kInOrder = static_cast<std::size_t>(-1);
  bool byObjects = false;
  std::uint8_t degree = 0;                  ///< The highest of the summands, 0 without any.
  const char* withoutDerivative = nullptr;  ///< The name of a class, or null.

  ///@{
  /// The summands that make up the row's value.
  std::size_t firstValue() const noexcept { return whole == kInOrder ? firstSummand : whole; }
  std::size_t valueEnd() const noexcept { return whole == kInOrder ? summandEnd : whole + 1; }
  ///@}
};

/// All that was read.
struct Rows {
  TavLargeArray<Record> records;
  std::vector<TavEvaluator::LinearTerm> terms;
  TavLargeArray<Summand> summands;
  TavLargeArray<std::uint32_t> columns;  ///< Of the summands.
  TavLargeArray<Row> rows;
  Tables tables;
};

class Reader;

/// How an expression of one class is read: the table in classes.cpp has a row for each class.
struct ClassRow {
  enum class Kind {
    Column,      ///< A variable.
    Sum,         ///< A linear node.
    Scaled,      ///< An operand times a constant, or divided by it.
    Operation,   ///< Any other expression.
    NotNumeric,  ///< No numeric expression: it never occurs in one.
  };
  TavTypeInfo token;
  const char* name;
  Kind kind;
  Op op;
  /// Asks the reader to read the operands; null for none.
  void (*open)(Reader&, const TavNumExprI*);
  /// Makes the record, all operands having theirs.
  std::uint32_t (*close)(Reader&, const ClassRow&, const TavNumExprI*);
};

/// The row of a class, null for one made outside the library.
const ClassRow* classRowOf(TavTypeInfo token);

/// The variables that are columns.
class Columns {
 public:
  /// Whether variables become columns when they are met.
  void setOpen(bool isOpen) noexcept { _isOpen = isOpen; }
  std::size_t size() const noexcept { return _variables.size(); }
  TavNumVarI* variable(std::size_t column) const { return _variables[column]; }
  const std::vector<TavNumVarI*>& variables() const noexcept { return _variables; }
  /// Appends a column. False when the variable has one already.
  bool add(TavNumVarI* variable);
  /// Takes a column out; those behind it move up.
  void remove(const TavNumVarI* variable) noexcept;
  /// Takes out the columns from `count` on.
  void truncate(std::size_t count) noexcept {
    while (_variables.size() > count) remove(_variables.back());
  }
  /// The column, kNone for none.
  std::uint32_t find(const TavNumVarI* variable) const noexcept;
  /// The column. Throws UnknownVariable.
  std::uint32_t demand(const TavNumVarI* variable) const;
  /// The column; a new one if that is allowed. Throws UnknownVariable.
  std::uint32_t require(TavNumVarI* variable);

 private:
  std::vector<TavNumVarI*> _variables;
  Pages<std::uint32_t, kNone> _columnOf;  // by identifier
  bool _isOpen = false;
};

/// The record of a node that has been read, and the row that read it.
struct Known {
  std::uint32_t record = kNone;
  std::uint32_t row = 0;
};

/// Reads expressions into rows, without recursion.
class Reader {
 public:
  /// `watch` receives linear nodes.
  Reader(Rows& rows, Columns& columns, Watch& watch) : _rows(rows), _columns(columns), _watch(watch) {}
  /// Makes room for so many rows, where they are small.
  void expectRows(std::size_t count);
  /// Appends a row for the expression; null is 0. `number` is that of the row in the whole program.
  void readRow(TavNumExprI* root, std::uint32_t number);

  // For the rows of the table.

  /// Asks for an operand to be read; the last call's operand is read last.
  void ask(const TavNumExprI* operand) {
    if (!operand) return;
    if (const Known known = _known.get(idOf(operand)); known.record != kNone) return meetAgain(operand, known);
    _frames.push_back({operand, nullptr});
  }
  /// The record of an operand that has been read; null throws when it is evaluated.
  std::uint32_t of(const TavNumExprI* operand) { return operand ? _known.get(idOf(operand)).record : throwing(); }
  /// The record of what throws when it is evaluated.
  std::uint32_t throwing() {
    const std::uint32_t record = structural(0.0);
    mark(record, Record::kByObjects);
    return record;
  }
  ///@{
  /// Appends the record of an operation, of one, two or three operands.
  std::uint32_t put(Op op, std::uint32_t a);
  std::uint32_t put(Op op, std::uint32_t a, std::uint32_t b);
  std::uint32_t put(Op op, std::uint32_t a, std::uint32_t b, std::uint32_t c);
  ///@}
  /// Adds flags to a record.
  void mark(std::uint32_t record, std::uint8_t flags) { _rows.records[record].flags |= flags; }
  /// A number that is data, or part of the structure.
  std::uint32_t data(double value) { return putNumber(Op::Parameter, value); }
  std::uint32_t structural(double value) { return putNumber(Op::Constant, value); }
  std::uint32_t column(const TavNumVarI* variable);
  /// A number that the expression's object computes; it has no derivative.
  std::uint32_t byObject(const TavNumExprI* node);
  /// coefficient * record, where 1 and -1 are structural; added to `sum` unless that is kNone.
  std::uint32_t plus(std::uint32_t sum, double coefficient, std::uint32_t record);
  Tables& tables() { return _rows.tables; }
  /// Modifications of this linear node matter to the row.
  void watch(const TavExtractableI* sum) { _watch.byObject.add(static_cast<std::size_t>(sum->getId()), _number); }

 private:
  struct Frame {
    const TavNumExprI* node;
    const ClassRow* row;  // null before it was opened
  };
  struct Pending {
    TavNumExprI* node;
    double coefficient;
    bool isScaled;
    bool isNested;        // in the root itself: no
    const TavPart* rest;  // parts that follow in the same sum, or null
  };

  static std::size_t idOf(const TavNumExprI* node) { return static_cast<std::size_t>(node->getId()); }
  std::uint32_t append(const Record& record);
  std::uint32_t putNumber(Op op, double value);
  std::uint32_t read(const TavNumExprI* node);
  void open(const TavNumExprI* node);
  void readSummand(const TavNumExprI* node, double coefficient, bool isScaled);
  void meetAgain(const TavNumExprI* node, Known known);
  void meetColumn(Record& variable);
  const ClassRow& rowFor(const TavNumExprI* node);
  void setRecord(const TavNumExprI* node, std::uint32_t record) { _known[idOf(node)] = {record, _number}; }
  template <class Linear>
  void splitSum(const Linear* sum, const Pending& pending);
  void splitScaled(const Pending& pending, const ClassRow& row);
  void addTerm(TavNumVarI* variable, double coefficient);
  void addSummand(const Pending& pending);
  bool metBefore(const TavNumExprI* node);
  const char* nameWithoutDerivative(std::uint32_t record) const;

  Rows& _rows;
  Columns& _columns;
  Watch& _watch;
  std::uint32_t _number = 0;                                 // of the row that is read
  Pages<Known> _known;                                       // by identifier
  Pages<std::uint32_t, kNone> _metInRow;                     // by identifier: the row that met a sum last
  Pages<std::size_t, static_cast<std::size_t>(-1)> _termOf;  // by column: the row's term, if it is of this row
  // Of the summand that is read.
  std::uint32_t _firstRecord = 0;
  bool _sharesRecords = false;      // with what was read before
  std::uint32_t _summandStamp = 0;  // its number
  TavLargeArray<Frame> _frames;
  std::vector<Pending> _pending;
  bool _isInOrder = true;                                                 // of the row that is read
  std::vector<std::pair<std::uint32_t, const char*>> _withoutDerivative;  // records, ascending, and their classes
};

}  // namespace taveval
