#pragma once
/// The loop over blocks and instructions; included once by a translation unit for each instruction set. Nothing here is
/// visible to other units, and no function of the standard library is compiled for a wider instruction set.

#include "evaluator/run.h"
#include "evaluator/scalar.h"
#include "evaluator/vector_functions.h"

namespace taveval::TAV_INSTRUCTION_SET {

using namespace tavdetail::TAV_INSTRUCTION_SET;

/// Elements in vectors, kStep at a time so that operations overlap; a block is some such steps.
struct Block {
  using Value = Doubles;
  static constexpr std::uint32_t kValues = 8;
  static constexpr std::uint32_t kStep = kValues * kLanes;
};

/// One element.
struct Single {
  using Value = double;
  static constexpr std::uint32_t kValues = 1;
  static constexpr std::uint32_t kStep = 1;
};

// Beside those of vectors.
using tavdetail::TAV_INSTRUCTION_SET::absolute;
using tavdetail::TAV_INSTRUCTION_SET::cosine;
using tavdetail::TAV_INSTRUCTION_SET::exponent;
using tavdetail::TAV_INSTRUCTION_SET::fma;
using tavdetail::TAV_INSTRUCTION_SET::logarithm;
using tavdetail::TAV_INSTRUCTION_SET::power;
using tavdetail::TAV_INSTRUCTION_SET::select;
using tavdetail::TAV_INSTRUCTION_SET::sine;
using tavdetail::TAV_INSTRUCTION_SET::tangent;
inline double select(bool condition, double a, double b) { return condition ? a : b; }
inline double absolute(double a) { return __builtin_fabs(a); }
inline double fma(double a, double b, double c) { return a * b + c; }
inline double sine(double a) { return ::sin(a); }
inline double cosine(double a) { return ::cos(a); }
inline double tangent(double a) { return ::tan(a); }
inline double exponent(double a) { return ::exp(a); }
inline double logarithm(double a) { return ::log(a); }
inline double power(double a, double b) { return ::pow(a, b); }

template <class Elements>
class Machine {
 public:
  Machine(const Shape& shape, const Program& program, const Task& task) noexcept
      : _shape(shape), _program(program), _task(task), _width(shape.lanes) {}

  void run(std::uint32_t first, std::uint32_t end) {
    _bases[static_cast<int>(Place::Register)] = _task.registers;
    _bases[static_cast<int>(Place::Uniform)] = _shape.uniforms.data();
    for (std::uint32_t block = first; block < end; ++block) {
      const std::size_t parameters = std::size_t{_shape.parameterCount} * width();
      const double* from = _shape.parameters.data() + block * parameters;
      _bases[static_cast<int>(Place::Parameter)] = from;
      if (block + 1 < end) prefetch(from + parameters, parameters);
      _live = block + 1 == _shape.blockCount() ? _shape.count - block * width() : width();
      load(block);
      for (const Instruction& instruction : _program.code) execute(instruction);
      while (_nextDead < _shape.dead.size() && _shape.dead[_nextDead] / width() < block) ++_nextDead;
      storeObjective(block);
      storeRows(block);
      addGradient(block);
      storeEntries(Section::Jacobian, _shape.jacobian, _task.firstAddedOfJacobian, block);
      storeEntries(Section::Hessian, _shape.hessian, _task.firstAddedOfHessian, block);
    }
    if (_task.adding == &_shape && _program.has(Section::Objective)) *_task.results[0] = _sum;
  }

 private:
  using Value = typename Elements::Value;
  static constexpr std::uint32_t kStep = Elements::kStep;
  static constexpr std::uint32_t kValues = Elements::kValues;
  static constexpr std::uint32_t kFewAdded = 8;

  /// Elements of a block.
  std::uint32_t width() const noexcept { return kStep == 1 ? 1 : _width; }
  const double* at(Operand operand) const noexcept { return _bases[operand & 3] + std::size_t{operand >> 2} * width(); }
  double* registerAt(std::uint32_t number) const noexcept { return _task.registers + std::size_t{number} * width(); }

  template <class Visit>
  void forEachLane(Visit visit) const noexcept {
    for (std::uint32_t first = 0; first < width(); first += kStep) {
#pragma GCC unroll 8
      for (std::uint32_t i = first; i < first + kStep; ++i) visit(i);
    }
  }

  // Loads

  /// Prefetches the next block's parameters. Instructions read them in an order that the processor does not foresee.
  static void prefetch(const double* from, std::size_t count) noexcept {
    constexpr std::size_t kLine = 64 / sizeof(double);
    for (std::size_t i = 0; i < count; i += kLine) __builtin_prefetch(from + i);
  }

  /// Copies a block.
  void copy(double* to, const double* from) const noexcept {
    for (std::uint32_t i = 0; i < width(); i += kStep) __builtin_memcpy(to + i, from + i, kStep * sizeof(double));
  }

  void gather(double* to, const double* from, const Indices& indices, const Indices::Entry& entry) const noexcept {
    if (entry.kind == Indices::Kind::Run) {
      copy(to, from + entry.at);
    } else if (entry.kind == Indices::Kind::Same) {
      const double value = from[entry.at];
      for (std::uint32_t i = 0; i < width(); ++i) to[i] = value;
    } else {
      const std::uint32_t* lane = indices.lanes(entry);
      forEachLane([=](std::uint32_t i) { to[i] = from[lane[i]]; });
    }
  }

  void load(std::uint32_t block) const noexcept {
    const Indices::Entry* variables = _shape.variables.entries() + std::size_t{block} * _shape.variableCount;
    for (const Load& l : _program.variables) {
      gather(registerAt(l.reg), _task.x, _shape.variables, variables[l.number]);
    }
    const Indices::Entry* rows = _shape.rows.entries() + std::size_t{block} * _shape.isObjective.size();
    for (const Load& l : _program.weights) {
      if (_shape.isObjective[l.number]) {
        for (std::uint32_t i = 0; i < width(); ++i) registerAt(l.reg)[i] = _task.sigma;
      } else {
        gather(registerAt(l.reg), _task.lambda, _shape.rows, rows[l.number]);
      }
    }
  }

  // Instructions

  template <class Function>
  void forEach(const Instruction& instruction, Function function) const noexcept {
    const auto* a = reinterpret_cast<const Value*>(at(instruction.a));
    const auto* b = reinterpret_cast<const Value*>(at(instruction.b));
    const auto* c = reinterpret_cast<const Value*>(at(instruction.c));
    auto* result = reinterpret_cast<Value*>(registerAt(instruction.result));
    for (std::uint32_t first = 0; first < width() / kStep * kValues; first += kValues) {
      for (std::uint32_t i = first; i < first + kValues; ++i) result[i] = function(a[i], b[i], c[i]);
    }
  }

  void byLanes(const Instruction& instruction) const {
    const double *a = at(instruction.a), *b = at(instruction.b), *c = at(instruction.c);
    double* result = registerAt(instruction.result);
    for (std::uint32_t i = 0; i < width(); ++i) {
      result[i] = applyScalar(instruction.op, a[i], b[i], c[i], _task.tables);
    }
  }

  void sineAndCosine(const Instruction& instruction) const {
    const double* a = at(instruction.a);
    double* sine = registerAt(instruction.result);
    double* cosine = registerAt(instruction.c >> 2);
    if constexpr (kStep == 1) {
      const double angle = *a;
      *sine = ::sin(angle);
      *cosine = ::cos(angle);
    } else {
      for (std::uint32_t i = 0; i < width(); i += kLanes) {
        const SineCosine value = sineCosine(tavdetail::TAV_INSTRUCTION_SET::load(a + i));
        store(sine + i, value.sine);
        store(cosine + i, value.cosine);
      }
    }
  }

  void execute(const Instruction& instruction) const {
    const Value zero{}, one = zero + 1.0;
    switch (instruction.op) {
      case Op::Add:
        return forEach(instruction, [](Value a, Value b, Value) { return a + b; });
      case Op::Sub:
        return forEach(instruction, [](Value a, Value b, Value) { return a - b; });
      case Op::Mul:
        return forEach(instruction, [](Value a, Value b, Value) { return a * b; });
      case Op::Div:
        return forEach(instruction, [](Value a, Value b, Value) { return a / b; });
      case Op::Neg:
        return forEach(instruction, [](Value a, Value, Value) { return -a; });
      case Op::Square:
        return forEach(instruction, [](Value a, Value, Value) { return a * a; });
      case Op::MulAdd:
        return forEach(instruction, [](Value a, Value b, Value c) { return fma(a, b, c); });
      case Op::MulSub:
        return forEach(instruction, [](Value a, Value b, Value c) { return fma(a, b, -c); });
      case Op::SubMul:
        return forEach(instruction, [](Value a, Value b, Value c) { return fma(-a, b, c); });
      case Op::SinCos:
        return sineAndCosine(instruction);
      case Op::Abs:
        return forEach(instruction, [](Value a, Value, Value) { return absolute(a); });
      case Op::Sign:
        return forEach(instruction,
                       [=](Value a, Value, Value) { return select(a > zero, one, select(a < zero, -one, zero)); });
      case Op::Min:
        return forEach(instruction, [](Value a, Value b, Value) { return select(b > a, a, b); });
      case Op::Max:
        return forEach(instruction, [](Value a, Value b, Value) { return select(a > b, a, b); });
      case Op::Less:
        return forEach(instruction, [=](Value a, Value b, Value) { return select(a < b, one, zero); });
      case Op::Equal:
        return forEach(instruction, [=](Value a, Value b, Value) { return select(a == b, one, zero); });
      case Op::Select:
        return forEach(instruction, [=](Value a, Value b, Value c) { return select(a == zero, c, b); });
      case Op::Sin:
        return forEach(instruction, [](Value a, Value, Value) { return sine(a); });
      case Op::Cos:
        return forEach(instruction, [](Value a, Value, Value) { return cosine(a); });
      case Op::Tan:
        return forEach(instruction, [](Value a, Value, Value) { return tangent(a); });
      case Op::Exp:
        return forEach(instruction, [](Value a, Value, Value) { return exponent(a); });
      case Op::Log:
        return forEach(instruction, [](Value a, Value, Value) { return logarithm(a); });
      case Op::Power:
        return forEach(instruction, [](Value a, Value b, Value) { return power(a, b); });
      default:
        return byLanes(instruction);
    }
  }

  // Results

  void addTo(double* to, const double* from, const Indices& indices, const Indices::Entry& entry) const noexcept {
    if (entry.kind == Indices::Kind::Run) {
      addRun(to + entry.at, from, entry.storedFrom);
    } else if (entry.kind == Indices::Kind::Same) {
      double sum = from[0];
      for (std::uint32_t i = 1; i < _live; ++i) sum += from[i];
      to[entry.at] += sum;
    } else {
      scatter<true>(to, from, indices.lanes(entry));
    }
  }

  void putMixed(double* to, const double* from, const std::uint32_t* lane, std::size_t firstAdded) const noexcept {
    for (std::uint32_t i = 0; i < _live; ++i) {
      if (lane[i] != kNone) to[lane[i]] = lane[i] < firstAdded ? from[i] : to[lane[i]] + from[i];
    }
  }

  void storeTo(double* to, const double* from, const Indices& indices, const Indices::Entry& entry) const noexcept {
    if (entry.kind == Indices::Kind::Run) {
      storeRun(to + entry.at, from);
    } else if (entry.kind == Indices::Kind::Same) {
      to[entry.at] = from[0];
    } else {
      scatter<false>(to, from, indices.lanes(entry));
    }
  }

  template <bool Adds>
  void scatter(double* to, const double* from, const std::uint32_t* lane) const noexcept {
    const auto put = [to](std::uint32_t at, double value) { to[at] = Adds ? to[at] + value : value; };
    if (_live == width()) {
      forEachLane([=](std::uint32_t i) { put(lane[i], from[i]); });
    } else {
      for (std::uint32_t i = 0; i < _live; ++i) put(lane[i], from[i]);
    }
  }

  void storeRun(double* to, const double* from) const noexcept {
    if (_live == width()) {
      copy(to, from);
    } else {
      for (std::uint32_t i = 0; i < _live; ++i) to[i] = from[i];
    }
  }

  /// Adds lanes before `storedFrom` and stores the others.
  void addRun(double* to, const double* from, std::uint32_t storedFrom) const noexcept {
    if (storedFrom < kFewAdded) {
      double before[kFewAdded];
      for (std::uint32_t i = 0; i < storedFrom; ++i) before[i] = to[i];
      copy(to, from);
      for (std::uint32_t i = 0; i < storedFrom; ++i) to[i] = before[i] + from[i];
      return;
    }
    const std::uint32_t end = storedFrom < _live ? storedFrom : _live;
    std::uint32_t i = 0;
    if constexpr (kStep > 1) {
      for (; i + kLanes <= end; i += kLanes) {
        store(to + i, tavdetail::TAV_INSTRUCTION_SET::load(to + i) + tavdetail::TAV_INSTRUCTION_SET::load(from + i));
      }
    }
    for (; i < end; ++i) to[i] += from[i];
    for (; i < _live; ++i) to[i] = from[i];
  }

  /// Adds the block's values, element by element.
  void addObjective(const Operand* operands, std::uint32_t count) noexcept {
    double sum = _sum;
    if (count == 2) {
      const double *a = at(operands[0]), *b = at(operands[1]);
#pragma GCC unroll 8
      for (std::uint32_t i = 0; i < _live; ++i) sum = sum + a[i] + b[i];
    } else {
      for (std::uint32_t i = 0; i < _live; ++i) {
        for (std::uint32_t k = 0; k < count; ++k) sum += at(operands[k])[i];
      }
    }
    _sum = sum;
  }

  void storeObjective(std::uint32_t block) noexcept {
    const auto& operands = _program.sections[static_cast<int>(Section::Objective)];
    if (operands.empty()) return;
    if (_task.adding == &_shape) {
      return addObjective(operands.data(), static_cast<std::uint32_t>(operands.size()));
    }
    double* to = _task.summands + _shape.firstValue + std::size_t{block} * _shape.valueCount * width();
    for (const Operand operand : operands) {
      copy(to, at(operand));
      to += width();
    }
  }

  void storeRows(std::uint32_t block) const noexcept {
    const auto& operands = _program.sections[static_cast<int>(Section::Rows)];
    if (operands.empty()) return;
    const std::size_t objectives = _shape.objectiveValueCount, summands = _shape.valueCount - objectives;
    double* to = _task.summands + _shape.firstValue + (std::size_t{block} * _shape.valueCount + objectives) * width();
    for (std::size_t k = 0; k < summands; ++k) copy(to + k * width(), at(operands[k]));
    const Indices::Entry* entries = _shape.rows.entries() + block * _shape.isObjective.size();
    std::size_t next = summands;
    for (const std::uint32_t output : _shape.wholeOutputs) {
      storeTo(_task.results[static_cast<int>(Section::Rows)], at(operands[next++]), _shape.rows, entries[output]);
    }
  }

  void addGradient(std::uint32_t block) const noexcept {
    const auto& operands = _program.sections[static_cast<int>(Section::Gradient)];
    const Indices::Entry* variables = _shape.variables.entries() + std::size_t{block} * _shape.variableCount;
    double* result = _task.results[static_cast<int>(Section::Gradient)];
    for (std::size_t k = 0; k < operands.size(); ++k) {
      addTo(result, withoutDead(at(operands[k]), block), _shape.variables, variables[_shape.gradientVariables[k]]);
    }
  }

  /// The values of a block, with 0 for elements that are dead.
  const double* withoutDead(const double* from, std::uint32_t block) const noexcept {
    if (_shape.dead.empty()) [[likely]]
      return from;
    double* values = registerAt(_program.registers);
    copy(values, from);
    for (std::size_t k = _nextDead; k < _shape.dead.size() && _shape.dead[k] / width() == block; ++k) {
      values[_shape.dead[k] % width()] = 0.0;
    }
    return values;
  }

  void storeEntries(Section section, const Indices& indices, std::size_t firstAdded,
                    std::uint32_t block) const noexcept {
    const auto& operands = _program.sections[static_cast<std::size_t>(section)];
    double* to = _task.results[static_cast<std::size_t>(section)];
    const Indices::Entry* entries = indices.entries() + block * operands.size();
    for (std::size_t k = 0; k < operands.size(); ++k) {
      const double* from = at(operands[k]);
      if (entries[k].kind == Indices::Kind::Own) {
        storeRun(to + entries[k].at, from);
      } else if (entries[k].kind == Indices::Kind::Mixed) {
        putMixed(to, from, indices.lanes(entries[k]), firstAdded);
      } else {
        addTo(to, from, indices, entries[k]);
      }
    }
  }

  const Shape& _shape;
  const Program& _program;
  const Task& _task;
  const std::uint32_t _width;
  const double* _bases[3] = {};
  std::uint32_t _live = 0;
  std::size_t _nextDead = 0;
  double _sum = 0.0;  // of the objective's summands
};

[[gnu::flatten]] static void runBlocks(const Shape& shape, const Program& program, const Task& task,
                                       std::uint32_t first, std::uint32_t end) {
  Machine<Block>(shape, program, task).run(first, end);
}

}  // namespace taveval::TAV_INSTRUCTION_SET
