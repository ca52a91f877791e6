#pragma once
/// Class header of the readers: quadratic parts while they are read.

#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "modelfile/file_model.h"

/// A sum of products in which each pair of variables occurs once, in the order of the first occurrences.
class TavProductSum {
 public:
  /// Adds value * a * b.
  void add(std::int32_t a, std::int32_t b, double value) {
    if (a > b) std::swap(a, b);
    const auto key = static_cast<std::uint64_t>(a) << 32 | static_cast<std::uint32_t>(b);
    const auto [found, isNew] = _place.try_emplace(key, _products.size());
    if (isNew) {
      _products.push_back({a, b, value});
    } else {
      _products[found->second].value += value;
    }
  }
  /// The products, those with coefficient 0 left out; empties the sum.
  std::vector<TavFileProduct> take() {
    _place.clear();
    std::vector<TavFileProduct> products = std::exchange(_products, {});
    std::erase_if(products, [](const TavFileProduct& product) { return product.value == 0.0; });
    return products;
  }
  /// Turns all signs.
  void negate() noexcept {
    for (TavFileProduct& product : _products) product.value = -product.value;
  }
  const std::vector<TavFileProduct>& products() const noexcept { return _products; }

 private:
  std::vector<TavFileProduct> _products;
  std::unordered_map<std::uint64_t, std::size_t> _place;
};
