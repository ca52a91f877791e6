#pragma once
/// What results start from, before shapes add to them.

#include <cstddef>
#include <vector>

namespace taveval {

/// Values, and a quick way of writing them: long parts of one value are filled, and parts that shapes store before they
/// add to them are left out.
class Start {
 public:
  std::vector<double> values;

  /// Finds the parts of the values. `isStored`, which may be shorter, tells values that need not be written.
  void findParts(const std::vector<bool>& isStored);
  /// Writes the values to a result.
  void write(double* to) const noexcept;
  /// Changes one value.
  void set(std::size_t at, double value) noexcept;
  /// From now on all values are copied; to be called when they, or what shapes store, have changed.
  void forgetParts() noexcept { _parts.clear(); }
  std::size_t bytes() const noexcept { return values.capacity() * sizeof(double) + _parts.capacity() * sizeof(Part); }

 private:
  enum class Kind { Copied, Filled };
  struct Part {
    std::size_t first, end;
    Kind kind;
  };
  /// Shorter parts are not worth being told apart.
  static constexpr std::size_t kShortest = 64;
  void append(std::size_t first, std::size_t end, Kind kind);

  std::vector<Part> _parts;  // ascending; none: all values are copied
};

}  // namespace taveval
