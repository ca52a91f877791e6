#include "expression/core/array_family.h"
#include "expression/core/int_linear.h"
#include "expression/core/num_linear.h"

namespace {

/// Throws TavEmptyHandleException for an empty handle, TavInvalidScalProdArraysException for unequal sizes.
template <class A, class B>
void requireSameSize(const A& a, const B& b) {
  if (!a.getImpl() || !b.getImpl()) throw TavEmptyHandleException();
  if (a.getSize() != b.getSize()) {
    throw TavInvalidScalProdArraysException("TavScalProd: arrays have different size", 0);
  }
}

// by contract: "environments" in small letters, unlike in most other messages
void requireIn(const TavEnvI* env, const TavExtractableI* factor) {
  if (TavRequireEnv(factor) != env) throw TavWrongUsage("TavScalProd: mixing mismatch environments", 0);
}

/// One cell per position: nothing is merged, zeros stay.
template <class Linear, class Coefs, class Vars>
Linear* termsOf(Coefs coefs, Vars vars) {
  requireSameSize(coefs, vars);
  TavEnvI* env = vars.getImpl()->getEnv();
  TavGuardedCells<TavNumLinExprTermI> terms;  // before the node: if this fails, no deletion interceptor sees a node
  TavArrayReader<TavNumVarI*> var(vars.getImpl());
  TavArrayReader<decltype(+coefs[0])> coef(coefs.getImpl());
  for (TavInt left = vars.getSize(); left > 0; --left) {
    TavNumVarI* next = var.next();
    requireIn(env, next);
    terms.add(env->newTerm(next, static_cast<double>(coef.next())));
  }
  auto* linear = new (env) Linear(env, 0);
  linear->append(terms);
  return linear;
}

/// Runs work(); on failure runs undo() with every element retained, so that undo() destroys none of them.
template <class Array, class Work, class Undo>
void workOrUndo(std::initializer_list<Array> arrays, Work work, Undo undo) {
  try {
    work();
  } catch (...) {
    const auto forEach = [&arrays](auto apply) {
      for (const Array& array : arrays) {
        for (TavInt i = 0; i < array.getSize(); ++i) {
          if (TavNumExprI* node = TavImplCast<TavNumExprI>(array[i].getImpl())) apply(node);
        }
      }
    };
    forEach([](TavNumExprI* node) { node->retain(); });
    undo();
    forEach([](TavNumExprI* node) { node->lower(); });
    throw;
  }
}

/// One part per position.
template <class Linear, class Part, class Array>
Linear* productsOf(Array a, Array b) {
  requireSameSize(a, b);
  TavEnvI* env = a.getImpl()->getEnv();
  for (TavInt i = 0; i < a.getSize(); ++i) {
    requireIn(env, a[i].getImpl());
    requireIn(env, b[i].getImpl());
  }
  auto linear = TavMakeNode<Linear>(env, env, 0);
  const auto work = [&] {
    for (TavInt i = 0; i < a.getSize(); ++i) {
      // Retained: otherwise an uncounted linear element would be changed in place, and with it the array's element.
      const TavKeepAlive left(a[i].getImpl()), right(b[i].getImpl());
      TavGuard<Part> product((a[i] * b[i]).getImpl());
      linear->append(product.get());  // by contract: a part even when it is linear
      product.release();
    }
  };
  workOrUndo({a, b}, work, [&linear] { linear.reset(); });
  return linear.release();
}

template <class A, class B>
double numberOf(A a, B b) {
  requireSameSize(a, b);
  double sum = 0.0;
  for (TavInt i = 0; i < a.getSize(); ++i) sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
  return sum;
}

/// Adds up the elements in place by the operator of the counted handle, which throws for a foreign element. On failure
/// the partial sum is destroyed.
template <class Sum, class Array>
auto* sumOfElements(Array array) {
  if (!array.getImpl()) throw TavEmptyHandleException();
  Sum sum(array.getEnv(), 0);
  using Element = std::decay_t<decltype(array[0])>;
  constexpr bool kVariables = std::is_same_v<Element, TavNumVar> || std::is_same_v<Element, TavIntVar>;
  const auto work = [&sum, array] {
    for (TavInt i = 0, size = array.getSize(); i < size; ++i) {
      const TavKeepAlive keep(kVariables ? nullptr : array[i].getImpl());  // a variable is never changed by a sum
      sum += array[i];
    }
  };
  workOrUndo({array}, work, [&sum] { sum.end(); });
  TavImplCast<TavNumExprI>(sum.getImpl())->lower();
  return sum.getImpl();
}

}  // namespace

TavNumExprArg TavScalProd(TavNumArray coefs, TavNumVarArray variables) {
  return TavNumExprArg(termsOf<TavNumLinTermI>(coefs, variables));
}
TavNumExprArg TavScalProd(TavNumVarArray variables, TavNumArray coefs) { return TavScalProd(coefs, variables); }

TavNumExprArg TavScalProd(TavNumArray coefs, TavIntVarArray variables) {
  return TavNumExprArg(termsOf<TavNumLinTermI>(coefs, variables));
}
TavNumExprArg TavScalProd(TavIntVarArray variables, TavNumArray coefs) { return TavScalProd(coefs, variables); }

TavNumExprArg TavScalProd(TavIntArray coefs, TavNumVarArray variables) {
  return TavNumExprArg(termsOf<TavNumLinTermI>(coefs, variables));
}
TavNumExprArg TavScalProd(TavNumVarArray variables, TavIntArray coefs) { return TavScalProd(coefs, variables); }

TavIntExprArg TavScalProd(TavIntArray coefs, TavIntVarArray variables) {
  return TavIntExprArg(termsOf<TavIntLinTermI>(coefs, variables));
}
TavIntExprArg TavScalProd(TavIntVarArray variables, TavIntArray coefs) { return TavScalProd(coefs, variables); }

TavNumExprArg TavScalProd(TavNumExprArray a, TavNumExprArray b) {
  return TavNumExprArg(productsOf<TavNumLinTermI, TavNumExprI>(a, b));
}
TavIntExprArg TavScalProd(TavIntExprArray a, TavIntExprArray b) {
  return TavIntExprArg(productsOf<TavIntLinTermI, TavIntExprI>(a, b));
}

double TavScalProd(TavNumArray a, TavNumArray b) { return numberOf(a, b); }
double TavScalProd(TavIntArray a, TavNumArray b) { return numberOf(a, b); }
double TavScalProd(TavNumArray a, TavIntArray b) { return numberOf(a, b); }

TavInt TavScalProd(TavIntArray a, TavIntArray b) {
  requireSameSize(a, b);
  TavInt sum = 0;
  for (TavInt i = 0; i < a.getSize(); ++i) sum = TavWrapAdd(sum, TavWrapMul(a[i], b[i]));
  return sum;
}

TavNumExprArg TavSum(TavNumExprArray array) { return TavNumExprArg(sumOfElements<TavExpr>(array)); }
TavNumExprArg TavSum(TavNumVarArray array) { return TavNumExprArg(sumOfElements<TavExpr>(array)); }
TavIntExprArg TavSum(TavIntExprArray array) { return TavIntExprArg(sumOfElements<TavIntExpr>(array)); }
TavIntExprArg TavSum(TavIntVarArray array) { return TavIntExprArg(sumOfElements<TavIntExpr>(array)); }

double TavSum(TavNumArray array) {
  if (!array.getImpl()) throw TavEmptyHandleException();
  double sum = 0.0;
  for (TavInt i = 0; i < array.getSize(); ++i) sum += array[i];
  return sum;
}

TavInt TavSum(TavIntArray array) {
  if (!array.getImpl()) throw TavEmptyHandleException();
  TavInt sum = 0;
  for (TavInt i = 0; i < array.getSize(); ++i) sum = TavWrapAdd(sum, array[i]);
  return sum;
}
