#include "evaluator/rows.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace taveval {

double Record::number() const noexcept { return std::bit_cast<double>(std::uint64_t{a} << 32 | b); }

// Columns

namespace {

std::string labelOf(const TavNumVarI* variable) {
  if (const char* name = variable->getName()) return name;
  return "number " + std::to_string(variable->getId());
}

}  // namespace

bool Columns::add(TavNumVarI* variable) {
  std::uint32_t& column = _columnOf[static_cast<std::size_t>(variable->getId())];
  if (column != kNone) return false;
  _variables.push_back(variable);
  column = static_cast<std::uint32_t>(_variables.size() - 1);
  return true;
}

void Columns::remove(const TavNumVarI* variable) noexcept {
  const std::uint32_t column = find(variable);
  if (column == kNone) return;
  _columnOf[static_cast<std::size_t>(variable->getId())] = kNone;
  _variables.erase(_variables.begin() + column);
  for (std::size_t k = column; k < _variables.size(); ++k)
    --_columnOf[static_cast<std::size_t>(_variables[k]->getId())];
}

std::uint32_t Columns::find(const TavNumVarI* variable) const noexcept {
  return _columnOf.get(static_cast<std::size_t>(variable->getId()));
}

std::uint32_t Columns::demand(const TavNumVarI* variable) const {
  const std::uint32_t column = find(variable);
  if (column == kNone) {
    throw TavEvaluator::UnknownVariable("TavEvaluator: the variable " + labelOf(variable) + " is none of the columns");
  }
  return column;
}

std::uint32_t Columns::require(TavNumVarI* variable) {
  if (_isOpen) add(variable);
  return demand(variable);
}

// Records

namespace {

/// Anything above 2.
constexpr int kMostDegree = 3;

}  // namespace

std::uint32_t Reader::append(const Record& record) {
  _rows.records.push_back(record);
  return static_cast<std::uint32_t>(_rows.records.size() - 1);
}

std::uint32_t Reader::put(Op op, std::uint32_t a) {
  const Record& x = _rows.records[a];
  std::uint8_t flags = x.flags;
  int degree = x.degree;
  if (op == Op::Square) {
    degree = std::min(2 * degree, kMostDegree);
  } else if (op != Op::Neg) {
    flags |= Record::kCostly;
    degree = degree == 0 ? 0 : kMostDegree;
  }
  return append({op, flags, static_cast<std::uint8_t>(degree), a, kNone, kNone});
}

std::uint32_t Reader::put(Op op, std::uint32_t a, std::uint32_t b) {
  const Record &x = _rows.records[a], &y = _rows.records[b];
  std::uint8_t flags = x.flags | y.flags;
  int degree = std::max(x.degree, y.degree);
  if (op == Op::Mul) {
    degree = std::min(x.degree + y.degree, kMostDegree);
  } else if (op != Op::Add && op != Op::Sub) {
    flags |= Record::kCostly;
    const bool isScaled = op == Op::Div && y.degree == 0;
    if (!isScaled && degree != 0) degree = kMostDegree;
  }
  return append({op, flags, static_cast<std::uint8_t>(degree), a, b, kNone});
}

std::uint32_t Reader::put(Op op, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  const Record &x = _rows.records[a], &y = _rows.records[b], &z = _rows.records[c];
  const int degree = x.degree | y.degree | z.degree ? kMostDegree : 0;
  return append({op, static_cast<std::uint8_t>(x.flags | y.flags | z.flags | Record::kCostly),
                 static_cast<std::uint8_t>(degree), a, b, c});
}

std::uint32_t Reader::putNumber(Op op, double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return append({op, 0, 0, static_cast<std::uint32_t>(bits >> 32), static_cast<std::uint32_t>(bits), kNone});
}

std::uint32_t Reader::column(const TavNumVarI* variable) {
  Known& known = _known[idOf(variable)];
  if (known.record == kNone) {
    const std::uint32_t column = _columns.require(const_cast<TavNumVarI*>(variable));
    known = {append({Op::Variable, 0, 1, column, 0, kNone}), _number};
  }
  meetColumn(_rows.records[known.record]);
  return known.record;
}

std::uint32_t Reader::plus(std::uint32_t sum, double coefficient, std::uint32_t record) {
  if (coefficient == -1.0 && sum != kNone) return put(Op::Sub, sum, record);
  if (coefficient == -1.0) {
    record = put(Op::Neg, record);
  } else if (coefficient != 1.0) {
    record = put(Op::Mul, data(coefficient), record);
  }
  return sum == kNone ? record : put(Op::Add, sum, record);
}

const ClassRow& Reader::rowFor(const TavNumExprI* node) {
  const TavTypeInfo token = node->getTypeInfo();
  if (const ClassRow* row = classRowOf(token)) return *row;
  return *classRowOf(node->isType(TavNumVarI::GetTypeInfo()) ? TavNumVarI::GetTypeInfo() : TavNumExprI::GetTypeInfo());
}

void Reader::meetColumn(Record& variable) {
  if (variable.b == _summandStamp) return;
  variable.b = _summandStamp;
  _rows.columns.push_back(variable.a);
}

/// Notes a column, or that the summand shares records, and that the row depends on what an earlier row has read. A sum
/// of one variable has the variable's record.
void Reader::meetAgain(const TavNumExprI* node, Known known) {
  Record& record = _rows.records[known.record];
  if (record.op == Op::Variable) {
    meetColumn(record);
    if (_columns.variable(record.a) == node) return;
  } else if (known.record < _firstRecord) {
    _sharesRecords = true;
  }
  if (known.row != _number) _watch.byRow.add(known.row, _number);
}

std::uint32_t Reader::read(const TavNumExprI* root) {
  ask(root);
  while (!_frames.empty()) {
    const Frame frame = _frames.back();
    if (frame.row) {
      _frames.pop_back();
      setRecord(frame.node, frame.row->close(*this, *frame.row, frame.node));
    } else if (const Known known = _known.get(idOf(frame.node)); known.record != kNone) {
      _frames.pop_back();
      meetAgain(frame.node, known);
    } else {
      open(frame.node);
    }
  }
  return of(root);
}

/// Reads the node of the last frame if its operands have been read; else asks for them.
void Reader::open(const TavNumExprI* node) {
  const ClassRow& row = rowFor(node);
  const std::size_t before = _frames.size();
  if (row.open) row.open(*this, node);
  if (_frames.size() == before) {
    _frames.pop_back();
    setRecord(node, row.close(*this, row, node));
  } else {
    _frames[before - 1].row = &row;
    std::reverse(_frames.begin() + before, _frames.end());
  }
}

std::uint32_t Reader::byObject(const TavNumExprI* node) {
  const std::uint32_t record = data(0.0);
  mark(record, Record::kByObjects | Record::kNoDerivative);
  _withoutDerivative.emplace_back(record, node->getRttiTypeName());
  return record;
}

// Rows

bool Reader::metBefore(const TavNumExprI* node) {
  const auto row = static_cast<std::uint32_t>(_rows.rows.size());
  std::uint32_t& met = _metInRow[idOf(node)];
  return std::exchange(met, row) == row;
}

void Reader::addTerm(TavNumVarI* variable, double coefficient) {
  const std::uint32_t column = _columns.require(variable);
  std::size_t& at = _termOf[column];
  auto& terms = _rows.terms;
  if (at != static_cast<std::size_t>(-1) && at >= _rows.rows.back().firstTerm) {
    terms[at].coefficient += coefficient;
    _isInOrder = false;
    return;
  }
  at = terms.size();
  terms.push_back({static_cast<std::int32_t>(column), coefficient});
}

void Reader::readSummand(const TavNumExprI* node, double coefficient, bool isScaled) {
  ++_summandStamp;
  _sharesRecords = false;
  _firstRecord = static_cast<std::uint32_t>(_rows.records.size());
  const std::size_t firstColumn = _rows.columns.size();
  const std::uint32_t record = read(node);
  // A record from before is a variable, or shared.
  const bool isAlone = !_sharesRecords && record >= _firstRecord && _rows.records[record].op != Op::Variable;
  if (!isAlone) _rows.columns.resize(firstColumn);
  const auto columns = _rows.columns.begin() + static_cast<std::ptrdiff_t>(firstColumn);
  std::sort(columns, _rows.columns.end());
  _rows.summands.push_back({coefficient, record, isAlone ? _firstRecord : kNone,
                            static_cast<std::uint32_t>(firstColumn),
                            static_cast<std::uint32_t>(_rows.columns.end() - columns), isScaled});
}

void Reader::addSummand(const Pending& pending) {
  readSummand(pending.node, pending.coefficient, pending.isScaled);
  const std::uint32_t record = _rows.summands.back().record;
  Row& row = _rows.rows.back();
  const std::uint8_t flags = _rows.records[record].flags;
  if (flags & Record::kByObjects) row.byObjects = true;
  if (flags & Record::kNoDerivative && !row.withoutDerivative) row.withoutDerivative = nameWithoutDerivative(record);
  row.degree = std::max(row.degree, _rows.records[record].degree);
}

template <class Linear>
void Reader::splitSum(const Linear* sum, const Pending& pending) {
  watch(sum);
  _isInOrder = _isInOrder && !pending.isNested;
  const double k = pending.coefficient;
  _rows.rows.back().constant += k * static_cast<double>(sum->getConstant());
  if (const TavPart* part = sum->getFirstPart()) {
    _pending.push_back({part->expr, k, pending.isScaled, true, part->next});
  }
  for (const TavNumLinExprTermI* cell = sum->getFirstTerm(); cell; cell = cell->next)
    addTerm(cell->var, k * cell->coef);
}

void Reader::splitScaled(const Pending& pending, const ClassRow& row) {
  _isInOrder = _isInOrder && pending.coefficient == 1.0;
  const double k = pending.coefficient;
  if (row.token == TavNumTimesCstI::GetTypeInfo()) {
    const auto* node = static_cast<const TavNumTimesCstI*>(pending.node);
    const bool isSign = node->getConstant() == -1.0;  // what a difference of expressions becomes
    _pending.push_back({node->getOperand(), k * node->getConstant(), pending.isScaled || !isSign, true, nullptr});
  } else if (row.token == TavIntTimesCstI::GetTypeInfo()) {
    const auto* node = static_cast<const TavIntTimesCstI*>(static_cast<TavNumExprI*>(pending.node));
    _pending.push_back({node->getOperand(), k * static_cast<double>(node->getConstant()), true, true, nullptr});
  } else {
    const auto* node = static_cast<const TavNumDivCstI*>(pending.node);
    _isInOrder = false;  // a quotient is rounded otherwise
    _pending.push_back({node->getOperand(), k / node->getConstant(), true, true, nullptr});
  }
}

void Reader::expectRows(std::size_t count) {
  // Room that is not used takes no memory.
  constexpr std::size_t kRecords = 16;
  _rows.rows.reserve(count);
  _rows.records.reserve(kRecords * count);
  _rows.summands.reserve(count);
}

void Reader::readRow(TavNumExprI* root, std::uint32_t number) {
  _number = number;
  Row& fresh = _rows.rows.emplace_back();
  fresh.firstTerm = _rows.terms.size();
  fresh.firstSummand = _rows.summands.size();
  _isInOrder = true;
  if (root) _pending.push_back({root, 1.0, false, false, nullptr});
  while (!_pending.empty()) {
    const Pending pending = _pending.back();
    _pending.pop_back();
    if (const TavPart* next = pending.rest) {
      _pending.push_back({next->expr, pending.coefficient, pending.isScaled, true, next->next});
    }
    const ClassRow& row = rowFor(pending.node);
    if (row.kind == ClassRow::Kind::Column) {
      _isInOrder = _isInOrder && !pending.isNested;
      addTerm(static_cast<TavNumVarI*>(pending.node), pending.coefficient);
    } else if ((row.kind != ClassRow::Kind::Sum && row.kind != ClassRow::Kind::Scaled) || metBefore(pending.node)) {
      // A shared sum is multiplied out once: nested sharing would take exponential time.
      addSummand(pending);
    } else if (row.kind == ClassRow::Kind::Scaled) {
      splitScaled(pending, row);
    } else if (row.token == TavNumLinTermI::GetTypeInfo()) {
      splitSum(static_cast<const TavNumLinTermI*>(pending.node), pending);
    } else {
      splitSum(static_cast<const TavIntLinTermI*>(pending.node), pending);
    }
  }
  Row& row = _rows.rows.back();
  row.termEnd = _rows.terms.size();
  row.summandEnd = _rows.summands.size();
  if (_isInOrder || row.byObjects) return;
  row.whole = row.summandEnd;
  readSummand(root, 1.0, false);
}

const char* Reader::nameWithoutDerivative(std::uint32_t root) const {
  // Only records with the flag lead to it.
  std::uint32_t record = root;
  while (operandCount(_rows.records[record].op) > 0) {
    std::uint32_t next = kNone;
    _rows.records[record].forEachOperand([&](std::uint32_t operand) {
      if (next == kNone && _rows.records[operand].flags & Record::kNoDerivative) next = operand;
    });
    record = next;
  }
  const auto found = std::lower_bound(_withoutDerivative.begin(), _withoutDerivative.end(), record,
                                      [](const auto& known, std::uint32_t wanted) { return known.first < wanted; });
  return found != _withoutDerivative.end() && found->first == record ? found->second : "TavNumExprI";
}

}  // namespace taveval
