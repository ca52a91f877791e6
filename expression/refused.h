#pragma once
/// Why an operation on expressions is refused at compile time.

#pragma GCC visibility push(default)

/// The reasons, as the first line of the compiler's error has them: g++ prints the result type of a deleted function,
/// clang the sentence of its attribute. Overload resolution and concepts treat both in the same way.
namespace tavrefused {
struct an_integer_expression_takes_integers_only;
struct an_integer_expression_is_not_divided_in_place;
struct a_quotient_by_TavDiv_has_integer_operands;
struct a_remainder_has_integer_operands;
struct an_element_is_replaced_by_set;
}  // namespace tavrefused

/// Ends the declaration of a function that must not be called.
#ifdef __clang__
#define TAV_REFUSED(reason)                                                             \
  _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wgcc-compat\"") \
      __attribute__((diagnose_if(true, #reason, "error"))) _Pragma("clang diagnostic pop")
#else
#define TAV_REFUSED(reason) = delete
#endif

#pragma GCC visibility pop
