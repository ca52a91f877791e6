#pragma once
/// What a shape is compiled to: programs over registers, run for blocks of elements at once.

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "evaluator/graph.h"
#include "evaluator/operations.h"

class TavExprPiecewiseLinearI;
class TavArrayI;

namespace taveval {

/// Where an operand lies: a register of the block, a parameter of each element, or a number for the whole shape.
enum class Place : std::uint32_t { Register, Parameter, Uniform };

/// An operand: its place in the two lowest bits, its number in the others.
using Operand = std::uint32_t;
constexpr Operand operandAt(Place place, std::uint32_t number) noexcept {
  return number << 2 | static_cast<std::uint32_t>(place);
}
constexpr Place placeOf(Operand operand) noexcept { return static_cast<Place>(operand & 3); }
constexpr std::uint32_t numberOf(Operand operand) noexcept { return operand >> 2; }

/// One instruction: the register `result` receives op(a, b, c).
struct Instruction {
  Op op;
  std::uint32_t result;
  Operand a, b, c;
};

/// A register that is filled before the first instruction: by a variable of the element or the weight of an output.
struct Load {
  std::uint32_t reg;
  std::uint32_t number;
};

/// What a program computes; each kind goes to a place of its own.
enum class Section { Objective, Rows, Gradient, Jacobian, Hessian };
inline constexpr std::size_t kSections = 5;

/// A straight-line program. Of each section it computes all entries of the shape or none.
struct Program {
  std::vector<Instruction> code;
  std::vector<Load> variables;
  std::vector<Load> weights;
  std::array<std::vector<Operand>, kSections> sections;
  std::uint32_t registers = 0;

  bool has(Section section) const noexcept { return !sections[static_cast<std::size_t>(section)].empty(); }
  bool isEmpty() const noexcept {
    for (const auto& section : sections) {
      if (!section.empty()) return false;
    }
    return true;
  }
};

/// The programs of a shape: one for each section alone, and one for all.
inline constexpr std::size_t kAll = kSections;
using Programs = std::array<Program, kSections + 1>;

/// Calls visit(Operand&) for all operands of all programs.
template <class Visit>
void forEachOperand(Programs& programs, Visit visit) {
  for (Program& program : programs) {
    for (Instruction& instruction : program.code) {
      visit(instruction.a);
      visit(instruction.b);
      visit(instruction.c);
    }
    for (auto& section : program.sections) {
      for (Operand& operand : section) visit(operand);
    }
  }
}

/// Computes parameters that follow from others, once for each element.
struct ParameterRecipe {
  std::vector<Graph::Node> nodes;      ///< With operands among themselves.
  std::vector<std::uint32_t> results;  ///< The node of each parameter.
  /// Computes them from `own`; `values` is working space.
  void compute(const double* own, double* result, std::vector<double>& values) const;
};

/// Allocates at the start of cache lines, for aligned vector loads.
template <class T>
struct CacheAligned {
  using value_type = T;
  CacheAligned() = default;
  template <class U>
  CacheAligned(const CacheAligned<U>&) noexcept {}
  T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), std::align_val_t(64))); }
  void deallocate(T* p, std::size_t) noexcept { ::operator delete(p, std::align_val_t(64)); }
  bool operator==(const CacheAligned&) const noexcept { return true; }
};
using AlignedDoubles = std::vector<double, CacheAligned<double>>;

/// The indices that the lanes of a block read from or write to, for each entry of each block.
class Indices {
 public:
  enum class Kind : std::uint8_t {
    Run,        ///< Consecutive: `at` and the following.
    Same,       ///< All lanes `at`.
    Scattered,  ///< A list of their own, which begins at position `at` of `lanes`.
    Own,        ///< A run that nothing else writes to: it is stored, not added.
    Mixed,      ///< A list like Scattered: kNone for lanes that write nothing; places of own runs are stored.
  };
  struct Entry {
    std::uint32_t at;
    Kind kind;
    /// Lanes of a run from this one on are the first to reach their results: they are stored, not added.
    std::uint16_t storedFrom = kNothingStored;
  };
  static constexpr std::uint16_t kNothingStored = 0xffff;

  /// Appends the entry of a block of these lanes; `count` is at least 1. Lists are filled up to `width` lanes.
  void append(const std::uint32_t* lane, std::uint32_t count, std::uint32_t width);
  /// Appends a run that nothing else writes to.
  void appendOwn(std::uint32_t start) { _entries.push_back({start, Kind::Own}); }
  /// See Entry::storedFrom. False, and nothing is changed, unless the entry is a run.
  bool storeFrom(std::size_t entry, std::uint32_t lane) noexcept {
    if (_entries[entry].kind != Kind::Run) return false;
    _entries[entry].storedFrom = static_cast<std::uint16_t>(lane);
    return true;
  }
  void forgetStored() noexcept {
    for (Entry& entry : _entries) entry.storedFrom = kNothingStored;
  }
  const Entry* entries() const noexcept { return _entries.data(); }
  const std::uint32_t* lanes(const Entry& entry) const noexcept { return _lanes.data() + entry.at; }
  std::size_t size() const noexcept { return _entries.size(); }
  std::size_t bytes() const noexcept { return _entries.capacity() * sizeof(Entry) + _lanes.capacity() * 4; }
  void shrink() {
    _entries.shrink_to_fit();
    _lanes.shrink_to_fit();
  }

  // For modifications.

  /// What a lane of an entry reads or writes.
  std::uint32_t of(std::size_t entry, std::uint32_t lane) const noexcept;
  /// Makes room for `count` calls of set.
  void reserve(std::size_t count, std::uint32_t width);
  /// Gives a lane another place; `live` lanes of `width` are in use. Allocates nothing if there is room.
  void set(std::size_t entry, std::uint32_t lane, std::uint32_t place, std::uint32_t live, std::uint32_t width);
  /// Replaces places by what `renumbered` has for them; those of runs stay next to each other.
  void renumber(const std::vector<std::uint32_t>& renumbered) noexcept;

 private:
  std::vector<Entry> _entries;
  std::vector<std::uint32_t> _lanes;
};

/// Elements of equal structure, in blocks of `lanes`; the last block may be filled in part.
struct Shape {
  std::uint32_t count = 0;
  std::uint32_t lanes = 1;
  std::uint32_t parameterCount = 0;
  AlignedDoubles parameters;                     ///< By block, parameter and lane.
  AlignedDoubles uniforms;                       ///< By number and lane.
  Indices variables;                             ///< Columns, by block and variable of the shape.
  Indices rows;                                  ///< Rows, by block and output.
  Indices jacobian, hessian;                     ///< Value positions, by block and entry.
  std::vector<std::uint32_t> gradientVariables;  ///< The variable of each gradient entry.
  std::vector<char> isObjective;                 ///< By output.
  /// Summands of rows, stored by block, summand (the objective's first) and lane from `firstValue` on.
  std::uint32_t valueCount = 0, objectiveValueCount = 0, firstValue = 0;
  /// Outputs whose values are rows. They stand behind the summands among the program's rows.
  std::vector<std::uint32_t> wholeOutputs;
  std::uint32_t variableCount = 0;
  Programs programs;

  // For modifications.
  std::vector<std::uint8_t> key;        ///< The structure.
  ParameterRecipe recipe;               ///< Of parameters that follow from those of the key.
  std::vector<Operand> parameterPlace;  ///< By parameter of the key and of the recipe; 0 for unused ones.
  std::vector<std::uint32_t> dead;      ///< Elements that give no derivatives any more, ascending.

  std::uint32_t blockCount() const noexcept { return (count + lanes - 1) / lanes; }
  /// Where value k of element e is stored.
  std::uint32_t placeOfValue(std::uint32_t e, std::uint32_t k) const noexcept {
    return firstValue + e / lanes * lanes * valueCount + k * lanes + e % lanes;
  }
};

/// What parameters of lookups and piecewise-linear functions number. The objects belong to the expressions.
struct Tables {
  std::vector<const TavExprPiecewiseLinearI*> piecewise;
  /// An array of doubles, or of integers.
  struct Array {
    const TavArrayI* array;
    bool isInt;
  };
  std::vector<Array> arrays;
};

}  // namespace taveval
