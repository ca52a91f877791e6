// CoinUtils' packed matrix: rows of coefficients in arrays, appended one by one.

#include <CoinPackedMatrix.hpp>

#include "bench/benchmarks.h"

namespace {

class PackedMatrix {
 public:
  static constexpr const char* kName = "CoinUtils";
  static constexpr long kLargest = 10'000'000;
  /// A row's number.
  using Sum = int;

  explicit PackedMatrix(std::size_t variables) : _columns(variables) { clear(); }

  std::size_t size() const { return _columns; }
  Sum newSum() {
    _column.clear();
    _value.clear();
    return _rows.getNumRows();
  }
  void add(Sum&, std::size_t i, double coef) {
    _column.push_back(static_cast<int>(i));
    _value.push_back(coef);
  }
  void seal(Sum&) {
    // By itself the matrix grows in small steps and copies all rows at each one.
    if (static_cast<std::size_t>(_rows.getNumRows()) == _room) {
      _room *= 2;
      _rows.reserve(static_cast<int>(_room), static_cast<CoinBigIndex>(_room * kRowLength));
    }
    _rows.appendRow(static_cast<int>(_column.size()), _column.data(), _value.data());
  }
  void end(Sum&) {}
  void endRows() { clear(); }
  double walk(const Sum& row) const {
    double total = 0.0;
    for (CoinBigIndex k = _rows.getVectorFirst(row); k < _rows.getVectorLast(row); ++k) {
      total += _rows.getElements()[k] * static_cast<double>(_rows.getIndices()[k]);
    }
    return total;
  }
  void copyRows() { _copy = _rows; }
  void endCopies() { _copy = CoinPackedMatrix(); }

 private:
  void clear() {
    _room = 64;
    _rows = CoinPackedMatrix(false, 0.0, 0.0);
    _rows.setDimensions(0, static_cast<int>(_columns));
  }

  std::size_t _columns;
  std::size_t _room = 0;
  CoinPackedMatrix _rows{}, _copy{};
  std::vector<int> _column{};
  std::vector<double> _value{};
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<PackedMatrix>();
  return runRaces(argc, argv);
}
