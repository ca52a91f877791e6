#include "modelfile/nl_header.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// Walks one line of numbers.
class Line {
 public:
  explicit Line(TavNlText& text) noexcept : _text(text) {}
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;
  ~Line() = default;

  /// The next number, 0 where the line ends.
  std::int64_t next() {
    const std::int64_t value = _text.integerOr(0);
    if (value < 0) _text.fail("a negative number of items");
    return value;
  }
  std::int32_t count() {
    const std::int64_t value = next();
    if (value > std::numeric_limits<std::int32_t>::max()) _text.fail("more than 2^31 - 1 items");
    return static_cast<std::int32_t>(value);
  }
  /// Drops what else the line says.
  void end() {
    while (_text.integerOr(-1) >= 0) {
    }
    _text.endLine();
  }

 private:
  TavNlText& _text;
};

void readOptions(TavNlText& text, TavNlHeader& header) {
  const char letter = text.letter();
  if (letter != 'g' && letter != 'b') text.fail("not an .nl file: expected g or b");
  header.binary = letter == 'b';
  const std::int64_t count = text.integerOr(0);
  if (count < 0 || count > 9) text.fail("expected 0 to 9 options");
  for (std::int64_t i = 0; i < count; ++i) header.options.push_back(static_cast<double>(text.integer()));
  if (count >= 2 && header.options[1] == 3.0) {
    header.options.push_back(text.number());
    if (std::isinf(header.options.back())) text.fail("expected a finite number");
  }
  text.endLine();
}

void readSizes(TavNlText& text, TavNlHeader& header) {
  Line line(text);
  header.variables = line.count();
  header.rows = line.count();
  header.objectives = line.count();
  line.count();       // ranges
  text.integerOr(0);  // equations: -1 for unknown
  header.logical = line.count();
  line.end();
}

/// The kinds of the variables follow from their order, so the numbers of the kinds must fit.
void checkKinds(TavNlText& text, const TavNlHeader& header) {
  const std::int64_t inObjectivesOnly = std::max(0, header.nonlinearInObjectives - header.nonlinearInRows);
  const std::int64_t nonlinear = header.nonlinearInRows + inObjectivesOnly;
  const std::int64_t discrete = std::int64_t{header.binaries} + header.integers;
  if (header.nonlinearInBoth > std::min(header.nonlinearInRows, header.nonlinearInObjectives) ||
      header.integersInBoth > header.nonlinearInBoth ||
      header.integersInRows > header.nonlinearInRows - header.nonlinearInBoth ||
      header.integersInObjectives > inObjectivesOnly || nonlinear + discrete > header.variables) {
    text.fail("the numbers of variables of each kind do not fit together");
  }
}

}  // namespace

TavNlHeader TavReadNlHeader(TavNlText& text) {
  TavNlHeader header;
  readOptions(text, header);
  readSizes(text, header);
  Line line(text);
  line.end();  // numbers of nonlinear rows: said again by the rows
  line.end();  // network constraints, which are read like others
  header.nonlinearInRows = line.count();
  header.nonlinearInObjectives = line.count();
  header.nonlinearInBoth = line.count();
  line.end();
  line.count();  // linear network variables
  line.count();  // imported functions: refused where one is declared
  header.arithmetic = line.next();
  line.end();
  header.binaries = line.count();
  header.integers = line.count();
  header.integersInBoth = line.count();
  header.integersInRows = line.count();
  header.integersInObjectives = line.count();
  checkKinds(text, header);
  line.end();
  header.nonzeros = line.next();
  header.gradientNonzeros = line.next();
  line.end();
  line.end();  // lengths of names
  for (int i = 0; i < 5; ++i) header.commons += line.count();
  line.end();
  return header;
}
