// muParser: an expression is a text of at most 20,000 characters, compiled at its first evaluation.

#include <muParser.h>

#include "bench/benchmarks.h"

namespace {

class MuParser {
 public:
  static constexpr const char* kName = "muParser";
  static constexpr long kLargest = 1'000;
  struct Sum {
    std::string text{};
    std::unique_ptr<mu::Parser> parser{};
  };

  explicit MuParser(std::size_t variables) : _values(someValues(variables)) {}

  std::size_t size() const { return _values.size(); }
  Sum newSum() { return Sum(); }
  void add(Sum& sum, std::size_t i, double coef) {
    if (!sum.text.empty()) sum.text += "+";
    sum.text += std::to_string(coef) + "*" + nameOf(i);
  }
  void seal(Sum& sum) { sum.parser = compile(sum.text); }
  void clear(Sum& sum) { sum = Sum(); }
  void end(Sum& sum) { sum = Sum(); }
  double eval(const Sum& sum) { return sum.parser->Eval(); }

 private:
  std::unique_ptr<mu::Parser> compile(const std::string& text) {
    auto parser = std::make_unique<mu::Parser>();
    parser->SetVarFactory(&MuParser::find, this);
    parser->SetExpr(text);
    parser->Eval();
    return parser;
  }
  /// The address of the value of the variable x123.
  static double* find(const char* name, void* self) {
    return &static_cast<MuParser*>(self)->_values[std::stoul(name + 1)];
  }

  std::vector<double> _values;
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<MuParser>();
  return runRaces(argc, argv);
}
