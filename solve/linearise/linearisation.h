#pragma once
/// Linearisation: expressions that no linear solver takes become rows, binary columns and special ordered sets,
/// exactly. docs/linearisation.md has the formulas.

#include <cstddef>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "solve/linearise/linear_form.h"
#include "solve/linearise/ranges.h"
#include "solve/linearise/reading.h"
#include "solve/linearise/refusal.h"

namespace tavlinear {

/// Slots of an array that are used again when they become free.
template <class Value>
class Slots {
 public:
  int add(Value value) {
    if (_free.empty()) {
      _values.push_back(std::move(value));
      _isUsed.push_back(true);
      return static_cast<int>(_values.size()) - 1;
    }
    const int slot = _free.back();
    _free.pop_back();
    _values[static_cast<std::size_t>(slot)] = std::move(value);
    _isUsed[static_cast<std::size_t>(slot)] = true;
    return slot;
  }
  void remove(int slot) {
    _values[static_cast<std::size_t>(slot)] = Value();
    _isUsed[static_cast<std::size_t>(slot)] = false;
    _free.push_back(slot);
  }
  int size() const noexcept { return static_cast<int>(_values.size()); }
  bool isUsed(int slot) const { return _isUsed[static_cast<std::size_t>(slot)]; }
  Value& operator[](int slot) { return _values[static_cast<std::size_t>(slot)]; }
  const Value& operator[](int slot) const { return _values[static_cast<std::size_t>(slot)]; }

 private:
  std::vector<Value> _values;
  std::vector<bool> _isUsed;
  std::vector<int> _free;
};

/// Linearises rows and an objective of one environment, and keeps what it made for each of them, so that a row can be
/// made again when the model changes. Expressions that several rows share are linearised once for each sense of use.
///
/// Columns, rows and sets have numbers, which are used again after their removal.
class Linearisation {
 public:
  /// The row lb <= expression <= ub of the model. Rows get numbers; the caller keeps the expression alive.
  /// Throws Refusal, and then leaves everything as it was.
  int addRow(const TavNumExprI* expression, double lb, double ub, const std::string& name);
  /// The objective; a later call replaces it.
  void setObjective(const TavNumExprI* expression, bool maximise, const std::string& name);
  /// Gives the row new bounds; update() makes it again.
  void setBounds(int row, double lb, double ub);
  /// Removes the row with all that was made for it alone.
  void removeRow(int row);
  /// The bounds or values of this variable, or the terms of this sum, have changed: update() will make the rows again
  /// in which the object stands.
  void changed(const TavExtractableI* object);
  /// The object goes: the rows in which it stands are removed until update() makes them again.
  void forget(const TavExtractableI* object);
  /// Whether the object stands in an expression that was given.
  bool contains(const TavExtractableI* object) const { return _rootsOf.contains(object); }
  /// The rows of the model imply these ranges for variables, besides their own bounds; they replace those of an earlier
  /// call.
  void imply(Implied ranges);
  /// The range of a variable by its bounds and by those implied.
  Interval rangeOf(const TavNumVarI* variable) const { return _ranges.ofVariable(variable); }
  /// Makes the rows again that changes have affected. Throws Refusal for one that has no linear form any more; it then
  /// stays affected.
  void update();

  /// The column of a variable, made at its first use.
  int columnOf(const TavNumVarI* variable);
  const Slots<Column>& columns() const noexcept { return _columns; }
  const Slots<Row>& rows() const noexcept { return _rows; }
  const Slots<Set>& sets() const noexcept { return _sets; }
  /// The linear objective.
  const LinearForm& objective() const noexcept { return _objective; }

  /// An expression that has become columns: its form, which meets the demand.
  struct Made {
    const TavNumExprI* node;
    Demand demand;
    const LinearForm* form;
  };
  /// Every expression that is linearised now and is not a sum.
  std::vector<Made> made() const;

  /// The row that an indicator variable stands for: expression and bounds.
  struct Statement {
    const TavNumExprI* expression = nullptr;
    double lb = -kInfinity, ub = kInfinity;
  };
  /// Says what a constraint states; without it, or for an empty answer, indicator variables are refused.
  std::function<Statement(const TavConstraintI*)> statementOf;

 private:
  friend class Builder;

  enum class Kind { Value, Selector };
  /// A use of an expression.
  struct Key {
    const TavNumExprI* node;
    Kind kind;
    Sense sense;
    double cap;
    friend bool operator==(const Key&, const Key&) = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept;
  };
  /// What was made for one use, which other items and roots share.
  struct Item {
    Key key{};
    LinearForm form;
    std::vector<int> columns, rows, sets;
    /// Items that the form and the rows depend on.
    std::vector<int> uses;
    int users = 0;
  };
  /// A row of the model, or its objective.
  struct Root {
    const TavNumExprI* expression = nullptr;
    double lb = -kInfinity, ub = kInfinity;
    std::string name;
    int row = -1;
    std::vector<int> uses;
    /// Objects in the expression.
    std::vector<const TavExtractableI*> objects;
    bool isDirty = false;
  };

  /// A use before it has an item: the form, if it needs none, or the key.
  struct Resolved {
    bool isForm;
    LinearForm form;
    Key key;
  };

  Resolved resolve(const Operand& operand, Demand demand);
  LinearForm formOf(Root& root, Demand demand);
  void require(const Key& key, const Root& root, std::vector<int>& created);
  bool make(const Key& key, const Root& root, std::vector<Key>& missing);
  void build(Root& root, int number);
  void discard(Root& root, int number);
  void affect(int number);
  void discardDirty();
  void release(int item);
  void drop(Item& item);
  void collectObjects(Root& root, int number);
  Root& rootAt(int number) { return number == kObjective ? _objectiveRoot : _roots[number]; }

  static constexpr int kObjective = -1;

  Slots<Column> _columns;
  Slots<Row> _rows;
  Slots<Set> _sets;
  Slots<Item> _items;
  Slots<Root> _roots;
  Root _objectiveRoot;
  LinearForm _objective;
  bool _maximise = false;
  Ranges _ranges;
  std::unordered_map<Key, int, KeyHash> _itemOf;
  std::unordered_map<const TavNumVarI*, int> _columnOf;
  /// By object: the roots in whose expressions it stands.
  std::unordered_map<const TavExtractableI*, std::vector<int>> _rootsOf;
  std::vector<int> _dirty;
};

/// The text of an expression, shortened to one line.
std::string textOf(const TavExtractableI* object);

}  // namespace tavlinear
