#pragma once
/// Random expression programs that run on the library and on the model of tests/support/random_model.h.

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

/// The choices of a program: from a seeded generator, or from bytes, where every sequence is a program.
class Choices {
 public:
  explicit Choices(unsigned seed) : _random(seed) {}
  /// After the last byte every choice is 0. The caller keeps the bytes alive.
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

/// Lets allocations fail.
class Shortage {
 public:
  virtual ~Shortage() = default;
  /// Takes all free memory of the environment, so that its next allocation goes to the system.
  virtual void exhaust(TavEnvI* env) = 0;
  /// Makes the call, during which an allocation may fail. Whether it threw std::bad_alloc.
  virtual bool refuses(const std::function<void()>& call) = 0;
};

/// An expression of the library and its model.
struct ProgramExpression {
  std::shared_ptr<const model::Node> model;
  TavNumExprI* object;
};
/// Checks the variables and the expressions at the end of a program. Returns what differs, or an empty text.
using InspectExpressions = std::function<std::string(TavEnv env, const std::vector<ProgramExpression>& variables,
                                                     const std::vector<ProgramExpression>& expressions)>;

/// Runs the program of these choices, its second half with failing allocations if there is a shortage. Returns the
/// first difference, or an empty text when library and model agree on every value (bit for bit, or both not a number),
/// text, visit, kind, count and balance.
std::string runRandomProgram(Choices choices, Shortage* shortage = nullptr, const InspectExpressions& inspect = {});
