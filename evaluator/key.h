#pragma once
/// The structure of an element as bytes: operations with their operands, and outputs with their summands. Elements of
/// one shape have the same key. The tape interprets keys as they are.
///
/// An output begins with KeyMark::Output and its uses; its operations, terms and summands follow. Operands follow an
/// operation, and the node of a term follows its mark, as distances from the number of the next node. Numbers are bytes
/// of seven bits, the lowest first; all but the last have the highest bit set. Constants are eight bytes.

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

#include "evaluator/operations.h"
#include "host/large_array.h"

namespace taveval {

using Key = std::span<const std::uint8_t>;

/// Marks in a key, beside the numbers of operations.
enum class KeyMark : std::uint8_t {
  Output = 128,  ///< An output begins; its uses follow.
  Plus,          ///< A node follows: summand of the output.
  Minus,         ///< The same, negative.
  Scaled,        ///< The same, times the next parameter.
  LinearPlus,    ///< A node follows: a term of the linear part, which counts for the value alone.
  LinearMinus,   ///< The same, negative.
  LinearScaled,  ///< The same, times the next parameter.
  LinearNumber,  ///< The next parameter is a term.
};

/// What an output is used for.
enum OutputUse : std::uint32_t {
  kOfObjective = 1,  ///< It belongs to the objective.
  kDerivatives = 2,  ///< Derivatives.
  kWhole = 4,        ///< Its value, with the linear part, is its row's value.
  kSum = 8,          ///< Its value is a summand of its row.
  kEach = 16,        ///< Each of its summands is one of its row.
};

/// The next number of a key.
[[gnu::always_inline]] inline std::uint32_t readNumber(const std::uint8_t*& at) noexcept {
  std::uint32_t number = *at++;
  if (number < 128) return number;
  number &= 127;
  for (int shift = 7;; shift += 7) {
    const std::uint32_t next = *at++;
    number |= (next & 127) << shift;
    if (next < 128) return number;
  }
}

/// Appends items to a key.
class KeyWriter {
 public:
  explicit KeyWriter(TavLargeArray<std::uint8_t>& to) : _to(to) {}
  /// An operation and the distances of its operands.
  template <class... Distance>
  void op(Op op, Distance... of) {
    item(static_cast<std::uint8_t>(op), of...);
  }
  /// A mark and the number that follows it, if one does.
  template <class... Number>
  void mark(KeyMark mark, Number... number) {
    item(static_cast<std::uint8_t>(mark), number...);
  }
  void constant(double value) {
    op(Op::Constant);
    const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof value>>(value);
    std::copy(bytes.begin(), bytes.end(), _to.append(bytes.size()));
  }

 private:
  template <class... Number>
  void item(std::uint8_t word, Number... numbers) {
    constexpr std::size_t kMost = 1 + 5 * sizeof...(numbers);
    const std::size_t size = _to.size();
    std::uint8_t *const first = _to.append(kMost), *at = first;
    *at++ = word;
    (writeNumber(at, numbers), ...);
    _to.resize(size + static_cast<std::size_t>(at - first));
  }
  static void writeNumber(std::uint8_t*& at, std::uint32_t number) {
    for (; number >= 128; number >>= 7) *at++ = static_cast<std::uint8_t>(number | 128);
    *at++ = static_cast<std::uint8_t>(number);
  }

  TavLargeArray<std::uint8_t>& _to;
};

/// Calls the receiver for each item of a key: node(op, value of a constant, operands), mark(mark, node) and
/// output(uses), which comes before the items of the output. Nodes are numbered as they come; kNone stands for none.
template <class Receiver>
void readKey(Key key, Receiver&& receiver) {
  const std::uint8_t *at = key.data(), *const end = at + key.size();
  for (std::uint32_t count = 0; at != end;) {
    const std::uint8_t word = *at++;
    if (word == static_cast<std::uint8_t>(KeyMark::Output)) {
      receiver.output(readNumber(at));
    } else if (word > static_cast<std::uint8_t>(KeyMark::Output)) {
      const auto mark = static_cast<KeyMark>(word);
      receiver.mark(mark, mark == KeyMark::LinearNumber ? kNone : count - readNumber(at));
    } else {
      const auto op = static_cast<Op>(word);
      double value = 0.0;
      std::uint32_t of[3] = {kNone, kNone, kNone};
      if (op == Op::Constant) {
        std::memcpy(&value, at, sizeof value);
        at += sizeof value;
      }
      const int operands = operandCount(op);
      if (operands > 0) of[0] = count - readNumber(at);
      if (operands > 1) of[1] = count - readNumber(at);
      if (operands > 2) of[2] = count - readNumber(at);
      receiver.node(op, value, of);
      ++count;
    }
  }
}

/// A hash of bytes, by multiplications of 64 bits.
inline std::uint64_t hashOfBytes(const void* bytes, std::size_t size) noexcept {
  const auto* at = static_cast<const unsigned char*>(bytes);
  std::uint64_t hash = size + 1;
  const auto add = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * 0x9e3779b97f4a7c15ULL;
    hash ^= hash >> 29;
  };
  for (; size >= 8; at += 8, size -= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, 8);
    add(word);
  }
  std::uint64_t rest = 0;
  if (size != 0) std::memcpy(&rest, at, size);  // without bytes there may be no address
  add(rest);
  return hash;
}

}  // namespace taveval
