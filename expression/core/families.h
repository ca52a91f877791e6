#pragma once
/// Class header for authors of algorithms: the regular shapes of nodes. A node class states its name, its texts and its
/// arithmetic; its family does the rest.

#include <ostream>

#include "expression/core/nested.h"

#pragma GCC visibility push(default)

/// The text before, between and behind the operands of a node.
struct TavText {
  /// Before the first operand.
  const char* open;
  /// Between two operands.
  const char* middle;
  /// Behind the last operand.
  const char* close;
};

/// Writes the text unless it is empty: an empty insertion would use up the stream's width.
inline void TavWrite(std::ostream& os, const char* text) {
  if (*text) os << text;
}

/// A node's texts in the two syntaxes.
struct TavTexts {
  /// In the library's call syntax.
  TavText library;
  /// In the plain syntax.
  TavText plain;

  /// The text in the syntax that the environment has chosen.
  const TavText& in(const TavEnvI* env) const noexcept { return env->librarySyntaxDisplay ? library : plain; }
};

/// f(x). Self states `kTexts` and `static double apply(double)`.
template <class Self, class Base, class Operand = TavNumExprI>
class TavUnaryI : public TavNested<Self, Base> {
 public:
  /// A new node, which adds one reference to the operand.
  TavUnaryI(TavEnvI* env, Operand* operand) : TavNested<Self, Base>(env, nullptr), _operand(operand) {
    assert(TavMayHold(env, operand) && "an operand of another environment got past the checks");
    operand->retain();
  }
  ~TavUnaryI() override { this->getEnv()->release(_operand); }

  /// The operand.
  Operand* getOperand() const noexcept { return _operand; }
  /// The body of eval.
  double value(TavAlgorithm algorithm) const { return Self::apply(_operand->eval(algorithm)); }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, _operand);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    return new (target) Self(target, TavCloneOf(_operand, this->getEnv()));
  }
  /// The body of display.
  void write(std::ostream& os) const {
    const TavText& text = Self::kTexts.in(this->getEnv());
    TavWrite(os, text.open);
    _operand->display(os);
    TavWrite(os, text.close);
  }

 private:
  Operand* _operand;
};

/// f(x, c), x printed first. Self states `kTexts` and `static double apply(double x, Constant c)`.
template <class Self, class Base, class Constant, class Operand = TavNumExprI>
class TavCstI : public TavNested<Self, Base> {
 public:
  /// A new node, which adds one reference to the operand.
  TavCstI(TavEnvI* env, Operand* operand, Constant constant)
      : TavNested<Self, Base>(env, nullptr), _operand(operand), _constant(constant) {
    assert(TavMayHold(env, operand) && "an operand of another environment got past the checks");
    operand->retain();
  }
  ~TavCstI() override { this->getEnv()->release(_operand); }

  /// The operand.
  Operand* getOperand() const noexcept { return _operand; }
  /// The constant.
  Constant getConstant() const noexcept { return _constant; }
  /// The body of eval.
  double value(TavAlgorithm algorithm) const { return Self::apply(_operand->eval(algorithm), _constant); }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, _operand);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    return new (target) Self(target, TavCloneOf(_operand, this->getEnv()), _constant);
  }
  /// The body of display.
  void write(std::ostream& os) const {
    const TavText& text = Self::kTexts.in(this->getEnv());
    TavWrite(os, text.open);
    _operand->display(os);
    TavWrite(os, text.middle);
    os << _constant;
    TavWrite(os, text.close);
  }

 private:
  Operand* _operand;
  Constant _constant;
};

/// f(c, x): the constant is still the second field and the second argument of `apply`, but prints first.
template <class Self, class Base, class Constant, class Operand = TavNumExprI>
class TavRecCstI : public TavCstI<Self, Base, Constant, Operand> {
 public:
  using TavCstI<Self, Base, Constant, Operand>::TavCstI;

  /// The body of display.
  void write(std::ostream& os) const {
    const TavText& text = Self::kTexts.in(this->getEnv());
    TavWrite(os, text.open);
    os << this->getConstant();
    TavWrite(os, text.middle);
    this->getOperand()->display(os);
    TavWrite(os, text.close);
  }
};

/// f(x, y). Self states `kTexts` and `static double apply(double x, double y)`; x is evaluated first.
template <class Self, class Base, class Operand = TavNumExprI>
class TavBinaryI : public TavNested<Self, Base> {
 public:
  /// A new node, which adds one reference to each operand.
  TavBinaryI(TavEnvI* env, Operand* left, Operand* right)
      : TavNested<Self, Base>(env, nullptr), _left(left), _right(right) {
    assert(TavMayHold(env, left) && TavMayHold(env, right) && "operands of another environment got past the checks");
    left->retain();
    right->retain();
  }
  ~TavBinaryI() override {
    this->getEnv()->release(_left);
    this->getEnv()->release(_right);
  }

  /// The first operand.
  Operand* getLeft() const noexcept { return _left; }
  /// The second operand.
  Operand* getRight() const noexcept { return _right; }
  /// The body of eval.
  double value(TavAlgorithm algorithm) const {
    const double left = _left->eval(algorithm);
    return Self::apply(left, _right->eval(algorithm));
  }
  void visitSubExtractables(TavExtractableVisitor* visitor) override {
    visitor->beginVisit(this);
    visitor->visitChild(this, _left);
    visitor->visitChild(this, _right);
    visitor->endVisit(this);
  }
  TavExtractableI* makeClone(TavEnvI* target) const override {
    Operand* left = TavCloneOf(_left, this->getEnv());
    return new (target) Self(target, left, TavCloneOf(_right, this->getEnv()));
  }
  /// The body of display.
  void write(std::ostream& os) const {
    const TavText& text = Self::kTexts.in(this->getEnv());
    TavWrite(os, text.open);
    _left->display(os);
    TavWrite(os, text.middle);
    _right->display(os);
    TavWrite(os, text.close);
  }

 private:
  Operand* _left;
  Operand* _right;
};

#pragma GCC visibility pop
