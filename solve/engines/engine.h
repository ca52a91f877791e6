#pragma once
/// What all engines have in common. An engine is an algorithm of the expression library over one solver: it extracts a
/// model through the class hooks, is notified of the model's modifications, solves, and supplies the values.

#include <atomic>
#include <chrono>
#include <functional>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "solve/engines/places.h"
#include "solve/model/model.h"

namespace tavsolve {

class Message;
class Parent;

/// How a solve ended.
enum class Status {
  Optimal,            ///< no point is better
  LocallyOptimal,     ///< no point nearby is better; all that is known where the model need not be convex
  Infeasible,         ///< no point satisfies all rows and bounds
  LocallyInfeasible,  ///< no point nearby violates rows and bounds less
  Unbounded,          ///< the objective can be improved without end
  Violated,           ///< what the solver calls optimal violates rows or bounds
  TimeLimit,
  NodeLimit,
  Interrupted,
  Stopped  ///< the solver gave up
};

/// Whether the question has been answered by a point.
inline bool isSolved(Status status) { return status == Status::Optimal || status == Status::LocallyOptimal; }

/// The status in a word or two, as files and programs have it.
const char* wordsFor(Status status);

enum class Method { Automatic, Primal, Dual, Barrier };

/// What a solver is doing.
struct SolverProgress {
  enum class Phase { Simplex, Barrier, Search };
  Phase phase = Phase::Simplex;
  long iterations = 0;
  long nodes = 0;
  /// Of the best solution so far, and the bound on all solutions.
  std::optional<double> objective{}, bound{};
  /// Sum or maximum of the violations, as the solver measures it.
  std::optional<double> infeasibility{};
};

/// What a solve keeps to. An empty value is the solver's default.
struct Controls {
  /// Elapsed time of the solve.
  double seconds = std::numeric_limits<double>::infinity();
  /// Rows, bounds and whole numbers hold within this much, relative to values above 1.
  double tolerance = 1e-6;
  std::optional<double> gap{}, absoluteGap{};
  std::optional<long> nodes{};
  std::optional<int> threads{}, seed{};
  std::optional<bool> presolve{};
  Method method = Method::Automatic;
  /// Values to start from, one for each of Model::columns(), NaN for none; empty for those of the file.
  std::vector<double> start{};
  /// Options of the solver itself, by its own names.
  std::vector<std::pair<std::string, std::string>> options{};
  /// A file that what the solver prints is appended to; empty for none.
  std::string log{};
  /// The solve ends in order soon after this has become true; null for never.
  const std::atomic<bool>* interrupt = nullptr;
  /// Solves in the process that calls, which is a child process itself; nothing then ends a solver that does not end
  /// by itself. A further solve in place starts from the model and the warm start alone, as a fresh process would.
  bool inPlace = false;
  /// Called now and then; may be empty.
  std::function<void(const SolverProgress&)> progress{};
};

/// The greatest violation of a solution.
struct Violation {
  /// Absolute for values up to 1, relative above.
  double amount = 0.0;
  /// "row NAME", "column NAME" or "set NAME"; empty when nothing is violated.
  std::string where{};
};

struct Answer {
  Status status = Status::Stopped;
  /// Whether there is a solution; without an optimum, the best one that was found.
  bool hasSolution = false;
  double objective = 0.0;
  /// No solution is better than this; NaN where nothing is known.
  double bound = std::numeric_limits<double>::quiet_NaN();
  Violation violation{};
  long iterations = 0;
  long nodes = 0;
  double seconds = 0.0;
  /// The part of it in which functions of the model were evaluated, where the engine knows it.
  double evaluationSeconds = 0.0;
  /// What the solver says about an answer that is not optimal; may be empty.
  std::string remark{};
};

/// What a further solve starts from.
struct WarmStart {
  /// One value a column; empty for none.
  std::vector<double> point{};
  /// What the engine has kept of the solve: a basis, multipliers.
  std::vector<double> state{};
};

/// Columns and rows are numbered in order of extraction. The extraction hooks list them, load() hands them to the
/// solver at once; from then on change records and forget() edit what is loaded.
class EngineI : public TavAlgorithmI {
 public:
  explicit EngineI(const Model& model);

  /// The engine's name, as the user chooses it.
  virtual const char* name() const = 0;
  /// Extracts the whole model and loads the solver, in time linear in the model's size. Once only. Throws InputError,
  /// naming the row, for what the solver does not take.
  void extract();
  /// Extracts the columns and rows that the model got since then.
  void extend();
  /// Solves what is loaded, from the last solution where the solver can, in a child process: the time limit and an
  /// interruption are kept whatever the solver does. Throws InputError, naming the column, row or option, for what the
  /// solver cannot be told, and SolverError, in one line, for what the solver throws or asserts.
  virtual Answer solve(const Controls& controls);

  /// What the last solve has left for the next one.
  WarmStart warmStart() const { return {_last, _state}; }
  /// The next solve starts from there. The columns and rows are the same as when it was taken.
  virtual void startFrom(const WarmStart& start);
  /// Whether solves in place leave nothing behind in this process, so that their order makes no difference.
  virtual bool isRepeatable(const Controls& /*controls*/) const { return false; }

  /// The column's value in the last solution; throws TavAlgorithm::Exception without one.
  double getValue(const TavNumVarI* variable) const override;
  /// 1 when the row holds in the last solution within the tolerance, else 0.
  double getValue(const TavIntExprI* constraint) const override;
  /// The row's value in the last solution as the solver computed it.
  double activityOf(const RangeConstraintI* row) const;
  ///@{
  /// What the objective changes by for one more of the column, or of the row's bound; NaN where the solver has none.
  double reducedCostOf(const TavNumVarI* column) const;
  double dualOf(const RangeConstraintI* row) const;
  ///@}

  bool hasExtracted(const TavExtractableI* object) const override { return placeOf(object) != kNowhere; }
  void forget(TavExtractableI* object) override;

  // What the class hooks do (hooks.cpp); each extraction returns the algorithm's object.
  void* addColumn(const TavNumVarI* variable);
  /// A variable that stands for the truth of a constraint: refused by engines that do not linearise.
  virtual void* addIndicator(const TavNumVarI* variable);
  void* addSum(const TavNumLinTermI* sum);
  void* addRow(const RangeConstraintI* constraint);
  void* takeObjective(const ObjectiveI* objective);
  void* relaxColumns(const TavConversionI* conversion);
  void updateColumn(const TavNumVarI* variable);
  void updateRow(const RangeConstraintI* constraint);
  void updateCoefficient(const TavNumLinTermI* sum, const TavNumVarI* variable);
  void updateSense() { senseChanged(); }
  void restoreKind(const TavNumVarI* variable);
  void dropColumn(const TavNumVarI* variable);

 protected:
  struct Column {
    const TavNumVarI* variable;
    /// Continuous for the solver although the variable is integer.
    bool relaxed;

    bool isWhole() const { return variable->isInteger() && !relaxed; }
    /// Above 0: the column is 0 or at least this.
    double threshold() const {
      const bool isSemiContinuous = variable->isType(TavSemiContVarI::GetTypeInfo());
      return isSemiContinuous ? static_cast<const TavSemiContVarI*>(variable)->getThreshold() : 0.0;
    }
  };
  struct Row {
    const RangeConstraintI* constraint;

    double lb() const { return constraint->getLB(); }
    double ub() const { return constraint->getUB(); }
    const TavNumLinTermI* sum() const { return constraint->getSum().getImpl(); }
    /// The sum's constant: a solver that takes linear rows does not know it.
    double constant() const { return sum()->getConstant(); }
  };
  static constexpr int kNowhere = Places::kNowhere;
  static constexpr int kObjective = -2;
  /// Extracted, without a column or row of its own.
  static constexpr int kKnown = -3;

  const Model& model() const { return _model; }
  /// The items 0 to size() - 1, each made when it is asked for. clang++ 14 does not take std::views of g++ 12.
  template <class Make>
  class Items {
   public:
    class Iterator {
     public:
      using iterator_category = std::input_iterator_tag;
      using value_type = std::invoke_result_t<const Make&, std::size_t>;
      using difference_type = std::ptrdiff_t;
      using pointer = void;
      using reference = value_type;
      Iterator(const Items& items, std::size_t at) : _items(&items), _at(at) {}
      value_type operator*() const { return (*_items)[_at]; }
      Iterator& operator++() {
        ++_at;
        return *this;
      }
      bool operator==(const Iterator& other) const { return _at == other._at; }

     private:
      const Items* _items;
      std::size_t _at;
    };
    Items(std::size_t size, Make make) : _size(size), _make(std::move(make)) {}
    std::size_t size() const { return _size; }
    auto operator[](std::size_t at) const { return _make(at); }
    Iterator begin() const { return {*this, 0}; }
    Iterator end() const { return {*this, _size}; }

   private:
    std::size_t _size;
    Make _make;
  };
  ///@{
  /// Columns and rows by their numbers.
  auto columns() const {
    return Items(_columnCount, [this](std::size_t j) { return Column{variableOf(j), isRelaxed(j)}; });
  }
  auto rows() const {
    return Items(_rowCount, [this](std::size_t i) { return Row{_model.rows()[i]}; });
  }
  ///@}
  const TavNumLinTermI* objectiveSum() const { return _model.objective()->getSum().getImpl(); }
  /// The number of a variable's column or of a constraint's row, or one of the constants above.
  int placeOf(const TavExtractableI* object) const { return _places.of(object->getId()); }

  /// Everything is listed: hand it to the solver.
  virtual void load() = 0;
  /// Called before each solve, in this process: throws for what the solver cannot be told.
  virtual void prepare(const Controls&) {}
  /// Solves, in the child process, and fills in what the solver says, with the vectors below.
  virtual void run(const Controls& controls, Answer& answer) = 0;
  /// The solver broke down: whether it is worth another try, and with what was too much for it left out.
  virtual bool makeCareful() { return false; }

  ///@{
  /// For run().
  double secondsSpent() const;
  double secondsLeft() const;
  bool shouldStop() const;
  /// Reports progress, at a slow rate; whether the solver should stop.
  bool tick(const SolverProgress& progress);
  /// The best solution so far: one value a column.
  void foundSolution(double objective, const double* values) const;
  /// In a child: the answer counts, with the vectors below, should what follows break down or take too long.
  void sendAnswer(Answer& answer);
  /// Values to start from, one a column, NaN for none: those given, else the last solution, else those of the file.
  std::vector<double> startValues(const Controls& controls) const;
  ///@}

  // The loaded model has been modified. An engine that reads the model at each solve need not listen.
  /// A column has new bounds, a new threshold or another kind.
  virtual void columnChanged(int) {}
  /// A row has new bounds.
  virtual void rowChanged(int) {}
  /// A linear coefficient of a row, or of kObjective, is new.
  virtual void coefficientChanged(int /*row*/, int /*column*/, double /*value*/) {}
  /// A column goes; the numbers are still the old ones.
  virtual void columnRemoved(int) {}
  /// The columns and rows from these numbers on are new.
  virtual void appended(int /*firstColumn*/, int /*firstRow*/) {}
  virtual void senseChanged() {}

  // The solution, by column and by row; empty where the solver has none.
  std::vector<double> _values, _activities, _reducedCosts, _duals;
  /// What else the engine wants to know at the next solve.
  std::vector<double> _state;
  void clearSolution();
  /// Checks the solution, once _values has it. Its objective counts where the solver says another one.
  void completeSolution(Answer& answer);
  /// Of the last solve.
  double _tolerance = Controls().tolerance;

 private:
  void* setPlace(const TavExtractableI* object, int place);
  void extractNew();
  void answerWithoutColumns(Answer& answer);
  void solveInChild(const Controls& controls, Answer& answer);
  /// One run in a child process; false when the solver broke down, which `failure` describes.
  bool runOnce(const Controls& controls, Answer& answer, std::string& failure);
  void receive(Message message, const Controls& controls, Answer& answer, bool& done);
  /// Calls visit for each part of the answer and of the solution, in the order of the message.
  template <class Visit>
  void visitAnswer(Answer& answer, const Visit& visit);

  const TavNumVarI* variableOf(std::size_t j) const {
    return _listsColumns ? _variables[j] : _model.columns()[j].getImpl();
  }
  bool isRelaxed(std::size_t j) const { return j < _relaxed.size() && _relaxed[j]; }
  void reserveLists();
  void listColumns();

  const Model& _model;
  /// The number of an object's column or row, or one of the constants above.
  Places _places;
  std::size_t _columnCount = 0, _rowCount = 0;
  /// The columns are the model's until one is removed or comes in another order. Then they are listed, in memory that
  /// is set aside before. The rows always are the model's.
  bool _listsColumns = false;
  LargeVector<const TavNumVarI*> _variables;
  /// Whether columns are relaxed; empty, or as many as there were when they were relaxed.
  std::vector<bool> _relaxed;
  /// Values of the last solution there was.
  std::vector<double> _last;
  std::chrono::steady_clock::time_point _start;
  /// Threads of the solver report progress.
  std::atomic<std::chrono::steady_clock::time_point> _reported;
  double _seconds = std::numeric_limits<double>::infinity();
  /// In the child process of solveInChild() only.
  const Parent* _parent = nullptr;
};

/// Fills the class hooks with functions that call the engine's; called by the constructor.
void installHooks();

}  // namespace tavsolve
