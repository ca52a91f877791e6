#pragma once
/// Benchmarks over many rows of ten terms, and cloning a model of them into another environment.

#include <optional>
#include <vector>

#include "bench/sum_benchmarks.h"

/// The variable of position i in a row.
inline std::size_t column(std::size_t row, std::size_t i) { return (row * 7 + i * 13) % kColumns; }

/// Rows over the first thousand variables.
template <class World>
void fillRows(World& world, std::vector<typename World::Sum>& rows, std::size_t count) {
  for (std::size_t r = 0; r < count; ++r) {
    auto row = world.newSum();
    for (std::size_t i = 0; i < kRowLength; ++i) world.add(row, column(r, i), coefAt(r));
    seal(world, row);
    rows.push_back(std::move(row));
  }
}

/// Rows of `terms` terms in all.
template <class World>
struct Rows : Plain {
  explicit Rows(std::size_t terms, std::size_t variables = kColumns) : count(terms / kRowLength), world(variables) {
    rows.reserve(count);
  }
  std::size_t items() const { return count * kRowLength; }
  double result() {
    double total = 0.0;
    for (const auto& row : rows) total += walkOf(world, row);
    return total;
  }
  void fill() { fillRows(world, rows, count); }
  void end(std::vector<typename World::Sum>& ended) {
    if constexpr (requires { world.endRows(); }) {
      world.endRows();
    } else {
      for (auto& row : ended) world.end(row);
    }
    ended.clear();
  }

  std::size_t count;
  World world;
  std::vector<typename World::Sum> rows;
};

template <class World>
struct RowsWarm : Rows<World> {
  using Rows<World>::Rows;
  void run() { this->fill(); }
  void finish() { this->end(this->rows); }
};

template <class World>
struct RowsCold : NewWorld<World, kColumns> {
  explicit RowsCold(std::size_t terms) : NewWorld<World, kColumns>(terms) { rows.reserve(terms / kRowLength); }
  void run() { fillRows(*this->world, rows, this->size / kRowLength); }
  double result() {
    double total = 0.0;
    for (const auto& row : rows) total += walkOf(*this->world, row);
    return total;
  }
  void finish() {
    rows.clear();
    this->world.reset();
  }
  std::vector<typename World::Sum> rows;
};

template <class World>
struct RowsEnd : Rows<World> {
  using Rows<World>::Rows;
  void prepare() { this->fill(); }
  void run() { this->end(this->rows); }
};

/// The rows remain, empty.
template <class World>
struct RowsClear : Rows<World> {
  using Rows<World>::Rows;
  void prepare() { this->fill(); }
  void run() {
    for (auto& row : this->rows) this->world.clear(row);
  }
  void finish() { this->end(this->rows); }
};

template <class World>
struct RowsWalk : Rows<World> {
  explicit RowsWalk(std::size_t terms) : Rows<World>(terms) { this->fill(); }
  void run() {
    double total = Rows<World>::result();
    benchmark::DoNotOptimize(total);
  }
};

template <class World>
struct RowsCopy : Rows<World> {
  explicit RowsCopy(std::size_t terms) : Rows<World>(terms) {
    this->fill();
    copies.reserve(this->count);
  }
  void run() {
    if constexpr (requires { this->world.copyRows(); }) {
      this->world.copyRows();
    } else {
      for (const auto& row : this->rows) copies.push_back(this->world.copy(row));
    }
  }
  double result() {
    if (copies.empty()) return std::nan("");
    copies.swap(this->rows);
    const double total = Rows<World>::result();
    copies.swap(this->rows);
    return total;
  }
  void finish() {
    if constexpr (requires { this->world.endCopies(); }) {
      this->world.endCopies();
    } else {
      this->end(copies);
    }
  }
  std::vector<typename World::Sum> copies;
};

/// Each row is one statement.
template <class World>
struct OneStatement : Rows<World> {
  using Rows<World>::Rows;
  void run() {
    for (std::size_t r = 0; r < this->count; ++r) this->rows.push_back(this->world.tenTerms(r % 990));
  }
  void finish() { this->end(this->rows); }
};

template <class World>
struct CloneRows : Rows<World> {
  static constexpr bool kCold = true;
  explicit CloneRows(std::size_t terms) : Rows<World>(terms, terms / kRowLength) {
    for (std::size_t r = 0; r < this->count; ++r) {
      this->rows.push_back(this->world.newSum());
      for (std::size_t i = 0; i < kRowLength; ++i) this->world.add(this->rows[r], (r * 7 + i * 13) % this->count, 2.0);
    }
  }
  void prepare() {
    this->world.newTarget();
    chillMemory();
  }
  void run() { this->world.cloneRows(this->rows); }
  double result() { return static_cast<double>(this->world.cloned()); }
  void finish() { this->world.endTarget(); }
};
