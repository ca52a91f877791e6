#pragma once
/// Functions of expressions.
///
/// No function simplifies: constants, equal operands and arrays of one element make a node too. Results are
/// uncounted: keep them in a TavNumExpr, TavExpr or TavIntExpr. An empty operand throws TavEmptyHandleException. A node
/// costs O(1), one pooled block; array forms copy their array, O(n).

#include "expression/arrays.h"

#pragma GCC visibility push(default)

/// x * x. Integer operands are not truncated. Prints "TavSquare(" x ") ", or "square(" x ")".
TavNumExprArg TavSquare(TavNumExprArg x);
TavIntExprArg TavSquare(TavIntExprArg x);

/// |x|, with the sign bit cleared: +0.0 for -0.0. Prints "TavAbs(" x ") ", or "abs(" x ")".
TavNumExprArg TavAbs(TavNumExprArg x);
TavIntExprArg TavAbs(TavIntExprArg x);

/// 1, -1 or 0: the sign; 0 for both zeros and for a not-a-number. Prints "TavSgn(" x ") ", or "sgn(" x ")".
TavIntExprArg TavSgn(TavNumExprArg x);

/// The lesser of two values: a if b > a, else b, so that ties and not-a-numbers give b. Mixed environments:
/// TavWrongUsage "TavMin: mixing mismatch Environments". Prints "TavMin( " a ", " b ") ", or "min(" a ", " b ")".
TavNumExprArg TavMin(TavNumExprArg a, TavNumExprArg b);
TavIntExprArg TavMin(TavIntExprArg a, TavIntExprArg b);
///@{
/// The lesser of an expression and a number, in either order: x if c > x, else c. Prints
/// "TavMin( " x ", " c ") ", or "min( " x ", " c ")"; an integer one "( " x ", " c ") ", or "min(" x ", " c ")".
TavNumExprArg TavMin(TavNumExprArg x, TavNumArg c);
TavIntExprArg TavMin(TavIntExprArg x, TavIntArg c);
inline TavNumExprArg TavMin(TavNumArg c, TavNumExprArg x) { return TavMin(x, c); }
inline TavIntExprArg TavMin(TavIntArg c, TavIntExprArg x) { return TavMin(x, c); }
///@}
/// The least value of an array, which is copied: the first of equal ones. Element 0 is evaluated twice unless it is the
/// only one; an empty array throws TavArrayError "Array of size 0 in evaluation of TavMin" when it is evaluated. An
/// element of another environment throws TavWrongUsage "TavMin: mixing mismatch Environments", an empty one
/// TavEmptyHandleException.
/// Prints "TavMin( " array ") ", or "min( " array ")"; an integer one "TavMin( " array ") ", or "min(" array ")".
TavNumExprArg TavMin(TavNumExprArray array);
TavIntExprArg TavMin(TavIntExprArray array);
TavNumExprArg TavMin(TavNumVarArray array);
TavIntExprArg TavMin(TavIntVarArray array);
/// The least number, at once; a not-a-number is never taken, except in the first place. Throws TavArrayError "Array of
/// size 0 in call to TavMin".
double TavMin(TavNumArray array);
TavInt TavMin(TavIntArray array);

/// The greater of two values: a if a > b, else b, so that ties and not-a-numbers give b. Mixed environments:
/// TavWrongUsage "TavMax: mixing mismatch Environments". Prints "TavMax( " a ", " b ") ", or "max(" a ", " b ")".
TavNumExprArg TavMax(TavNumExprArg a, TavNumExprArg b);
TavIntExprArg TavMax(TavIntExprArg a, TavIntExprArg b);
///@{
/// The greater of an expression and a number, in either order: x if x > c, else c. Prints
/// "TavMax( " x ", " c ") ", or "max( " x ", " c ")"; an integer one "( " x ", " c ") ", or "max(" x ", " c ")".
TavNumExprArg TavMax(TavNumExprArg x, TavNumArg c);
TavIntExprArg TavMax(TavIntExprArg x, TavIntArg c);
inline TavNumExprArg TavMax(TavNumArg c, TavNumExprArg x) { return TavMax(x, c); }
inline TavIntExprArg TavMax(TavIntArg c, TavIntExprArg x) { return TavMax(x, c); }
///@}
/// The greatest value of an array, which is copied: the first of equal ones. Element 0 is evaluated twice unless it is
/// the only one; an empty array throws TavArrayError "Array of size 0 in evaluation of TavMax" when it is evaluated. An
/// element of another environment throws TavWrongUsage "TavMax: mixing mismatch Environments", an empty one
/// TavEmptyHandleException.
/// Prints "TavMax( " array ") ", or "max(" array ")".
TavNumExprArg TavMax(TavNumExprArray array);
TavIntExprArg TavMax(TavIntExprArray array);
TavNumExprArg TavMax(TavNumVarArray array);
TavIntExprArg TavMax(TavIntVarArray array);
/// The greatest number, at once; a not-a-number is never taken, except in the first place. Throws TavArrayError "Array
/// of size 0 in call to TavMax".
double TavMax(TavNumArray array);
TavInt TavMax(TavIntArray array);

/// The arrays of a scalar product differ in size: "TavScalProd: arrays have different size".
class TavInvalidScalProdArraysException : public TavException {
 public:
  using TavException::TavException;
};

/// The scalar product over variables: a new linear node with one term per position, in array order, nothing merged and
/// zeros kept; integer when both sides are. O(n): one cell each.
/// Throws TavInvalidScalProdArraysException, then TavWrongUsage "TavScalProd: mixing mismatch environments" for a
/// variable of another environment than its array's, TavEmptyHandleException for an empty one; nothing is made then.
TavNumExprArg TavScalProd(TavNumArray coefs, TavNumVarArray variables);
TavNumExprArg TavScalProd(TavNumVarArray variables, TavNumArray coefs);
TavNumExprArg TavScalProd(TavNumArray coefs, TavIntVarArray variables);
TavNumExprArg TavScalProd(TavIntVarArray variables, TavNumArray coefs);
TavNumExprArg TavScalProd(TavIntArray coefs, TavNumVarArray variables);
TavNumExprArg TavScalProd(TavNumVarArray variables, TavIntArray coefs);
TavIntExprArg TavScalProd(TavIntArray coefs, TavIntVarArray variables);
TavIntExprArg TavScalProd(TavIntVarArray variables, TavIntArray coefs);
/// The scalar product over expressions: a new linear node with the products a[i] * b[i] as its parts, also those that
/// are linear because one side is constant. Throws TavInvalidScalProdArraysException, TavWrongUsage "TavScalProd:
/// mixing mismatch environments" for an element of another environment than that of `a`, TavEmptyHandleException for an
/// empty one.
TavNumExprArg TavScalProd(TavNumExprArray a, TavNumExprArray b);
TavIntExprArg TavScalProd(TavIntExprArray a, TavIntExprArray b);
/// The scalar product of numbers, at once, in index order; integers wrap around. 0 for empty arrays.
double TavScalProd(TavNumArray a, TavNumArray b);
double TavScalProd(TavIntArray a, TavNumArray b);
double TavScalProd(TavNumArray a, TavIntArray b);
TavInt TavScalProd(TavIntArray a, TavIntArray b);

/// The sum of all elements, in order: a new linear node, O(n) in the number of terms. The array's elements stay as they
/// are. 0 for an empty array. Mixed environments: TavWrongUsage with the message of the addition.
TavNumExprArg TavSum(TavNumExprArray array);
TavNumExprArg TavSum(TavNumVarArray array);
TavIntExprArg TavSum(TavIntExprArray array);
TavIntExprArg TavSum(TavIntVarArray array);
/// The sum of numbers, at once, in index order; integers wrap around. 0 for an empty array, TavEmptyHandleException for
/// an empty handle.
double TavSum(TavNumArray array);
TavInt TavSum(TavIntArray array);

///@{
/// x to the power y, by std::pow: a negative base with a fractional exponent gives a not-a-number. Counts as integer
/// when both sides do, also with negative exponents. Mixed environments: TavWrongUsage "TavPower: mixing mismatch
/// environments". Prints "( " x "^ " y ") ", or x " ^ " y.
TavNumExprArg TavPower(TavNumExprArg x, TavNumExprArg y);
TavNumExprArg TavPower(TavNumExprArg x, TavNumArg y);
TavNumExprArg TavPower(TavNumArg x, TavNumExprArg y);
///@}

///@{
/// Elementary functions, x in radians where it is an angle. Each evaluates to the standard function of its operand's
/// value, without a domain check: the logarithm of 0 is minus infinity, the arc cosine of 2 a not-a-number.
/// Print "TavSin(" x ") ", or "sin(" x ")" ("cos(", "tan(", "arc-sin(", "arc-cos(", "arc-tan(", "log(", "exp(").
TavNumExprArg TavSin(TavNumExprArg x);
TavNumExprArg TavCos(TavNumExprArg x);
TavNumExprArg TavTan(TavNumExprArg x);
TavNumExprArg TavArcSin(TavNumExprArg x);
TavNumExprArg TavArcCos(TavNumExprArg x);
TavNumExprArg TavArcTan(TavNumExprArg x);
TavNumExprArg TavLog(TavNumExprArg x);
TavNumExprArg TavExponent(TavNumExprArg x);
///@}
///@{
/// TavLog(x) divided by the natural logarithm of 2, of 10.
TavNumExprArg TavLog2(TavNumExprArg x);
TavNumExprArg TavLog10(TavNumExprArg x);
///@}

///@{
/// Roundings. They count as integer when their operand does, TavNumToInt always.
/// Up and down: std::ceil, std::floor. Print "TavCeil(" x ") ", or "ceil(" x ")"; "floor(".
TavNumExprArg TavCeil(TavNumExprArg x);
TavNumExprArg TavFloor(TavNumExprArg x);
///@}
/// Toward zero, through a 64-bit integer. Prints "TavTrunc(" x ") ", or "trunc(" x ")".
TavNumExprArg TavTrunc(TavNumExprArg x);
/// The distance to the nearest whole number; the operand is evaluated twice. Prints "TavDistToInt(" x ") ", or
/// "distToInt(" x ")".
TavNumExprArg TavDistToInt(TavNumExprArg x);
/// What is behind the decimal point, with the sign of x: -0.75 for -2.75. Prints "TavFract(" x ") ", or "fract(" x ")".
TavNumExprArg TavFract(TavNumExprArg x);
/// To the nearest whole number, halves to the even one. Prints "TavVurRound(" x ") ", or "round(" x ")".
TavNumExprArg TavVurRound(TavNumExprArg x);
/// The same value as an integer expression; evaluating anything that is not exactly whole throws TavWrongUsage
/// "TavNumToIntI::eval : expr is not IntExpr". Prints "TavNumToInt(" x ") ", or "numToInt(" x ")".
TavIntExprArg TavNumToInt(TavNumExprArg x);

/// The element of an array at the position that `index` evaluates to, cut toward zero: array[index]. The node keeps a
/// copy of the array, in whose environment it is made. No bound is checked: a position outside is undefined.
/// Prints "TavNumArrayIndex(" index ", " array ") " or "nums[" index "]"; "TavIntArrayIndex(" and "ints[",
/// "TavNumExprArrayIndex(" and "num-exprs[", "TavIntExprArrayIndex(" and "int-exprs[" by the array's kind.
TavIntExprArg TavElement(TavIntArray array, TavIntExprArg index);
TavIntExprArg TavElement(TavIntVarArray array, TavIntExprArg index);
TavNumExprArg TavElement(TavNumArray array, TavIntExprArg index);
TavNumExprArg TavElement(TavNumVarArray array, TavIntExprArg index);
inline TavNumExprArg TavElement(TavNumExprArray array, TavIntExprArg index) { return array[index]; }
inline TavIntExprArg TavElement(TavIntExprArray array, TavIntExprArg index) { return array[index]; }

/// The piecewise-linear function of x with n breakpoints and n + 1 slopes that takes `anchorValue` at `anchor`. Two
/// equal breakpoints are a jump, whose height is the slope between them. Both arrays are copied; their sizes and order
/// are not checked. An empty handle: TavEmptyHandleException. Prints "piecewiselinear(" x ", " breakpoints ", " slopes
/// ", " anchor ", " anchorValue ")" in both syntaxes.
TavNumExprArg TavPiecewiseLinear(TavNumExprArg x, TavNumArray breakpoints, TavNumArray slopes, double anchor,
                                 double anchorValue);
/// The form by values at the breakpoints, with the slopes outside. The segment is the one that `firstSlope`, taken as a
/// position, falls into, whatever x is. Prints "piecewiselinear(" x ", " firstSlope ", " breakpoints ", " values ", "
/// lastSlope ")".
TavNumExprArg TavPiecewiseLinear(TavNumExprArg x, double firstSlope, TavNumArray breakpoints, TavNumArray values,
                                 double lastSlope);

///@{
/// A client's function of x, declared monotonic; `second` is carried along for algorithms. Neither is checked.
/// Print "TavMonotonicDecreasingNumExpr(" x ")" and "TavMonotonicIncreasingNumExpr(" x ")" in both syntaxes.
TavNumExprArg TavMonotonicDecreasingNumExpr(TavNumExprArg x, double (*function)(double), double (*second)(double));
TavNumExprArg TavMonotonicIncreasingNumExpr(TavNumExprArg x, double (*function)(double), double (*second)(double));
///@}

/// How many expressions take exactly this value. The array is copied. Throws TavArrayError "TavCount: array of size 0"
/// or "TavCount: empty handle in array", TavWrongUsage "TavCount: mixing mismatch Environments".
/// Prints "TavCount( " exprs ", " value ") ", or "count(" exprs ", " value ")".
TavIntExprArg TavCount(TavIntExprArray exprs, TavInt value);

/// The population standard deviation; every expression is evaluated twice. The bounds are carried along for algorithms.
/// The array is copied. Throws TavArrayError "TavStandardDeviation: array of size 0" or "TavStandardDeviation: empty
/// handle in array", TavWrongUsage "TavStandardDeviation: mixing mismatch Environments". Prints "TavStandardDeviation(
/// " exprs ") ", or "stddev(" exprs ")".
TavNumExprArg TavStandardDeviation(TavIntExprArray exprs, double lowerBound, double upperBound);
TavNumExprArg TavStandardDeviation(TavIntExprArray exprs);

#pragma GCC visibility pop
