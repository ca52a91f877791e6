// The library against the same work by hand, and against its own `+=`.

#include "bench/benchmarks.h"
#include "bench/by_hand_world.h"

namespace {

/// Writes numbers by std::to_chars into memory instead of a stream.
class ToChars : public ByHand {
 public:
  static constexpr const char* kName = "to_chars";
  using ByHand::ByHand;

  double print(std::ostream&, const Sum& sum) {
    constexpr std::size_t kLongestTerm = 64;
    if (_text.empty()) _text.resize(kLongestTerm * vars.size());
    return static_cast<double>(hand::print(_text.data(), sum) - _text.data());
  }

 private:
  std::vector<char> _text;
};

}  // namespace

int main(int argc, char** argv) {
  registerBenchmarks<ByHand>();
  const std::initializer_list<long> sizes{1'000, 100'000, 1'000'000, 10'000'000};
  registerBenchmark<OneStatement, Library, OwnLoop>("oneStatement", sizes);
  registerBenchmark<Chained, Library, OwnLoop>("chained", sizes);
  registerBenchmark<ScalProd, Library, OwnLoop>("scalProd", sizes);
  registerBenchmark<SumOfArray, Library, OwnLoop>("sumOfArray", sizes);
  registerBenchmark<Print, Library, ToChars>("print", sizes);
  return runRaces(argc, argv);
}
