#pragma once
/// The fixture of the tests that tests/docs/page.awk makes of documentation pages.

#include <array>
#include <atomic>
#include <charconv>

#include "tests/support/fixture.h"

class Page : public TavTest {
 protected:
  /// Numeric (`r`) and integer (`w`) expressions of this value, which need not be whole.
  TavNumExprArg r(double value) { return leaf(value, "r"); }
  TavIntExprArg w(double value) { return intLeaf(value, "w"); }
  TavNumExprArray rs(std::initializer_list<double> values) { return each(TavNumExprArray(env), values, &Page::r); }
  TavIntExprArray ws(std::initializer_list<double> values) { return each(TavIntExprArray(env), values, &Page::w); }

  /// The clone in the other environment.
  template <class Arg>
  Arg cloned(Arg expression) const {
    TavExtractableI* clone = TavClonePass(env.getImpl(), other.getImpl()).clone(expression.getImpl());
    return Arg(static_cast<decltype(expression.getImpl())>(clone));
  }

  /// The number in the fewest digits that identify it.
  std::string value(double number) const {
    char text[32];
    return number != number ? "nan" : std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
  }
  template <std::integral Integer>
  std::string value(Integer number) const {
    return std::to_string(number);
  }
  std::string value(TavNumExprArg expression) { return value(eval(expression)); }
  template <class T>
  std::string plainText(const T& object) const {
    return lines(plain(object), object);
  }
  template <class T>
  std::string libraryText(const T& object) const {
    return lines(library(object), object);
  }
  static std::string text(const std::string& found) { return found; }
  /// A function object to be called while it exists. Costs the compiler less than std::function for every row.
  class Call {
   public:
    template <class Function>
    Call(const Function& function)
        : _function(&function), _run([](const void* f) { (*static_cast<const Function*>(f))(); }) {}
    void operator()() const { _run(_function); }

   private:
    const void* _function;
    void (*_run)(const void*);
  };
  /// Expects a debug build to stop at the use with this sentence.
  void stops(const char* use, const char* sentence, Call run) {
#ifdef NDEBUG
    static_cast<void>(use), static_cast<void>(sentence), static_cast<void>(run);
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(run(), std::string(sentence) + "|AddressSanitizer")
        << use;  // which reports a freed node before the assertion does
#endif
  }
  std::string structure(TavNumExprArg expression) const { return shape(expression); }

  /// "[lb .. ub] " for every element, with "i" before an integer one and the threshold of a semi-continuous one after;
  /// "null " for an empty one.
  template <class Array>
  std::string bounds(const Array& array) const {
    std::ostringstream os;
    for (TavInt k = 0; k < array.getSize(); ++k) {
      const TavNumVarI* v = array[k].getImpl();
      if (!v) {
        os << "null ";
        continue;
      }
      os << (v->getType() == TavNumVar::Float ? "" : "i") << "[" << v->getLB() << " .. " << v->getUB() << "] ";
      if constexpr (std::is_same_v<Array, TavSemiContVarArray>) os << "from " << array[k].getSemiContinuousLb() << " ";
    }
    return os.str();
  }

  void gives(const char* expression, const char* wanted, const std::string& found) {
    EXPECT_EQ(found, wanted) << expression;
  }
  /// Expects the call to throw an E with this message and to make nothing.
  template <class E>
  void throws(const char* call, const char* message, Call run) {
    SCOPED_TRACE(call);
    refuses<E>(message, {run});
  }

 private:
  template <class Array>
  Array each(Array array, std::initializer_list<double> values, auto make) {
    for (const double value : values) array.add((this->*make)(value));
    return array;
  }
  /// The text with the identifier of the object replaced by "#".
  template <class T>
  static std::string lines(std::string text, const T& object) {
    if constexpr (requires { object.getImpl()->getId(); }) {
      const std::string id = "(" + std::to_string(object.getImpl()->getId()) + ")";
      for (std::size_t at; (at = text.find(id)) != text.npos;) text.replace(at, id.size(), "(#)");
    }
    return text;
  }
};
