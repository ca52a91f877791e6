#include "solve/linearise/builder.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace tavlinear {

namespace {

/// Takes the first characters of a text.
class FirstCharacters final : public std::streambuf {
 public:
  std::string text() const { return _text.size() > kMost ? _text.substr(0, kMost) + "..." : _text; }

 protected:
  int_type overflow(int_type character) override {
    if (_text.size() > kMost) return traits_type::eof();
    _text.push_back(traits_type::to_char_type(character));
    return character;
  }

 private:
  static constexpr std::size_t kMost = 60;
  std::string _text;
};

std::string shortNumber(double number) {
  std::ostringstream text;
  text << number;
  return text.str();
}

}  // namespace

std::string textOf(const TavExtractableI* object) {
  FirstCharacters characters;
  std::ostream stream(&characters);
  object->display(stream);
  std::string text = characters.text();
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

void Builder::refuse(const std::string& why) const {
  throw Refusal(_root + ": " + textOf(_reading.node) + " cannot be linearised: " + why);
}

int Builder::item(const Linearisation::Key& key) {
  const auto found = _all._itemOf.find(key);
  if (found == _all._itemOf.end()) {
    _missing.push_back(key);
    return -1;
  }
  _made.uses.push_back(found->second);
  return found->second;
}

LinearForm Builder::of(const Operand& operand, Demand demand) {
  Linearisation::Resolved resolved = _all.resolve(operand, demand);
  if (resolved.isForm) return std::move(resolved.form);
  const int found = item(resolved.key);
  LinearForm form(operand.constant);
  if (found < 0) return form;
  return std::move(form.add(operand.factor, _all._items[found].form));
}

bool Builder::has(const Operand& operand, Demand demand) {
  const Linearisation::Resolved resolved = _all.resolve(operand, demand);
  if (resolved.isForm || _all._itemOf.contains(resolved.key)) return true;
  _missing.push_back(resolved.key);
  return false;
}

LinearForm Builder::take(const Operand& operand, Demand demand) {
  // A sum that stands in this place alone is handed on, so that nested sums are not copied level by level.
  const bool isAlone =
      operand.factor == 1.0 && operand.constant == 0.0 && operand.node && operand.node->getRefCount() == 1;
  const Linearisation::Resolved resolved = _all.resolve(operand, demand);
  if (!isAlone || resolved.isForm) return of(operand, demand);
  Linearisation::Item& made = _all._items[item(resolved.key)];
  if (!made.columns.empty()) return made.form;
  _all._itemOf.erase(resolved.key);  // another use of the sum makes it again
  return std::exchange(made.form, LinearForm());
}

std::vector<int> Builder::selector(const TavNumExprI* node) {
  const int found = item({node, Linearisation::Kind::Selector, Sense::Both, 0.0});
  return found < 0 ? std::vector<int>() : _all._items[found].columns;
}

int Builder::addColumn(Interval range, bool whole) {
  _made.columns.push_back(_all._columns.add({nullptr, range.lo, range.hi, whole}));
  return _made.columns.back();
}

void Builder::addRow(double lb, LinearForm form, double ub) {
  form.merge();
  _made.rows.push_back(_all._rows.add({lb - form.constant, ub - form.constant, std::move(form.terms)}));
}

void Builder::addSet(std::vector<int> columns) { _made.sets.push_back(_all._sets.add({std::move(columns)})); }

Interval Builder::rangeOfColumn(int number) const {
  const Column& column = _all._columns[number];
  return column.variable ? _all._ranges.ofVariable(column.variable) : Interval{column.lb, column.ub, column.whole};
}

Interval Builder::rangeOf(const LinearForm& form, Interval known) const {
  Interval range = Interval::point(form.constant);
  for (const Term& term : form.terms) range = range + term.coef * rangeOfColumn(term.column);
  range.whole = known.whole;
  return meet(known, range);
}

double Builder::finite(const Operand& operand, double bound, bool above) {
  const std::string side = above ? "upper" : "lower";
  if (std::abs(bound) <= kGreatestBound) return bound;
  if (std::isfinite(bound))
    refuse("its " + side + " bound " + shortNumber(bound) + " is beyond 1e9, too far for an exact row");
  const TavNumVarI* variable = _all._ranges.unbounded(operand, above);
  if (!variable) refuse("it has no finite " + side + " bound");
  const Interval range = _all._ranges.ofVariable(variable);
  const bool noLower = range.lo == -kInfinity, noUpper = range.hi == kInfinity;
  refuse("variable " + (variable->getName() ? variable->getName() : textOf(variable)) + " has no " +
         (noLower && noUpper ? ""
          : noUpper          ? "upper "
                             : "lower ") +
         (noLower && noUpper ? "bounds" : "bound"));
}

Interval Builder::finiteRange(const Operand& operand, Interval range) {
  return {finiteLower(operand, range.lo), finiteUpper(operand, range.hi), range.whole};
}

void Builder::requireWhole(const Operand& operand, const std::string& why) {
  if (!range(operand).whole) refuse(why);
}

}  // namespace tavlinear
