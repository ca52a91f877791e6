#include "evaluator/patch.h"

#include <algorithm>
#include <bit>

namespace taveval {

namespace {

std::uint64_t hashOf(const std::uint32_t* rows, std::size_t rowCount, const std::uint32_t* variables,
                     std::size_t variableCount) noexcept {
  return hashOfBytes(rows, 4 * rowCount) * 31 + hashOfBytes(variables, 4 * variableCount);
}

}  // namespace

// Rows and their elements

void RowElements::build(const Code& code) {
  const auto forEach = [&code](auto visit) {
    for (std::uint32_t s = 0; s < code.shapes.size(); ++s) {
      const Shape& shape = code.shapes[s];
      std::size_t nextDead = 0;
      for (std::uint32_t e = 0; e < shape.count; ++e) {
        if (nextDead < shape.dead.size() && shape.dead[nextDead] == e) {
          ++nextDead;
          continue;
        }
        const std::size_t first = std::size_t{e / shape.lanes} * shape.isObjective.size();
        for (std::size_t k = 0; k < shape.isObjective.size(); ++k) {
          visit(shape.rows.of(first + k, e % shape.lanes), ElementRef{s, e});
        }
      }
    }
    for (std::uint32_t s = 0; s < code.tape.shapes.size(); ++s) {
      const TapeShape& shape = code.tape.shapes[s];
      const std::uint32_t* row = code.tape.rows.data() + shape.rows;
      for (std::uint32_t e = 0; e < shape.count; ++e) {
        const ElementRef ref{static_cast<std::uint32_t>(code.shapes.size()) + s, e};
        for (std::uint32_t k = 0; k < shape.outputCount; ++k) visit(*row++, ref);
      }
    }
  };
  std::vector<std::size_t> starts(code.rows.size() + 1, 0);
  forEach([&starts](std::uint32_t row, ElementRef) { ++starts[row + 1]; });
  for (std::size_t r = 0; r < code.rows.size(); ++r) starts[r + 1] += starts[r];
  std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
  _elements.resize(starts.back());
  forEach([&](std::uint32_t row, ElementRef element) { _elements[next[row]++] = element; });
  _starts = std::move(starts);
}

Patch::Patch(Code& code, RowElements& elementsOfRow, Columns& columns, Watch& watch, Expressions expressions,
             const TavEvaluator::Options& options)
    : _code(code),
      _elementsOfRow(elementsOfRow),
      _columns(columns),
      _watch(watch),
      _expressions(expressions),
      _options(options),
      _jacobian(code, false),
      _hessian(code, true) {}

void Patch::describe(OldElement& element) const {
  const auto [s, e] = element.ref;
  if (isTape(element.ref)) {
    const TapeShape& shape = tapeShape(element.ref);
    const auto* rows = _code.tape.rows.data() + shape.rows + std::size_t{e} * shape.outputCount;
    const auto* variables = _code.tape.variables.data() + shape.variables + std::size_t{e} * shape.variableCount;
    element.rows.assign(rows, rows + shape.outputCount);
    element.variables.assign(variables, variables + shape.variableCount);
  } else {
    const Shape& shape = _code.shapes[s];
    const std::size_t block = e / shape.lanes;
    for (std::size_t k = 0; k < shape.isObjective.size(); ++k) {
      element.rows.push_back(shape.rows.of(block * shape.isObjective.size() + k, e % shape.lanes));
    }
    for (std::size_t k = 0; k < shape.variableCount; ++k) {
      element.variables.push_back(shape.variables.of(block * shape.variableCount + k, e % shape.lanes));
    }
  }
  element.sorted = element.variables;
  std::sort(element.sorted.begin(), element.sorted.end());
}

/// The elements of the modified rows, and all rows that these elements belong to.
void Patch::findOldElements(std::span<const std::uint32_t> rows) {
  std::vector<ElementRef> refs;
  for (const std::uint32_t row : rows) {
    const auto elements = _elementsOfRow.of(_code, row);
    refs.insert(refs.end(), elements.begin(), elements.end());
  }
  std::sort(refs.begin(), refs.end());
  refs.erase(std::unique(refs.begin(), refs.end()), refs.end());
  _numbers.assign(rows.begin(), rows.end());
  for (const ElementRef ref : refs) {
    describe(_old.emplace_back(OldElement{ref, {}, {}, {}}));
    _numbers.insert(_numbers.end(), _old.back().rows.begin(), _old.back().rows.end());
  }
  std::sort(_numbers.begin(), _numbers.end());
  _numbers.erase(std::unique(_numbers.begin(), _numbers.end()), _numbers.end());
  for (const std::uint32_t number : _numbers) {
    _isModified.push_back(std::binary_search(rows.begin(), rows.end(), number));
  }
}

void Patch::readRows() {
  _rows.tables = _code.tables;  // numbers of tables go on
  Reader reader(_rows, _columns, _watch);
  for (const std::uint32_t number : _numbers) reader.readRow(_expressions[number], number);
}

/// Drafts of all elements of the modified rows, and of those elements of other rows that they share.
bool Patch::draftElements() {
  std::vector<std::uint32_t> awaited(_numbers.size(), 0);
  const auto indexOf = [this](std::uint32_t number) {
    return static_cast<std::size_t>(std::lower_bound(_numbers.begin(), _numbers.end(), number) - _numbers.begin());
  };
  std::vector<std::vector<const OldElement*>> oldOf(_numbers.size());
  for (const OldElement& old : _old) {
    for (const std::uint32_t row : old.rows) oldOf[indexOf(row)].push_back(&old), ++awaited[indexOf(row)];
  }
  const bool hasObjective = !_numbers.empty() && _numbers.back() == objectiveRow();
  Elements elements(_rows, hasObjective ? static_cast<std::uint32_t>(_numbers.size() - 1) : kNone,
                    _options.mode == TavEvaluator::Mode::Exact);
  _drafts = elements.collect([&](std::uint32_t row, std::span<const std::uint32_t> variables) {
    if (_isModified[row]) return true;
    for (const OldElement* old : oldOf[row]) {
      if (std::equal(variables.begin(), variables.end(), old->sorted.begin(), old->sorted.end())) {
        return --awaited[row], true;
      }
    }
    return false;
  });
  for (std::uint32_t& row : _drafts.rows) row = _numbers[row];
  for (std::size_t row = 0; row < _numbers.size(); ++row) {
    if (!_isModified[row] && awaited[row] != 0) return false;  // the row's elements cannot be told apart
  }
  return true;
}

// Elements

bool Patch::isSameStructure(const OldElement& old, const ShapeDraft& draft) const {
  Key key;
  if (isTape(old.ref)) {
    const TapeShape& shape = tapeShape(old.ref);
    key = Key(_code.tape.code).subspan(shape.code, shape.codeEnd - shape.code);
  } else {
    key = _code.shapes[old.ref.shape].key;
  }
  return std::equal(key.begin(), key.end(), draft.key().begin(), draft.key().end());
}

void Patch::sortOldElements() {
  for (std::uint32_t i = 0; i < _old.size(); ++i) {
    const OldElement& old = _old[i];
    _oldByHash.emplace_back(hashOf(old.rows.data(), old.rows.size(), old.variables.data(), old.variables.size()), i);
  }
  std::sort(_oldByHash.begin(), _oldByHash.end());
}

Patch::OldElement* Patch::findMatch(const ShapeDraft& draft, std::uint32_t e) {
  const std::uint64_t hash = hashOf(draft.rows(e), draft.outputCount, draft.variables(e), draft.variableCount);
  auto at = std::lower_bound(_oldByHash.begin(), _oldByHash.end(), std::pair(hash, std::uint32_t{0}));
  for (; at != _oldByHash.end() && at->first == hash; ++at) {
    OldElement& old = _old[at->second];
    if (!old.isKept && std::equal(old.rows.begin(), old.rows.end(), draft.rows(e), draft.rows(e) + draft.outputCount) &&
        std::equal(old.variables.begin(), old.variables.end(), draft.variables(e),
                   draft.variables(e) + draft.variableCount) &&
        isSameStructure(old, draft)) {
      return &old;
    }
  }
  return nullptr;
}

std::uint32_t Patch::valuePlace(const OldElement& old, std::uint32_t k) const {
  const std::uint32_t e = old.ref.element;
  if (isTape(old.ref)) return tapeShape(old.ref).firstValue + e * tapeShape(old.ref).valueCount + k;
  return _code.shapes[old.ref.shape].placeOfValue(e, k);
}

/// The element stays and receives new parameters.
void Patch::update(OldElement& old, const ShapeDraft& draft, std::uint32_t e) {
  old.isKept = true;
  for (std::uint32_t k = 0; k < draft.valueCount; ++k) _placeOf[draft.values(e)[k]] = valuePlace(old, k);
  Update& update = _updates.emplace_back(Update{old.ref, {}});
  update.values.assign(draft.parameters(e), draft.parameters(e) + draft.parameterCount);
  if (isTape(old.ref)) return;
  const ParameterRecipe& recipe = _code.shapes[old.ref.shape].recipe;
  update.values.resize(draft.parameterCount + recipe.results.size());
  std::vector<double> scratch;
  recipe.compute(update.values.data(), update.values.data() + draft.parameterCount, scratch);
}

/// Appends elements to those that are new.
void Patch::append(const ShapeDraft& draft, std::span<const std::uint32_t> elements) {
  _compiler.add(draft, elements, _options.derivatives, _fresh);
  TapeShape& shape = _fresh.shapes.back();
  shape.firstValue = static_cast<std::uint32_t>(_valueCount);
  for (const std::uint32_t e : elements) {
    for (std::uint32_t k = 0; k < draft.valueCount; ++k) {
      _placeOf[draft.values(e)[k]] = static_cast<std::uint32_t>(_valueCount++);
    }
  }
}

bool Patch::matchElements() {
  _placeOf.assign(_rows.summands.size(), kNone);
  _valueCount = _code.valueCount;
  std::vector<std::uint32_t> unmatched;
  sortOldElements();
  for (std::size_t s = 0; s < _drafts.shapes.size(); ++s) {
    const ShapeDraft draft(_drafts, s);
    unmatched.clear();
    for (std::uint32_t e = 0; e < draft.count; ++e) {
      if (OldElement* old = findMatch(draft, e)) {
        update(*old, draft, e);
      } else {
        unmatched.push_back(e);
      }
    }
    if (unmatched.empty()) continue;
    if (draft.variableCount > Tape::kMostVariables) return false;
    append(draft, unmatched);
  }
  return true;
}

/// Parameters that so far were kept once for a shape, and that now differ between its elements.
void Patch::findPromotions() {
  std::sort(_updates.begin(), _updates.end(), [](const Update& x, const Update& y) { return x.ref < y.ref; });
  for (const Update& update : _updates) {
    if (isTape(update.ref)) continue;
    const Shape& shape = _code.shapes[update.ref.shape];
    if (shape.count == 1) continue;
    for (std::uint32_t p = 0; p < update.values.size(); ++p) {
      const Operand place = shape.parameterPlace[p];
      if (placeOf(place) != Place::Uniform ||
          std::bit_cast<std::uint64_t>(shape.uniforms[std::size_t{numberOf(place)} * shape.lanes]) ==
              std::bit_cast<std::uint64_t>(update.values[p])) {
        continue;
      }
      if (_promotions.empty() || _promotions.back().shape != update.ref.shape) {
        _promotions.push_back({update.ref.shape, {}, {}});
      }
      auto& parameters = _promotions.back().parameters;
      if (std::find(parameters.begin(), parameters.end(), p) == parameters.end()) parameters.push_back(p);
    }
  }
  for (Promotion& promotion : _promotions) {
    const Shape& shape = _code.shapes[promotion.shape];
    const std::size_t old = std::size_t{shape.parameterCount} * shape.lanes;
    auto& values = promotion.values;
    values.reserve(std::size_t{shape.blockCount()} * (old + promotion.parameters.size() * shape.lanes));
    for (std::uint32_t block = 0; block < shape.blockCount(); ++block) {
      const double* from = shape.parameters.data() + block * old;
      values.insert(values.end(), from, from + old);
      for (const std::uint32_t p : promotion.parameters) {
        const std::size_t number = numberOf(shape.parameterPlace[p]);
        values.insert(values.end(), shape.lanes, shape.uniforms[number * shape.lanes]);
      }
    }
  }
}

// Rows

void Patch::makeRows() {
  for (std::uint32_t i = 0; i < _numbers.size(); ++i) {
    const std::uint32_t number = _numbers[i];
    const Row& row = _rows.rows[i];
    const Code::RowFacts& old = _code.rows[number];
    const std::size_t terms = row.termEnd - row.firstTerm;
    const auto sameColumn = [](const auto& x, const auto& y) { return x.column == y.column; };
    const auto at = [](const auto& list, std::size_t place) {
      return list.begin() + static_cast<std::ptrdiff_t>(place);
    };
    NewRow& fresh = _newRows.emplace_back();
    fresh.number = number;
    fresh.isByObjects = row.byObjects || _options.mode == TavEvaluator::Mode::Exact;
    fresh.isWhole = _drafts.isWhole[i];
    fresh.keepsTerms = std::equal(at(_rows.terms, row.firstTerm), at(_rows.terms, row.termEnd),
                                  at(_code.terms, old.firstTerm), at(_code.terms, old.termEnd()), sameColumn);
    fresh.source = {row.firstTerm, terms};
    const bool isTooLong = terms > old.termCount;  // for the old place
    fresh.facts = factsOf(row, isTooLong ? _code.terms.size() + _newTerms : old.firstTerm);
    if (isTooLong) _newTerms += terms;
    fresh.loose = looseRowOf(row, fresh.facts.firstTerm, number);
    if (fresh.isWhole) continue;
    const auto known = _isModified[i] ? std::vector<std::uint32_t>() : _code.sums.summandsOf(number);
    const bool isKnown = known.size() == row.valueEnd() - row.firstValue();
    for (std::size_t s = row.firstValue(); s < row.valueEnd(); ++s) {
      if (_placeOf[s] != kNone) {
        fresh.summands.push_back(_placeOf[s]);
      } else if (isKnown) {
        fresh.summands.push_back(known[s - row.firstValue()]);
      }
    }
  }
}

// Structures

void Patch::patchStructures() {
  bool isOther = !_fresh.shapes.empty();
  for (const OldElement& old : _old) isOther = isOther || !old.isKept;
  for (const NewRow& row : _newRows) isOther = isOther || (!row.keepsTerms && row.number != objectiveRow());
  _isOtherStructure = isOther;
  if (!isOther || _options.derivatives < 1) return;
  // Before places are referred to: what comes moves the arrays of the tape.
  std::size_t jacobian = 0, hessian = 0;
  for (const TapeShape& shape : _fresh.shapes) {
    jacobian += std::size_t{shape.count} * shape.jacobianCount;
    hessian += std::size_t{shape.count} * shape.hessianCount;
  }
  makeRoom(_code.tape.jacobian, jacobian);
  makeRoom(_code.tape.hessian, hessian);
  for (const OldElement& old : _old) {
    if (!old.isKept) _jacobian.remove(old.ref);
    if (!old.isKept && _options.derivatives > 1) _hessian.remove(old.ref);
  }
  TavLargeArray<TavEvaluator::Position> positions;
  for (TapeShape& shape : _fresh.shapes) {
    shape.jacobian = static_cast<std::uint32_t>(_fresh.jacobian.size());
    positions.clear();
    for (std::uint32_t e = 0; e < shape.count; ++e) _fresh.appendJacobian(shape, e, positions);
    for (const auto position : positions) _fresh.jacobian.push_back(_jacobian.add(position));
    shape.hessian = static_cast<std::uint32_t>(_fresh.hessian.size());
    positions.clear();
    for (std::uint32_t e = 0; e < shape.count; ++e) _fresh.appendHessian(shape, e, positions);
    for (const auto position : positions) _fresh.hessian.push_back(_hessian.add(position));
  }
  for (const NewRow& row : _newRows) {
    if (row.number == objectiveRow()) continue;
    const auto position = [&row](const TavEvaluator::LinearTerm& term) {
      return TavEvaluator::Position{static_cast<std::int32_t>(row.number), term.column};
    };
    const Code::RowFacts& old = _code.rows[row.number];
    for (std::size_t t = old.firstTerm; t < old.termEnd(); ++t) {
      _jacobian.fix(position(_code.terms[t]), false, 0.0, _code.termPlaces[t]);
    }
    for (std::size_t t = 0; t < row.source.count; ++t) {
      const TavEvaluator::LinearTerm& term = _rows.terms[row.source.first + t];
      _termNumbers.push_back(_jacobian.fix(position(term), true, term.coefficient, kNone));
    }
  }
  _jacobian.prepare();
  if (_options.derivatives > 1) _hessian.prepare();
}

void Patch::makeAllRoom() {
  std::size_t summands = 0;
  for (const NewRow& row : _newRows) summands += row.summands.size();
  _code.sums.reserve(_newRows.size(), summands);
  makeRoom(_code.byObjects, _newRows.size());
  makeRoom(_code.terms, _newTerms);
  makeRoom(_code.termPlaces, _newTerms);
  makeRoom(_code.gradientStart.values, _columns.size() - _code.gradientStart.values.size());
  Tape& tape = _code.tape;
  const auto room = [](auto& to, const auto& from) { makeRoom(to, from.size()); };
  room(tape.code, _fresh.code), room(tape.pattern, _fresh.pattern);
  room(tape.variables, _fresh.variables), room(tape.rows, _fresh.rows), room(tape.parameters, _fresh.parameters);
  makeRoom(tape.shapes, _fresh.shapes.size() + _old.size());
  for (const OldElement& old : _old) {
    if (!old.isKept && !isTape(old.ref)) makeRoom(_code.shapes[old.ref.shape].dead, _old.size());
  }
}

bool Patch::prepare(std::span<const std::uint32_t> rows) {
  const std::size_t columns = _columns.size();
  try {
    findOldElements(rows);
    // Large parts of a program are compiled better than patched.
    bool isDone = _numbers.size() <= 64 + _code.rows.size() / 4;
    if (isDone) {
      readRows();
      isDone = draftElements() && matchElements();
    }
    if (isDone) {
      findPromotions();
      makeRows();
      patchStructures();
      makeAllRoom();
    }
    if (!isDone) _columns.truncate(columns);
    return isDone;
  } catch (...) {
    _columns.truncate(columns);
    throw;
  }
}

}  // namespace taveval
