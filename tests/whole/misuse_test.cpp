#include "tests/support/fixture.h"

#ifndef NDEBUG
namespace {

using Misuse = TavTest;

TEST_F(Misuse, IsMetInDebugBuildsByASentence) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const TavNumVar x = num("x", 1.0);
  const TavNumVar foreign(other, 0.0, 1.0);
  TavEnvI* home = env.getImpl();
  const auto gone = [&] {  // the sanitizer sees the use of the freed node before the assertion does
    TavNumExprArg e = TavSin(x), copy = e;
    e.end();
    return copy;
  };
  const struct {
    const char* sentence;
    std::function<void()> use;
  } kMisuses[] = {
      {"its handle dangles|AddressSanitizer", [&] { gone() + 1.0; }},
      {"its handle dangles|AddressSanitizer", [&] { x + gone(); }},
      {"its handle dangles|AddressSanitizer", [&] { eval(gone()); }},
      {"its handle dangles|AddressSanitizer", [&] { TavNumExpr kept(gone()); }},
      {"its handle dangles|AddressSanitizer", [&] { gone().end(); }},
      {"its handle dangles|AddressSanitizer",
       [&] {
         TavNumExprArg sum = 2 * x + 1, merged = x + 3;
         sum + merged, merged + x;
       }},
      {"a term handle was used twice",
       [&] {
         const TavNumLinExprTerm term = 2 * x;
         x + term, x + term;
       }},
      {"the mark array is lent already", [&] { home->getMarkArray(), home->getMarkArray(); }},
      {"a variable of another environment",
       [&] {
         linear({{1.0, foreign}});
       }},
      {"a variable of another environment", [&] { linear({})->setCoef(foreign, 2.0); }},
      {"a part of another environment", [&] { linear({})->append(TavSin(foreign).getImpl()); }},
      {"an operand of another environment", [&] { new (home) TavSinI(home, foreign.getImpl()); }},
      {"an operand of another environment", [&] { new (home) TavNumMinCstI(home, foreign.getImpl(), 1.0); }},
      {"operands of another environment", [&] { new (home) TavNumTimesI(home, x.getImpl(), foreign.getImpl()); }},
      {"an element of another environment",
       [&] {
         TavNumExprArray array(env);
         array.add(foreign);
         new (home) TavNumMinArrayI(home, array);
       }},
  };
  for (const auto& misuse : kMisuses) EXPECT_DEATH(misuse.use(), misuse.sentence);
}

}  // namespace
#endif
