#pragma once
/// The exception family. Every failure of the library is thrown by value and derives from TavException. Messages are
/// string literals and stored as pointers. A failed allocation throws std::bad_alloc.

#include <exception>
#include <iosfwd>
#include <utility>

#include "host/numbers.h"

#pragma GCC visibility push(default)

class TavAlgorithmI;

/// Base of the family: a fixed message, or none, and a code.
class TavException : public std::exception {
 public:
  /// `message` is a literal, or null: only the pointer is stored.
  explicit TavException(const char* message = nullptr, TavInt code = 0) noexcept : _message(message), _code(code) {}

  /// The message; null when the exception carries none.
  virtual const char* getMessage() const noexcept { return _message; }
  /// The code that it was thrown with.
  TavInt getCode() const noexcept { return _code; }
  /// Writes the message, or the class's own sentence when there is none.
  virtual void print(std::ostream& os) const;
  /// Does nothing: an exception thrown by value owns nothing. Code that ends everything it catches may call it.
  virtual void end() noexcept {}
  /// The message, or a sentence for the class; never null.
  const char* what() const noexcept override;

 protected:
  /// What `what()` says when there is no message.
  virtual const char* describe() const noexcept { return "failure in the modelling library"; }

 private:
  const char* _message;
  TavInt _code;
};

/// Runs all steps even when one throws, then rethrows the first exception.
class TavFirstFailure {
 public:
  /// Calls step() and stores its exception.
  template <class Step>
  void attempt(Step step) noexcept {
    try {
      step();
    } catch (...) {
      note(std::current_exception());
    }
  }
  /// Stores an exception unless there is one already; null is ignored.
  void note(std::exception_ptr failure) noexcept {
    if (!_failure) _failure = std::move(failure);
  }
  /// The first failure, or null.
  std::exception_ptr get() const noexcept { return _failure; }
  /// Throws the first failure, if there is one.
  void rethrow() const {
    if (_failure) std::rethrow_exception(_failure);
  }

 private:
  std::exception_ptr _failure;
};

/// Operands of two environments, wrong counts and other misuse.
class TavWrongUsage : public TavException {
 public:
  /// `message` is a literal: only the pointer is stored.
  explicit TavWrongUsage(const char* message, TavInt code = 0) noexcept : TavException(message, code) {}
};

/// An empty handle was used.
class TavEmptyHandleException : public TavException {
 public:
  TavEmptyHandleException() noexcept = default;

 protected:
  const char* describe() const noexcept override { return "an empty handle was used"; }
};

/// An operation that a class does not provide.
class TavNotImplemented : public TavException {
 public:
  /// `message` is a literal: only the pointer is stored.
  explicit TavNotImplemented(const char* message) noexcept : TavException(message) {}
};

/// An operation that is forbidden on an object.
class TavNotSupportedOperation : public TavException {
 public:
  /// `message` is a literal: only the pointer is stored.
  explicit TavNotSupportedOperation(const char* message) noexcept : TavException(message) {}
};

/// A variable cannot be taken as one of the requested kind.
class TavBadConversion : public TavException {
 public:
  TavBadConversion() noexcept = default;

 protected:
  const char* describe() const noexcept override { return "the object cannot be converted to the requested kind"; }
};

/// An array is empty, or contains an empty element, where neither is allowed.
class TavArrayError : public TavException {
 public:
  /// `message` is a literal: only the pointer is stored.
  explicit TavArrayError(const char* message) noexcept : TavException(message) {}
};

#pragma GCC visibility pop
