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

bool isSumOrProduct(Op op) noexcept { return op <= Op::Square && op != Op::Weight && op != Op::Div; }

/// The degree of an operation by those of its operands.
std::uint8_t degreeOf(Op op, const std::uint8_t* of) noexcept {
  const std::uint8_t a = of[0], b = of[1], most = std::max({a, b, of[2]});
  switch (op) {
    case Op::Variable:
      return 1;
    case Op::Add:
    case Op::Sub:
    case Op::Neg:
      return most;
    case Op::Mul:
      return static_cast<std::uint8_t>(std::min(a + b, 3));
    case Op::Square:
      return static_cast<std::uint8_t>(std::min(2 * a, 3));
    case Op::Div:
      return b == 0 ? a : 3;
    default:
      return most == 0 ? 0 : 3;
  }
}

}  // namespace

std::uint32_t Reader::put(Op op, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint8_t flags) {
  const std::uint32_t of[] = {a, b, c};
  std::uint8_t degrees[] = {0, 0, 0};
  const int operands = operandCount(op);
  if (!isSumOrProduct(op)) flags |= Record::kCostly;
  for (int i = 0; i < operands; ++i) {
    const Record& operand = _rows.records[of[i]];
    flags |= operand.flags;
    degrees[i] = operand.degree;
  }
  _rows.records.push_back({op, flags, degreeOf(op, degrees), a, b, c});
  return static_cast<std::uint32_t>(_rows.records.size() - 1);
}

std::uint32_t Reader::putNumber(Op op, double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return put(op, static_cast<std::uint32_t>(bits >> 32), static_cast<std::uint32_t>(bits));
}

std::uint32_t Reader::column(const TavNumVarI* variable) {
  if (!isRead(variable)) setRecord(variable, put(Op::Variable, _columns.require(const_cast<TavNumVarI*>(variable))));
  const std::uint32_t record = of(variable);
  meetColumn(_rows.records[record].a);
  return record;
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

void Reader::meetColumn(std::uint32_t column) {
  std::uint32_t& stamp = _columnStamp[column];
  if (stamp == _summandStamp) return;
  stamp = _summandStamp;
  _rows.columns.push_back(column);
}

/// Notes a column, or that the summand shares records, and that the row depends on what an earlier row has read. A sum
/// of one variable has the variable's record.
void Reader::meetAgain(const TavNumExprI* node, Known known) {
  const Record& record = _rows.records[known.record];
  if (record.op == Op::Variable) {
    meetColumn(record.a);
    if (_columns.variable(record.a) == node) return;
  } else if (known.record < _firstRecord) {
    _sharesRecords = true;
  }
  if (known.row != _number) _watch.byRow.add(known.row, _number);
}

std::uint32_t Reader::read(const TavNumExprI* root) {
  _frames.push_back({root, nullptr});
  while (!_frames.empty()) {
    const Frame frame = _frames.back();
    if (frame.row) {
      _frames.pop_back();
      setRecord(frame.node, frame.row->close(*this, *frame.row, frame.node));
    } else if (const Known known = _known.get(idOf(frame.node)); known.record != kNone) {
      meetAgain(frame.node, known);
      _frames.pop_back();
    } else {
      const ClassRow& row = rowFor(frame.node);
      if (row.kind == ClassRow::Kind::Column) {
        column(static_cast<const TavNumVarI*>(frame.node));
        _frames.pop_back();
        continue;
      }
      if (row.kind == ClassRow::Kind::ByObject) {
        const std::uint32_t record = putNumber(Op::Parameter, 0.0);
        _rows.records[record].flags = Record::kByObjects | Record::kNoDerivative;
        _withoutDerivative.emplace_back(record, frame.node->getRttiTypeName());
        setRecord(frame.node, record);
        continue;
      }
      _frames.back().row = &row;
      _asked.clear();
      row.open(*this, frame.node);
      for (std::size_t i = _asked.size(); i-- > 0;) _frames.push_back({_asked[i], nullptr});
    }
  }
  return of(root);
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
    const Record& r = _rows.records[record];
    const std::uint32_t of[] = {r.a, r.b, r.c};
    int i = 0;
    while (!(_rows.records[of[i]].flags & Record::kNoDerivative)) ++i;
    record = of[i];
  }
  for (const auto& [at, name] : _withoutDerivative) {
    if (at == record) return name;
  }
  return "TavNumExprI";
}

}  // namespace taveval
