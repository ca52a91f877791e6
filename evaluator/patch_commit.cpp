// The part of an update that cannot fail: what was prepared is taken over.

#include <algorithm>

#include "evaluator/patch.h"

namespace taveval {

void Patch::commitPromotion(Promotion& promotion) noexcept {
  Shape& shape = _code.shapes[promotion.shape];
  for (const std::uint32_t p : promotion.parameters) {
    const Operand from = shape.parameterPlace[p], to = operandAt(Place::Parameter, shape.parameterCount++);
    shape.parameterPlace[p] = to;
    forEachOperand(shape.programs, [=](Operand& operand) { operand = operand == from ? to : operand; });
  }
  shape.parameters.swap(promotion.values);
}

void Patch::commitParameters() noexcept {
  for (Promotion& promotion : _promotions) commitPromotion(promotion);
  for (const Update& update : _updates) {
    const std::size_t e = update.ref.element;
    if (isTape(update.ref)) {
      const TapeShape& shape = tapeShape(update.ref);
      double* to = _code.tape.parameters.data() + shape.parameters + e * shape.parameterCount;
      std::copy(update.values.begin(), update.values.end(), to);
      continue;
    }
    Shape& shape = _code.shapes[update.ref.shape];
    double* block = shape.parameters.data() + e / shape.lanes * shape.parameterCount * shape.lanes;
    for (std::size_t p = 0; p < update.values.size(); ++p) {
      const Operand place = shape.parameterPlace[p];
      if (placeOf(place) == Place::Parameter) {
        block[numberOf(place) * shape.lanes + e % shape.lanes] = update.values[p];
      } else if (placeOf(place) == Place::Uniform && shape.count == 1) {
        std::fill_n(shape.uniforms.data() + std::size_t{numberOf(place)} * shape.lanes, shape.lanes, update.values[p]);
      }
    }
  }
}

/// From the last, so that the numbers of elements before it stay.
void Patch::removeElements() noexcept {
  for (std::size_t i = _old.size(); i-- > 0;) {
    const OldElement& old = _old[i];
    if (old.isKept) continue;
    const std::uint32_t e = old.ref.element;
    if (!isTape(old.ref)) {
      auto& dead = _code.shapes[old.ref.shape].dead;
      dead.insert(std::lower_bound(dead.begin(), dead.end(), e), e);
      continue;
    }
    TapeShape& shape = tapeShape(old.ref);
    TapeShape rest = shape;
    rest.count = shape.count - e - 1;
    rest.variables += (e + 1) * shape.variableCount;
    rest.rows += (e + 1) * shape.outputCount;
    rest.jacobian += (e + 1) * shape.jacobianCount;
    rest.hessian += (e + 1) * shape.hessianCount;
    rest.parameters += (e + 1) * shape.parameterCount;
    rest.firstValue += (e + 1) * shape.valueCount;
    shape.count = e;
    if (rest.count > 0) _code.tape.shapes.push_back(rest);
  }
}

void Patch::appendTape() noexcept {
  Tape& tape = _code.tape;
  for (std::uint32_t& entry : _fresh.jacobian) entry = _jacobian.place(entry);
  for (std::uint32_t& entry : _fresh.hessian) entry = _hessian.place(entry);
  const auto number = [](const auto& list) { return static_cast<std::uint32_t>(list.size()); };
  for (TapeShape& shape : _fresh.shapes) {
    shape.code += number(tape.code), shape.codeEnd += number(tape.code), shape.pattern += number(tape.pattern);
    shape.variables += number(tape.variables), shape.rows += number(tape.rows);
    shape.jacobian += number(tape.jacobian), shape.hessian += number(tape.hessian);
    shape.parameters += number(tape.parameters);
  }
  const auto append = [](auto& to, const auto& from) { to.insert(to.end(), from.begin(), from.end()); };
  append(tape.shapes, _fresh.shapes);
  append(tape.code, _fresh.code), append(tape.pattern, _fresh.pattern);
  append(tape.variables, _fresh.variables), append(tape.rows, _fresh.rows);
  append(tape.jacobian, _fresh.jacobian), append(tape.hessian, _fresh.hessian);
  append(tape.parameters, _fresh.parameters);
  tape.mostNodes = std::max(tape.mostNodes, _fresh.mostNodes);
}

void Patch::commitTerms(const NewRow& row, std::size_t& nextNumber) noexcept {
  const bool isObjective = row.number == objectiveRow(), hasPlaces = _options.derivatives > 0;
  if (isObjective) _code.adding = kNone;
  const Code::RowFacts& old = _code.rows[row.number];
  if (isObjective) {
    for (std::size_t t = old.firstTerm; t < old.termEnd(); ++t) gradientStart(_code.terms[t]) = 0.0;
  } else if (_isOtherStructure && hasPlaces) {
    for (std::size_t t = old.firstTerm; t < old.termEnd(); ++t) _code.termPlaces[t] = kNone;
  }
  if (row.facts.termEnd() > _code.terms.size()) {
    _code.terms.resize(row.facts.termEnd());
    if (hasPlaces) _code.termPlaces.resize(row.facts.termEnd(), kNone);
  }
  for (std::size_t k = 0; k < row.source.count; ++k) {
    const TavEvaluator::LinearTerm& term = _rows.terms[row.source.first + k];
    const std::size_t t = row.facts.firstTerm + k;
    _code.terms[t] = term;
    if (isObjective) {
      gradientStart(term) = term.coefficient;
    } else if (hasPlaces) {
      if (_isOtherStructure) _code.termPlaces[t] = _jacobian.place(_termNumbers[nextNumber++]);
      _code.jacobian.start.set(_code.termPlaces[t] - _code.jacobian.firstAdded, term.coefficient);
    }
  }
}

void Patch::commitRow(NewRow& row, std::size_t& nextNumber) noexcept {
  commitTerms(row, nextNumber);
  if (row.isWhole) {
    _code.sums.remove(row.number);
  } else {
    _code.sums.put(row.loose, row.summands);
  }
  _code.rows[row.number] = row.facts;
  auto& byObjects = _code.byObjects;
  const auto at = std::lower_bound(byObjects.begin(), byObjects.end(), row.number);
  const bool was = at != byObjects.end() && *at == row.number;
  if (was && !row.isByObjects) byObjects.erase(at);
  if (!was && row.isByObjects) byObjects.insert(at, row.number);
}

void Patch::findRowsWithoutDerivative() noexcept {
  _code.withoutGradient = _code.rows.back().withoutDerivative;
  _code.withoutJacobian = nullptr;
  for (std::size_t r = 0; r < _code.constraintCount(); ++r) {
    if (_code.rows[r].withoutDerivative) _code.withoutJacobian = _code.rows[r].withoutDerivative;
  }
}

bool Patch::commit() noexcept {
  bool isOther = _columns.size() != _code.gradientStart.values.size();
  _code.gradientStart.values.resize(_columns.size());
  if (_isOtherStructure || (!_numbers.empty() && _numbers.back() == objectiveRow())) {
    _code.gradientStart.forgetParts();
    forgetStored(_code.shapes);
  }
  _code.tables = std::move(_rows.tables);
  _code.valueCount = _valueCount;
  commitParameters();
  if (_isOtherStructure && _options.derivatives > 0) {
    isOther |= _jacobian.commit(&_code.termPlaces);
    isOther |= _hessian.commit(nullptr);
  }
  removeElements();
  appendTape();
  bool isWithout = _code.withoutJacobian || _code.withoutGradient;
  std::size_t nextNumber = 0;
  for (NewRow& row : _newRows) {
    isWithout = isWithout || row.facts.withoutDerivative;
    commitRow(row, nextNumber);
  }
  if (isWithout) findRowsWithoutDerivative();
  if (_isOtherStructure) _elementsOfRow.clear();
  _code.patched += _fresh.shapes.size();
  return isOther;
}

}  // namespace taveval
