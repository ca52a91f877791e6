#pragma once
/// Solvers run in a child process. Whatever they throw, assert, print or overrun then ends the child and not the
/// program: the parent keeps the time limit and the last solution that it has heard of.

#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace tavsolve {

/// Numbers, texts and arrays of numbers as bytes, in the order in which they were put.
class Message {
 public:
  template <class T>
  requires std::is_trivially_copyable_v<T>
  void put(const T& value) { append(&value, sizeof value); }
  void put(const std::string& text) { putArray(text.data(), text.size()); }
  template <class T>
  void put(const std::vector<T>& items) {
    putArray(items.data(), items.size());
  }

  template <class T>
  requires std::is_trivially_copyable_v<T>
  void take(T& value) { extract(&value, sizeof value); }
  void take(std::string& text) { takeArray(text); }
  template <class T>
  void take(std::vector<T>& items) {
    takeArray(items);
  }

  std::string bytes{};

 private:
  template <class T>
  void putArray(const T* first, std::size_t count) {
    put(count);
    append(first, count * sizeof(T));
  }
  template <class Array>
  void takeArray(Array& array) {
    std::size_t count = 0;
    take(count);
    if (count > bytes.size() - _taken) throw std::length_error(kTooShort);  // what a broken solver has sent
    array.resize(count);
    extract(array.data(), count * sizeof(typename Array::value_type));
  }
  void append(const void* data, std::size_t size) { bytes.append(static_cast<const char*>(data), size); }
  void extract(void* data, std::size_t size);

  static constexpr const char* kTooShort = "a message of the solver ends early";

  std::size_t _taken = 0;
};

/// A file descriptor, closed at the end.
class Descriptor {
 public:
  /// Throws std::system_error, for what errno says, when the number is negative.
  explicit Descriptor(int number);
  Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(_number, other._number);
    return *this;
  }
  ~Descriptor() { close(); }

  int number() const { return _number; }
  void close();

 private:
  int _number;
};

/// A pipe, whose ends are closed in programs that a process executes.
struct Pipe {
  /// Throws std::system_error.
  Pipe();

  Descriptor reading, writing;

 private:
  explicit Pipe(const std::array<int, 2>& ends) : reading(ends[0]), writing(ends[1]) {}
};

/// What the child's work may call.
class Parent {
 public:
  explicit Parent(int pipe) : _pipe(pipe) {}

  /// Hands the parent a message, which it receives in order.
  void send(const Message& message) const;
  /// Whether the parent has asked for an end.
  static bool wantsEnd();

 private:
  int _pipe;
};

/// A process of its own that works for this one; killed when this object or this process ends.
class Child {
 public:
  /// Runs `work` in the process. Its standard output goes to the file `log`, or nowhere when the name is empty; the
  /// last line of its standard error is part of failure(). Throws std::system_error when there can be no process.
  Child(const std::function<void(const Parent&)>& work, const std::string& log);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child();

  /// Readable when the child has sent something or has ended.
  int pipe() const { return _pipe.reading.number(); }
  void signal(int number) const;
  /// Takes what can be read now and hands over each complete message; false when the child has ended.
  bool receive(const std::function<void(Message)>& take);
  /// Waits for its end. What the child threw or broke down with, in one line.
  std::string failure();

 private:
  int wait();

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> _errors;
  Pipe _pipe;
  int _id = 0;
  std::string _buffer;
};

/// What the parent decides while the child works.
enum class Order {
  GoOn,
  End,  ///< the child is asked to end in order, and is killed some time later
  Kill
};

/// How the child ended.
struct ChildEnd {
  /// Killed by an order.
  bool killed = false;
  /// What the child threw or broke down with, in one line, if it did.
  std::string failure{};
};

/// Runs `work` in a child process and hands each message that it sends to `receive`. `decide` is asked at least
/// every 20 milliseconds. `log` is as for Child. Throws std::system_error when there can be no child.
ChildEnd runInChild(const std::function<void(const Parent&)>& work, const std::function<void(Message)>& receive,
                    const std::function<Order()>& decide, const std::string& log);

}  // namespace tavsolve
