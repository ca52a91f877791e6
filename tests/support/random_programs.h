#pragma once
/// Random expression programs, run on the library and on the model of tests/support/random_model.h side by side.

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

/// Where the choices of a program come from: a seeded generator, or bytes, of which every sequence means a program.
class Choices {
 public:
  explicit Choices(unsigned seed) : _random(seed) {}
  /// Behind the last byte every choice is 0; the bytes stay the caller's.
  explicit Choices(std::span<const std::uint8_t> bytes) : _bytes(bytes), _fromBytes(true) {}
  /// One of 0 .. n - 1, n being at most 256.
  int pick(int n) { return static_cast<int>(next() % static_cast<unsigned>(n)); }

 private:
  unsigned next() {
    if (!_fromBytes) return static_cast<unsigned>(_random());
    if (_bytes.empty()) return 0;
    const unsigned byte = _bytes.front();
    _bytes = _bytes.subspan(1);
    return byte;
  }

  std::mt19937 _random;
  std::span<const std::uint8_t> _bytes;
  bool _fromBytes = false;
};

class TavEnv;
class TavEnvI;
class TavNumExprI;
namespace model {
struct Node;
}

/// Memory that is short.
class Shortage {
 public:
  virtual ~Shortage() = default;
  /// Leaves no free memory in the environment, so that what it needs next comes from the system.
  virtual void exhaust(TavEnvI* env) = 0;
  /// Makes the call, in which an allocation may fail. Whether it has failed by std::bad_alloc.
  virtual bool refuses(const std::function<void()>& call) = 0;
};

/// An expression by the model and by the library.
struct ProgramExpression {
  std::shared_ptr<const model::Node> model;
  TavNumExprI* object;
};
/// Looks at the variables and the expressions that a program has in the end; empty, or what differs.
using InspectExpressions = std::function<std::string(TavEnv env, const std::vector<ProgramExpression>& variables,
                                                     const std::vector<ProgramExpression>& expressions)>;

/// Runs the program of these choices, its second half under the shortage if there is one. Empty when library and model
/// agree on every value (bit for bit, or both not a number), text, visit, kind, count and balance; else what differs
/// first.
std::string runRandomProgram(Choices choices, Shortage* shortage = nullptr, const InspectExpressions& inspect = {});
