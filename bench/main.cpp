// The library against the same work by hand, and against its own `+=`.

#include "bench/by_hand_world.h"
#include "bench/roads.h"

namespace {

/// Numbers by std::to_chars into memory instead of a stream.
class ToChars : public ByHand {
 public:
  static constexpr const char* kName = "to_chars";
  using ByHand::ByHand;

  std::size_t print(std::ostream&, const Sum& sum) {
    constexpr std::size_t kLongestTerm = 64;
    if (_text.empty()) _text.resize(kLongestTerm * vars.size());
    return static_cast<std::size_t>(hand::print(_text.data(), sum) - _text.data());
  }

 private:
  std::vector<char> _text;
};

}  // namespace

int main(int argc, char** argv) {
  const std::initializer_list<long> sizes{1'000, 100'000, 1'000'000, 10'000'000};
  enterRoad<BuildWarm, Library, ByHand>("buildWarm", sizes);
  enterRoad<BuildCold, Library, ByHand>("buildCold", sizes);
  enterRoad<Clear, Library, ByHand>("clear", sizes);
  enterRoad<RowsWarm, Library, ByHand>("rowsWarm", sizes);
  enterRoad<RowsCold, Library, ByHand>("rowsCold", sizes);
  enterRoad<RowsWalk, Library, ByHand>("rowsWalk", sizes);
  enterRoad<RowsCopy, Library, ByHand>("rowsCopy", sizes);
  enterRoad<RowsClear, Library, ByHand>("rowsClear", sizes);
  enterRoad<OneStatement, Library, OwnLoop>("oneStatement", sizes);
  enterRoad<OneStatement, Library, ByHand>("oneStatement", sizes);
  enterRoad<Chained, Library, OwnLoop>("chained", sizes);
  enterRoad<Chained, Library, ByHand>("chained", sizes);
  enterRoad<ScalProd, Library, OwnLoop>("scalProd", sizes);
  enterRoad<ScalProd, Library, ByHand>("scalProd", sizes);
  enterRoad<SumOfArray, Library, OwnLoop>("sumOfArray", sizes);
  enterRoad<SumOfArray, Library, ByHand>("sumOfArray", sizes);
  enterRoad<CopySum, Library, ByHand>("copySum", sizes);
  enterRoad<BuildAndMerge, Library, ByHand>("buildAndMerge", sizes);
  enterRoad<MergeRecycled, Library, ByHand>("mergeRecycled", sizes);
  enterRoad<MergeFresh, Library, ByHand>("mergeFresh", sizes);
  enterRoad<MergeScattered, Library, ByHand>("mergeScattered", sizes);
  enterRoad<MergeByFields, Library, ByHand>("mergeByFields", sizes);
  enterRoad<SetCoefs, Library, ByHand>("setCoefs", sizes);
  enterRoad<Remove, Library, ByHand>("remove", sizes);
  enterRoad<EvalSum, Library, ByHand>("evalSum", sizes);
  enterRoad<ChainCold, Library, ByHand>("chainCold", sizes);
  enterRoad<ChainWarm, Library, ByHand>("chainWarm", sizes);
  enterRoad<ChainEval, Library, ByHand>("chainEval", sizes);
  enterRoad<ChainEnd, Library, ByHand>("chainEnd", sizes);
  enterRoad<CloneRows, Library, ByHand>("cloneRows", sizes);
  enterRoad<VariablesArray, Library, ByHand>("variablesArray", sizes);
  enterRoad<VariablesOneByOne, Library, ByHand>("variablesOneByOne", sizes);
  enterRoad<VariablesNamed, Library, ByHand>("variablesNamed", sizes);
  enterRoad<Print, Library, ByHand>("print", sizes);
  enterRoad<Print, Library, ToChars>("print", sizes);
  enterRoad<PrintFixed, Library, ByHand>("printFixed", sizes);
  return runRaces(argc, argv);
}
