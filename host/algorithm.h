#pragma once
/// Algorithms, which supply values and receive modifications, and the environment's model evaluator.

#include <functional>

#include "host/errors.h"
#include "host/extractable.h"

#pragma GCC visibility push(default)

class TavChange;
class TavIntExprArg;
class TavIntExprI;
class TavNumVar;

/// Base of an algorithm's implementation. It extracts model objects, supplies the values of variables and is notified
/// of modifications of extracted objects. It may outlive its environment; getEnv() then returns null.
class TavAlgorithmI {
 public:
  /// Registers the algorithm with the environment, which notifies it of modifications from now on.
  explicit TavAlgorithmI(TavEnvI* env);
  TavAlgorithmI(const TavAlgorithmI&) = delete;
  TavAlgorithmI& operator=(const TavAlgorithmI&) = delete;
  virtual ~TavAlgorithmI();

  /// The environment; null once it has ended.
  TavEnvI* getEnv() const noexcept { return _env; }
  /// The current value of a variable. Every evaluation calls it for each variable. May throw when there is none.
  virtual double getValue(const TavNumVarI* variable) const = 0;
  /// The value of another integer expression; called for constraints. Default: throws TavAlgorithm::Exception. It must
  /// not evaluate the expression, because the evaluation of a constraint calls it.
  virtual double getValue(const TavIntExprI* expression) const;
  /// Whether change records about the object are wanted. Default: false.
  virtual bool hasExtracted(const TavExtractableI* object) const;
  /// Applies one modification. Default: the record's applyToCP, with this algorithm and no data.
  virtual void change(const TavChange& change);
  /// An extracted object is about to be destroyed. Default: nothing.
  virtual void forget(TavExtractableI* object);

 private:
  friend class TavEnvI;
  TavEnvI* _env;
};

/// Handle on an algorithm, passed by value through every evaluation.
class TavAlgorithm {
 public:
  /// Base of the failures below.
  class Exception : public TavException {
   public:
    using TavException::TavException;
  };
  /// A class's extraction hook, or one of a constraint's hooks, is not installed.
  class ExtractFailure : public Exception {
   public:
    using Exception::Exception;

   protected:
    const char* describe() const noexcept override { return "no hook extracts objects of this class"; }
  };
  /// A class's unextraction or modification hook is not installed.
  class RemoveFailure : public Exception {
   public:
    using Exception::Exception;

   protected:
    const char* describe() const noexcept override { return "no hook unextracts or modifies objects of this class"; }
  };
  /// A change record's hook is not installed, or the algorithm rejects the change.
  class CannotChangeException : public Exception {
   public:
    /// `algorithm` is the one that rejects the change.
    explicit CannotChangeException(const TavAlgorithmI* algorithm) noexcept : _algorithm(algorithm) {}
    /// The algorithm that rejected the change; it may be destroyed by the time the exception is caught.
    const TavAlgorithmI* getAlgorithm() const noexcept { return _algorithm; }

   protected:
    const char* describe() const noexcept override { return "the algorithm cannot apply this change"; }

   private:
    const TavAlgorithmI* _algorithm;
  };

  TavAlgorithm() noexcept = default;
  /// A handle on this algorithm, which it does not own.
  TavAlgorithm(TavAlgorithmI* impl) noexcept : _impl(impl) {}

  TavAlgorithmI* getImpl() const noexcept { return _impl; }
  /// The variable's value in this algorithm. Throws TavEmptyHandleException on an empty algorithm or variable.
  double getValue(TavNumVar variable) const;
  /// The expression's value in this algorithm; a variable is passed to the overload above.
  double getValue(TavIntExprArg expression) const;

 private:
  TavAlgorithmI* _impl = nullptr;
};

/// Handle on an environment's model evaluator: a second source of values, used when an algorithm has none.
class TavModelEvaluator {
 public:
  /// A variable without value was met.
  class Unbound : public TavException {
   public:
    Unbound() noexcept = default;

   protected:
    const char* describe() const noexcept override { return "a variable has no value"; }
  };
  /// Gives the value of an expression or throws, Unbound for one that has none.
  using Source = std::function<TavInt(TavIntExprI*)>;

  /// A handle on a source of values; environments make it.
  explicit TavModelEvaluator(Source* source) noexcept : _source(source) {}

  /// Installs the source of values; the evaluator is active while it has one. The evaluation of a variable checks this
  /// when it begins.
  void activate(Source source) const { *_source = std::move(source); }
  /// Removes the source: the evaluator is inactive.
  void deactivate() const { *_source = nullptr; }
  /// Whether there is a source of values.
  bool isActive() const noexcept { return static_cast<bool>(*_source); }
  /// The expression's value in the environment's model evaluator. Throws Unbound when it has none, or when the
  /// evaluator is not active.
  TavInt evaluate(TavIntExprArg expression) const;

 private:
  Source* _source;
};

#pragma GCC visibility pop
