// Texts are the same as by insertion of every piece, whatever the stream's state.

#include "expression/core/text_writer.h"

#include <bit>
#include <iomanip>
#include <random>

#include "tests/support/fixture.h"

namespace {

/// Decimal commas and groups of three digits.
struct Commas : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

std::vector<double> tellingNumbers() {
  std::vector<double> numbers{0.0,  -0.0,  0.1,     1e-4,     1e-5, 99999.0, -999999.0, 999999.5, 1e6,  -1e6,
                              1e15, 1e300, 2.0 / 3, 123456.0, 1e17, 5e-324,  kInf,      -kInf,    kNaN, -kNaN};
  std::mt19937_64 random(11);
  for (int i = 0; i < 3000; ++i) {
    numbers.push_back(std::bit_cast<double>(random()));
    numbers.push_back(static_cast<double>(random() % 3'000'000) - 1'500'000.0);
    numbers.push_back(static_cast<double>(random() % 100'000) / 64.0);
  }
  return numbers;
}

TEST(TextWriter, WritesWhatInsertionWrites) {
  struct State {
    std::ios::fmtflags flags = std::ios::dec | std::ios::skipws;  // those of a new stream
    std::streamsize precision = 6, width = 0;
    std::locale locale = std::locale::classic();
  };
  using os = std::ios;
  const auto usual = State().flags;
  std::vector<State> states{{usual | os::left, 6, 12}, {usual, 6, 0, {std::locale::classic(), new Commas}}};
  for (const int precision : {6, 0, 3, 17, 60, -1}) states.push_back({usual, precision});
  for (const auto flags : {os::fixed, os::scientific | os::uppercase, os::showpos | os::showpoint, os::unitbuf}) {
    states.push_back({usual | flags});
  }
  states.push_back({os::hex | os::showbase | os::skipws});
  const std::string longName(2000, 'n');
  for (const State& state : states) {
    std::ostringstream expected, written;
    for (std::ostringstream* stream : {&expected, &written}) {
      stream->flags(state.flags), stream->precision(state.precision);
      stream->width(state.width), stream->fill('*'), stream->imbue(state.locale);
    }
    TavTextWriter out(written);
    for (double number : tellingNumbers()) {
      expected << number << " * " << static_cast<TavInt>(std::fmod(number, 1e15)) << ", ";
      out << number << " * " << static_cast<TavInt>(std::fmod(number, 1e15)) << ", ";
    }
    expected << longName << 2.5;
    out << longName << 2.5;
    out.flush();
    ASSERT_EQ(written.str(), expected.str()) << "state " << &state - states.data();
  }
}

/// Its display changes the state of the stream; later text is written in that state.
struct Fixing : TavNumVarI {
  using TavNumVarI::TavNumVarI;
  void display(std::ostream& os) const override { os << "f " << std::fixed << std::setprecision(2); }
};

using TextWriterInSums = TavTest;

TEST_F(TextWriterInSums, FollowsAStateThatAnOperandChanges) {
  TavNumVar p(env, 0, 1, "p"), fixing(new (env.getImpl()) Fixing(env.getImpl(), nullptr));
  TavExpr sum = 1.5 * p + 2.5 * fixing + 3.5 * p;
  EXPECT_EQ(plain(sum), "1.5 * p  + 2.5 * f  + 3.50 * p ");
  sum.end();
  std::ostringstream os;  // a width applies to the first text that is not empty
  os << std::setw(4) << 3 / TavAbs(p) << std::setw(6) << TavAbs(p) * 2;
  EXPECT_EQ(os.str(), "   3 / abs(p[0 .. 1] )  abs(p[0 .. 1] ) * 2");
}

}  // namespace
