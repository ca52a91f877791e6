#pragma once
/// Solvers run in a child process. Whatever they throw, assert, print or overrun then ends the child and not the
/// program: the parent keeps the time limit and the last solution that it has heard of.

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace tavsolve {

/// Numbers, texts and arrays of numbers as bytes, in the order in which they were put.
class Message {
 public:
  template <class T>
  requires std::is_trivially_copyable_v<T>
  void put(const T& value) { append(&value, sizeof value); }
  void put(const std::string& text) { putArray(text.data(), text.size()); }
  void put(const std::vector<double>& numbers) { putArray(numbers.data(), numbers.size()); }

  template <class T>
  requires std::is_trivially_copyable_v<T>
  void take(T& value) { extract(&value, sizeof value); }
  void take(std::string& text) { takeArray(text); }
  void take(std::vector<double>& numbers) { takeArray(numbers); }

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
    array.resize(count);
    extract(array.data(), count * sizeof(typename Array::value_type));
  }
  void append(const void* data, std::size_t size) { bytes.append(static_cast<const char*>(data), size); }
  void extract(void* data, std::size_t size);

  std::size_t _taken = 0;
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
/// every 20 milliseconds. The child's standard output and error go to the file `log`, or nowhere when the name is
/// empty. Throws std::system_error when there can be no child.
ChildEnd runInChild(const std::function<void(const Parent&)>& work, const std::function<void(Message)>& receive,
                    const std::function<Order()>& decide, const std::string& log);

}  // namespace tavsolve
