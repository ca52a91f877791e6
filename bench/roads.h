#pragma once
/// The roads: each is written once, as the sides of a race, for every world that has its operations.

#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "bench/library.h"
#include "bench/race.h"

inline constexpr std::size_t kManyVariables = 1'000'000;
/// Variables that rows are spread over, and their length.
inline constexpr std::size_t kColumns = 1000;
inline constexpr std::size_t kRowLength = 10;

/// What most roads need: nothing to prepare, nothing to tidy up.
struct Plain {
  static constexpr bool kCold = false;
  static constexpr bool kPrints = false;
  void prepare() {}
  void finish() {}
};

// What not every contender has: a look at the terms, and a step that ends the building of a sum.
template <class World>
double walkOf(World& world, const typename World::Sum& sum) {
  if constexpr (requires { world.walk(sum); }) {
    return world.walk(sum);
  } else {
    return std::nan("");
  }
}

template <class World>
void seal(World& world, typename World::Sum& sum) {
  if constexpr (requires { world.seal(sum); }) world.seal(sum);
}

// ---- one sum of n terms

/// Adds `count` terms over all variables in turn.
template <class World>
void addTerms(World& world, typename World::Sum& sum, std::size_t count) {
  for (std::size_t i = 0, var = 0; i < count; ++i) {
    world.add(sum, var, coefAt(i));
    if (++var == world.size()) var = 0;
  }
  seal(world, sum);
}

/// A world with a variable for each term, up to a million, and a sum over them.
template <class World>
struct OneSum : Plain {
  explicit OneSum(std::size_t count) : terms(count), world(std::min(count, kManyVariables)), sum(world.newSum()) {}
  OneSum(std::size_t count, bool named) : terms(count), world(count, named), sum(world.newSum()) {}
  std::size_t items() const { return terms; }
  double result() { return walkOf(world, sum); }
  void fill() { addTerms(world, sum, terms); }

  std::size_t terms;
  World world;
  typename World::Sum sum;
};

template <class World>
struct BuildWarm : OneSum<World> {
  using OneSum<World>::OneSum;
  void run() { this->fill(); }
  void finish() { this->world.clear(this->sum); }
};

template <class World>
struct Clear : OneSum<World> {
  using OneSum<World>::OneSum;
  void prepare() { this->fill(); }
  void run() { this->world.clear(this->sum); }
};

/// A world of its own for every run, in new memory.
template <class World, std::size_t kVariables>
struct NewWorld : Plain {
  static constexpr bool kCold = true;
  explicit NewWorld(std::size_t count) : size(count) {}
  std::size_t items() const { return size; }
  void prepare() {
    world.emplace(std::min(kVariables, std::max(size, kColumns)));
    chillMemory();
  }
  void finish() { world.reset(); }

  std::size_t size;
  std::optional<World> world;
};

template <class World>
struct BuildCold : NewWorld<World, kManyVariables> {
  using NewWorld<World, kManyVariables>::NewWorld;
  void prepare() {
    NewWorld<World, kManyVariables>::prepare();
    sum.emplace(this->world->newSum());
  }
  void run() { addTerms(*this->world, *sum, this->size); }
  double result() { return walkOf(*this->world, *sum); }
  void finish() {
    sum.reset();
    this->world.reset();
  }
  std::optional<typename World::Sum> sum;
};

template <class World>
struct EvalSum : OneSum<World> {
  explicit EvalSum(std::size_t count) : OneSum<World>(count) { this->fill(); }
  void run() {
    value = this->world.eval(this->sum);
    benchmark::DoNotOptimize(value);
  }
  double result() { return value; }
  double value = 0.0;
};

/// A second holder of the sum gets a copy.
template <class World>
struct CopySum : OneSum<World> {
  explicit CopySum(std::size_t count) : OneSum<World>(count) { this->fill(); }
  void run() { copied.emplace(this->world.copy(this->sum)); }
  double result() { return walkOf(this->world, *copied); }
  void finish() {
    this->world.end(*copied);
    copied.reset();
  }
  std::optional<typename World::Sum> copied;
};

// ---- one sum, written in one go

/// A sum over all variables by one of the world's own ways; warm.
template <class World, auto kMake>
struct Whole : Plain {
  explicit Whole(std::size_t count) : world(count) {
    if constexpr (requires { world.makeArrays(); }) world.makeArrays();
  }
  std::size_t items() const { return world.size(); }
  void run() { sum.emplace((world.*kMake)()); }
  double result() { return walkOf(world, *sum); }
  void finish() {
    world.end(*sum);
    sum.reset();
  }
  World world;
  std::optional<typename World::Sum> sum;
};
template <class World>
struct ScalProd : Whole<World, &World::scalProd> {
  using Whole<World, &World::scalProd>::Whole;
};
template <class World>
struct SumOfArray : Whole<World, &World::sumOfArray> {
  using Whole<World, &World::sumOfArray>::Whole;
};
template <class World>
struct Chained : Whole<World, &World::chained> {
  using Whole<World, &World::chained>::Whole;
};

// ---- rows of ten terms

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

/// The rows stay, empty.
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

// ---- editing

/// Sums of n terms over n / 4 variables, drawn at random.
template <class World>
struct Drawn : Plain {
  explicit Drawn(std::size_t terms) : world(terms / 4), sum(world.newSum()), drawn(terms) {
    std::mt19937_64 random(42);
    std::uniform_int_distribution<std::size_t> pick(0, terms / 4 - 1);
    for (std::size_t& var : drawn) var = pick(random);
  }
  std::size_t items() const { return drawn.size(); }
  double result() { return walkOf(world, sum); }
  void fill() {
    for (std::size_t i = 0; i < drawn.size(); ++i) world.add(sum, drawn[i], coefAt(i));
    seal(world, sum);
  }
  void prepare() { fill(); }
  void run() { benchmark::DoNotOptimize(world.normalize(sum)); }
  void finish() { world.clear(sum); }

  World world;
  typename World::Sum sum;
  std::vector<std::size_t> drawn;
};

/// The cells have been through earlier runs of the same work.
template <class World>
struct MergeRecycled : Drawn<World> {
  using Drawn<World>::Drawn;
};

template <class World>
struct MergeScattered : Drawn<World> {
  explicit MergeScattered(std::size_t terms) : Drawn<World>(terms) { this->world.scatter(terms); }
};

template <class World>
struct MergeByFields : Drawn<World> {
  explicit MergeByFields(std::size_t terms) : Drawn<World>(terms) { this->world.useFields(); }
};

template <class World>
struct BuildAndMerge : Drawn<World> {
  using Drawn<World>::Drawn;
  void prepare() {}
  void run() {
    this->fill();
    Drawn<World>::run();
  }
};

/// Cells that were never used before.
template <class World>
struct MergeFresh : Plain {
  explicit MergeFresh(std::size_t terms) : size(terms) {}
  std::size_t items() const { return size; }
  void prepare() {
    drawn.emplace(size);
    drawn->fill();
  }
  void run() { drawn->run(); }
  double result() { return drawn->result(); }
  void finish() { drawn.reset(); }
  std::size_t size;
  std::optional<Drawn<World>> drawn;
};

template <class World>
struct SetCoefs : OneSum<World> {
  explicit SetCoefs(std::size_t count) : OneSum<World>(count) {
    this->world.makeArrays();
    this->fill();
  }
  void run() { this->world.setCoefs(this->sum); }
};

template <class World>
struct Remove : OneSum<World> {
  explicit Remove(std::size_t count) : OneSum<World>(count) { this->world.makeArrays(); }
  void prepare() { this->fill(); }
  void run() { this->world.remove(this->sum); }
  void finish() { this->world.clear(this->sum); }
};

// ---- trees: the Rosenbrock chain over n variables

/// Operations of one link: square, difference, square, multiple; difference, square; two additions.
inline constexpr std::size_t kOperations = 8;

template <class World>
struct Chain : Plain {
  explicit Chain(std::size_t variables) : world(variables) {}
  std::size_t items() const { return kOperations * (world.size() - 1); }
  double result() { return world.evalNode(*node); }
  void make() { node.emplace(world.rosenbrock()); }
  void end() {
    world.endNode(*node);
    node.reset();
  }
  World world;
  std::optional<typename World::Node> node;
};

template <class World>
struct ChainWarm : Chain<World> {
  using Chain<World>::Chain;
  void run() { this->make(); }
  void finish() { this->end(); }
};

template <class World>
struct ChainCold : Plain {
  static constexpr bool kCold = true;
  explicit ChainCold(std::size_t variables) : size(variables) {}
  std::size_t items() const { return kOperations * (size - 1); }
  void prepare() {
    chain.emplace(size);
    chillMemory();
  }
  void run() { chain->make(); }
  double result() { return chain->result(); }
  void finish() { chain.reset(); }
  std::size_t size;
  std::optional<Chain<World>> chain;
};

template <class World>
struct ChainEval : Chain<World> {
  explicit ChainEval(std::size_t variables) : Chain<World>(variables) { this->make(); }
  void run() {
    double value = Chain<World>::result();
    benchmark::DoNotOptimize(value);
  }
};

template <class World>
struct ChainEnd : Chain<World> {
  using Chain<World>::Chain;
  void prepare() { this->make(); }
  void run() { this->end(); }
  double result() { return 0.0; }
};

// ---- cloning a model of rows of ten into another environment

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

// ---- variables

template <class World, auto kMake>
struct Variables : NewWorld<World, 0> {
  using NewWorld<World, 0>::NewWorld;
  void run() { ((*this->world).*kMake)(this->size); }
  double result() { return 0.0; }
};
template <class World>
struct VariablesArray : Variables<World, &World::makeArray> {
  using Variables<World, &World::makeArray>::Variables;
};
template <class World>
struct VariablesOneByOne : Variables<World, &World::makeOneByOne> {
  using Variables<World, &World::makeOneByOne>::Variables;
};
template <class World>
struct VariablesNamed : Variables<World, &World::makeNamed> {
  using Variables<World, &World::makeNamed>::Variables;
};

// ---- printing a sum over named variables

template <class World>
struct Print : OneSum<World> {
  static constexpr bool kPrints = true;
  explicit Print(std::size_t count) : OneSum<World>(count, true) {
    for (std::size_t i = 0; i < count; ++i) this->world.add(this->sum, i, 1.0 + static_cast<double>(i) / 7.0);
    seal(this->world, this->sum);
  }
  /// The stream keeps its buffer from one run to the next.
  void prepare() { os.seekp(0); }
  void run() { written = this->world.print(os, this->sum); }
  double result() { return written; }
  void finish() {}
  double written = 0.0;
  std::ostringstream os;
};

/// Into a stream that writes numbers in another way than by default.
template <class World>
struct PrintFixed : Print<World> {
  explicit PrintFixed(std::size_t count) : Print<World>(count) { this->os << std::fixed << std::setprecision(3); }
};

// ---- the roads of a contender

/// Enters every road that Other has the operations for.
template <class Other>
void enterRoads() {
  using Sum = typename Other::Sum;
  const std::initializer_list<long> sizes{1'000, 100'000, 1'000'000, 10'000'000};
  // For links of eight operations each, and where every term needs a variable of its own.
  const std::initializer_list<long> toMillion{1'000, 100'000, 1'000'000};
  if constexpr (requires(Other world, Sum sum) { world.clear(sum); }) {
    enterRoad<BuildWarm, Library, Other>("buildWarm", sizes);
    enterRoad<BuildCold, Library, Other>("buildCold", sizes);
    enterRoad<Clear, Library, Other>("clear", sizes);
    enterRoad<RowsClear, Library, Other>("rowsClear", sizes);
  }
  if constexpr (requires(Other world) { world.newSum(); }) {
    enterRoad<RowsWarm, Library, Other>("rowsWarm", sizes);
    enterRoad<RowsCold, Library, Other>("rowsCold", sizes);
    enterRoad<RowsEnd, Library, Other>("rowsEnd", sizes);
    if constexpr (requires(Other world, Sum sum) { world.walk(sum); }) {
      enterRoad<RowsWalk, Library, Other>("rowsWalk", sizes);
    }
  }
  if constexpr (requires(Other world, Sum sum) { world.copy(sum); }) {
    enterRoad<CopySum, Library, Other>("copySum", sizes);
  }
  if constexpr (
      requires(Other world, Sum sum) { world.copy(sum); } || requires(Other world) { world.copyRows(); }) {
    enterRoad<RowsCopy, Library, Other>("rowsCopy", sizes);
  }
  if constexpr (requires(Other world) { world.tenTerms(0); }) {
    enterRoad<OneStatement, Library, Other>("oneStatement", sizes);
  }
  if constexpr (requires(Other world) { world.chained(); }) enterRoad<Chained, Library, Other>("chained", sizes);
  if constexpr (requires(Other world) { world.scalProd(); }) enterRoad<ScalProd, Library, Other>("scalProd", sizes);
  if constexpr (requires(Other world) { world.sumOfArray(); }) {
    enterRoad<SumOfArray, Library, Other>("sumOfArray", sizes);
  }
  if constexpr (requires(Other world, Sum sum) { world.normalize(sum); }) {
    enterRoad<BuildAndMerge, Library, Other>("buildAndMerge", sizes);
  }
  if constexpr (requires(Other world) { world.scatter(1); }) {
    enterRoad<MergeRecycled, Library, Other>("mergeRecycled", sizes);
    enterRoad<MergeFresh, Library, Other>("mergeFresh", sizes);
    enterRoad<MergeScattered, Library, Other>("mergeScattered", sizes);
    enterRoad<MergeByFields, Library, Other>("mergeByFields", sizes);
  }
  if constexpr (requires(Other world, Sum sum) { world.setCoefs(sum); }) {
    enterRoad<SetCoefs, Library, Other>("setCoefs", toMillion);
  }
  if constexpr (requires(Other world, Sum sum) { world.remove(sum); }) {
    enterRoad<Remove, Library, Other>("remove", toMillion);
  }
  if constexpr (requires(Other world, Sum sum) { world.eval(sum); }) {
    enterRoad<EvalSum, Library, Other>("evalSum", sizes);
  }
  if constexpr (requires(Other world) { world.rosenbrock(); }) {
    enterRoad<ChainCold, Library, Other>("chainCold", toMillion);
    enterRoad<ChainWarm, Library, Other>("chainWarm", toMillion);
    enterRoad<ChainEval, Library, Other>("chainEval", toMillion);
    enterRoad<ChainEnd, Library, Other>("chainEnd", toMillion);
  }
  if constexpr (requires(Other world) { world.newTarget(); }) enterRoad<CloneRows, Library, Other>("cloneRows", sizes);
  if constexpr (requires(Other world) { world.makeArray(1); }) {
    enterRoad<VariablesArray, Library, Other>("variablesArray", sizes);
  }
  if constexpr (requires(Other world) { world.makeOneByOne(1); }) {
    enterRoad<VariablesOneByOne, Library, Other>("variablesOneByOne", sizes);
  }
  if constexpr (requires(Other world) { world.makeNamed(1); }) {
    enterRoad<VariablesNamed, Library, Other>("variablesNamed", sizes);
  }
  if constexpr (requires(Other world, Sum sum, std::ostream & os) { world.print(os, sum); }) {
    enterRoad<Print, Library, Other>("print", sizes);
    enterRoad<PrintFixed, Library, Other>("printFixed", sizes);
  }
}
