#pragma once
/// A compiled model: what the handles of tavevaluator.h hold.

#include <memory>
#include <vector>

#include "evaluator/code.h"
#include "evaluator/patch.h"

namespace taveval {

class Follower;

/// The expressions of an evaluator and their program.
class Compiled {
 public:
  Compiled(TavEnvI* env, TavNumExprArg objective, std::span<const TavNumExprArg> constraints,
           std::span<const TavNumVar> columns, TavEvaluator::Options options);
  Compiled(const Compiled&) = delete;
  Compiled& operator=(const Compiled&) = delete;
  ~Compiled();

  /// The program, with all reported modifications.
  const Code& code() {
    if (_isStale || _hasModified) followModifications();
    return _code;
  }
  const Columns& columns() const noexcept { return _columns; }
  std::size_t constraintCount() const noexcept { return _constraints.size(); }
  /// Throws TavWrongUsage for a row that there is not.
  const Code::RowFacts& factsOf(std::size_t row);
  std::size_t bytes() const noexcept { return _code.bytes() + _watch.byObject.bytes() + _watch.byRow.bytes(); }
  /// The environment; null once it has ended.
  TavEnvI* env() const noexcept;
  TavNumExprI* expression(std::size_t row) const { return row < _constraints.size() ? _constraints[row] : _objective; }
  const TavEvaluator::Options& options() const noexcept { return _options; }
  std::size_t version() const noexcept { return _version; }
  void recompile();
  void replace(std::size_t row, TavNumExprArg expression);

 private:
  friend class Follower;
  void requireHome(const TavExtractableI* object) const;
  void followModifications();
  bool patch();
  /// Notes that a row is to be read again.
  void modify(std::uint32_t row) noexcept;
  void clearModified() noexcept;
  std::uint32_t objectiveRow() const noexcept { return static_cast<std::uint32_t>(_constraints.size()); }
  static void retain(TavNumExprI* expression) noexcept;
  void release(TavNumExprI* expression) noexcept;

  TavEnvI* _home;
  TavEvaluator::Options _options;
  bool _columnsAreGiven;
  Columns _columns;
  std::vector<TavNumExprI*> _constraints;
  TavNumExprI* _objective = nullptr;
  Code _code;
  Watch _watch;
  RowElements _elementsOfRow;
  RowSet _modified;           // the objective is the last row
  bool _hasModified = false;  // some of these
  bool _isStale = false;      // all is to be compiled again
  std::size_t _version = 0;
  std::unique_ptr<Follower> _follower;
};

}  // namespace taveval
