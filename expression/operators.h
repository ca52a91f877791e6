#pragma once
/// Operators: sums, products, quotients and remainders.

#include "expression/handles.h"

#pragma GCC visibility push(default)

///@{
/// The sum of two operands. Sums and multiples of variables and linear expressions stay one linear node; everything
/// else becomes a node of its own. Operands of two environments: TavWrongUsage, with a message that names the operator
/// and the operands, before any node is made or changed.
///
/// An uncounted linear operand is changed in place and returned; an uncounted linear right operand is merged in and
/// destroyed, so that the caller's handle to it dangles. Counted operands are never changed. Other temporaries that an
/// operator only reads (a converted integer sum, a constant side of a product, a folded product) stay until they are
/// ended or the environment ends.
///
/// The terms of the left operand come first; when only the right operand is a sum, a variable on the left is put before
/// its terms, and any other expression on the left behind its parts.
TavNumExprArg operator+(TavNumExprArg a, TavNumExprArg b);
TavNumExprArg operator+(TavNumExprArg a, TavNumLinExprTerm t);
TavNumExprArg operator+(TavNumExprArg a, TavIntLinExprTerm t);
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator+(TavIntLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator+(TavNumLinExprTerm t, TavIntLinExprTerm u);
TavIntExprArg operator+(TavIntExprArg a, TavIntExprArg b);
TavIntExprArg operator+(TavIntExprArg a, TavIntLinExprTerm t);
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntExprArg b);
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntLinExprTerm u);
///@}

///@{
/// a - b is a + (-b), with the addition's message.
TavNumExprArg operator-(TavNumExprArg a, TavNumExprArg b);
TavNumExprArg operator-(TavNumExprArg a, TavNumLinExprTerm t);
TavNumExprArg operator-(TavNumExprArg a, TavIntLinExprTerm t);
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumExprArg b);
TavNumExprArg operator-(TavNumLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator-(TavIntLinExprTerm t, TavNumLinExprTerm u);
TavNumExprArg operator-(TavNumLinExprTerm t, TavIntLinExprTerm u);
TavIntExprArg operator-(TavIntExprArg a, TavIntExprArg b);
TavIntExprArg operator-(TavIntExprArg a, TavIntLinExprTerm t);
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntExprArg b);
TavIntExprArg operator-(TavIntLinExprTerm t, TavIntLinExprTerm u);
///@}

///@{
/// The sum of an expression and a number: a linear expression with its constant raised; any other expression becomes
/// the part of a new sum. Integer expressions and whole numbers give integer expressions.
TavNumExprArg operator+(TavNumExprArg e, TavNumArg d);
TavNumExprArg operator+(TavNumLinExprTerm t, TavNumArg d);
TavNumExprArg operator+(TavIntLinExprTerm t, TavFloatArg d);
TavIntExprArg operator+(TavIntExprArg e, TavIntArg k);
TavIntExprArg operator+(TavIntLinExprTerm t, TavIntArg k);
inline TavNumExprArg operator+(TavNumArg d, TavNumExprArg e) { return e + d; }
inline TavNumExprArg operator+(TavNumArg d, TavNumLinExprTerm t) { return t + d; }
inline TavNumExprArg operator+(TavFloatArg d, TavIntLinExprTerm t) { return t + d; }
inline TavIntExprArg operator+(TavIntArg k, TavIntExprArg e) { return e + k; }
inline TavIntExprArg operator+(TavIntArg k, TavIntLinExprTerm t) { return t + k; }
///@}

///@{
/// e - d is e + (-d).
inline TavNumExprArg operator-(TavNumExprArg e, TavNumArg d) { return e + -d.value; }
inline TavNumExprArg operator-(TavNumLinExprTerm t, TavNumArg d) { return t + -d.value; }
inline TavNumExprArg operator-(TavIntLinExprTerm t, TavFloatArg d) { return t + -d.value; }
inline TavIntExprArg operator-(TavIntExprArg e, TavIntArg k) { return e + TavWrapNegate(k.value); }
inline TavIntExprArg operator-(TavIntLinExprTerm t, TavIntArg k) { return t + TavWrapNegate(k.value); }
///@}

///@{
/// d - e is d + (-e).
TavNumExprArg operator-(TavNumArg d, TavNumExprArg e);
TavNumExprArg operator-(TavNumArg d, TavNumLinExprTerm t);
TavNumExprArg operator-(TavFloatArg d, TavIntLinExprTerm t);
TavIntExprArg operator-(TavIntArg k, TavIntExprArg e);
TavIntExprArg operator-(TavIntArg k, TavIntLinExprTerm t);
///@}

///@{
/// Negation: e * -1. A term handle's own cell is negated, so that the operand is negated too.
TavNumExprArg operator-(TavNumExprArg e);
TavIntExprArg operator-(TavIntExprArg e);
TavNumLinExprTerm operator-(TavNumVar x);
TavIntLinExprTerm operator-(TavIntVar x);
TavNumLinExprTerm operator-(TavNumLinExprTerm t);
TavIntLinExprTerm operator-(TavIntLinExprTerm t);
///@}

///@{
/// A variable times a number: one term, O(1), whose cell becomes a cell of the sum. An integer variable times a
/// whole number is an integer term.
TavNumLinExprTerm operator*(TavNumVar x, TavNumArg d);
TavIntLinExprTerm operator*(TavIntVar x, TavIntArg k);
inline TavNumLinExprTerm operator*(TavIntVar x, TavFloatArg d) { return TavNumVar(x) * d.value; }
inline TavNumLinExprTerm operator*(TavNumArg d, TavNumVar x) { return x * d; }
inline TavIntLinExprTerm operator*(TavIntArg k, TavIntVar x) { return x * k; }
inline TavNumLinExprTerm operator*(TavFloatArg d, TavIntVar x) { return x * d; }
///@}

///@{
/// An expression times a number: a linear expression with all coefficients multiplied, O(n), no factor being special: 0
/// keeps every term. The constants of products by constants fold: x * 2 * 3 is x * 6. Any other e gives a node,
/// TavNumTimesCstI or TavIntTimesCstI.
/// Evaluates to value times d in floating point. Prints "( " e "* " d ") ", or e " * " d.
TavNumExprArg operator*(TavNumExprArg e, TavNumArg d);
TavIntExprArg operator*(TavIntExprArg e, TavIntArg k);
inline TavNumExprArg operator*(TavNumArg d, TavNumExprArg e) { return e * d; }
inline TavIntExprArg operator*(TavIntArg k, TavIntExprArg e) { return e * k; }
///@}

/// The product of two expressions: a constant side makes it a product by that constant, else a node TavNumTimesI.
/// Prints "( " a "* " b ") ", or a " * " b.
TavNumExprArg operator*(TavNumExprArg a, TavNumExprArg b);
/// The product of integer expressions: always a node TavIntTimesI. Evaluates in floating point without truncating the
/// operands; prints as the numeric one.
TavIntExprArg operator*(TavIntExprArg a, TavIntExprArg b);

/// An expression divided by a number: a variable becomes a term with coefficient 1 / d, a linear expression is divided,
/// any other e gives a node TavNumDivCstI. No divisor is checked: 0 gives infinities or not-a-numbers.
/// Prints "( " e "/ " d ") ", or e "/ " d.
TavNumExprArg operator/(TavNumExprArg e, TavNumArg d);
/// A number divided by an expression: always a node TavNumRecDivCstI. Prints "( " d "/ " e ") ", or d " / " e.
TavNumExprArg operator/(TavNumArg d, TavNumExprArg e);
/// The quotient of two expressions: always a node TavNumDivI. Prints "( " a "/ " b ") ", or a " / " b.
TavNumExprArg operator/(TavNumExprArg a, TavNumExprArg b);

///@{
/// The quotient of integers, cut toward zero, each operand's value being cut toward zero first: -7 by 2 is -3. Always a
/// node (TavIntDivI, TavIntDivCstI, TavIntRecDivCstI). A zero divisor is not checked: the evaluation is then undefined.
/// Mixed environments: TavWrongUsage "TavDiv: mixing mismatch Environments".
/// Prints "( " a "/ " b ") ", or a " / " b.
TavIntExprArg TavDiv(TavIntExprArg a, TavIntExprArg b);
TavIntExprArg TavDiv(TavIntExprArg e, TavIntArg k);
TavIntExprArg TavDiv(TavIntArg k, TavIntExprArg e);
///@}
///@{
/// Operands that are not integer do not compile.
tavrefused::a_quotient_by_TavDiv_has_integer_operands TavDiv(TavNumExprArg a, TavNumExprArg b)
    TAV_REFUSED(a_quotient_by_TavDiv_has_integer_operands);
tavrefused::a_quotient_by_TavDiv_has_integer_operands TavDiv(TavNumExprArg e, TavNumArg d)
    TAV_REFUSED(a_quotient_by_TavDiv_has_integer_operands);
tavrefused::a_quotient_by_TavDiv_has_integer_operands TavDiv(TavNumArg d, TavNumExprArg e)
    TAV_REFUSED(a_quotient_by_TavDiv_has_integer_operands);
///@}

///@{
/// The remainder of the division of integers, with the sign of the dividend, each operand's value being cut toward zero
/// first: -7 % 3 is -1. Always a node (TavIntModuloI, TavIntModuloCstI, TavIntRecModuloCstI). A zero divisor is not
/// checked: the evaluation is then undefined. Prints "( " a "% " b ") " or a " % " b; with a constant on the right "( "
/// e "% " k ") " or e "% " k; with one on the left "(" k "% " e ")" or k " % " e.
TavIntExprArg operator%(TavIntExprArg a, TavIntExprArg b);
TavIntExprArg operator%(TavIntExprArg e, TavIntArg k);
TavIntExprArg operator%(TavIntArg k, TavIntExprArg e);
///@}
///@{
/// Operands that are not integer do not compile.
tavrefused::a_remainder_has_integer_operands operator%(TavNumExprArg a, TavNumExprArg b)
    TAV_REFUSED(a_remainder_has_integer_operands);
tavrefused::a_remainder_has_integer_operands operator%(TavNumExprArg e, TavNumArg d)
    TAV_REFUSED(a_remainder_has_integer_operands);
tavrefused::a_remainder_has_integer_operands operator%(TavNumArg d, TavNumExprArg e)
    TAV_REFUSED(a_remainder_has_integer_operands);
///@}

#pragma GCC visibility pop
