/// Reading of MPS and LP files: this project's readers, CoinUtils' readers and a pass over the same bytes that does
/// nothing but find and parse the numbers, in one run on one file. Prints the processor time of each and the ratios.
///
/// usage: tav_bench_model_files [NON-ZEROS [REPETITIONS]]

#include <sys/resource.h>
#include <unistd.h>

#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include "modelfile/input.h"
#include "modelfile/number_text.h"
#include "modelfile/tavmodelfile.h"

namespace {

double processorSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The least of several runs.
double fastest(int repetitions, const std::function<void()>& run) {
  double least = std::numeric_limits<double>::infinity();
  for (int i = 0; i < repetitions; ++i) {
    const double start = processorSeconds();
    run();
    least = std::min(least, processorSeconds() - start);
  }
  return least;
}

/// Ten entries a column, in rows drawn at random; coefficients of one to six digits.
TavFileModel sparseModel(std::size_t nonZeros) {
  constexpr int kEntries = 10;
  const auto columns = static_cast<std::int32_t>(nonZeros / kEntries);
  std::mt19937_64 random(1);
  const auto draw = [&](std::int32_t end) { return static_cast<std::int32_t>(random() % static_cast<unsigned>(end)); };
  TavFileModel model;
  model.objectives.emplace_back().name = "cost";
  for (std::int32_t i = 0; i < columns; ++i) {
    model.variables.emplace_back().upper = 1 + draw(100);
    model.variableNames.append(std::string("x").append(std::to_string(i)));
    model.objectives[0].linear.push_back({i, 1.0 + draw(1000)});
  }
  std::vector<std::int32_t> entries(kEntries);
  for (std::int32_t i = 0; i < columns; ++i) {
    model.rows.push_back({1.0 + draw(50), std::numeric_limits<double>::infinity()});
    model.rowNames.append(std::string("c").append(std::to_string(i)));
    for (std::int32_t& entry : entries) entry = draw(columns);
    std::sort(entries.begin(), entries.end());
    entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
    for (const std::int32_t entry : entries) {
      model.linearVariable.push_back(entry);
      model.linearValue.push_back((1 + draw(999999)) / (draw(2) == 0 ? 1.0 : 1000.0));
    }
    entries.resize(kEntries);
    model.linearBegin.push_back(model.linearVariable.size());
  }
  return model;
}

/// Words that begin with a digit or a point are parsed, the others passed over.
std::size_t parseNumbers(const std::string& path) {
  const TavReadOptions options;
  TavFileInput input = TavFileInput::openFile(path, options);
  std::size_t count = 0;
  double sum = 0.0;
  while (input.nextLines()) {
    for (const char* at = input.begin(); at != input.end();) {
      while (at != input.end() && static_cast<unsigned char>(*at) <= ' ') ++at;
      if (at == input.end()) break;
      if ((*at >= '0' && *at <= '9') || *at == '.') {
        const TavScannedNumber number = TavScanNumber(at);
        sum += number.value;
        ++count;
        at = number.end;
      }
      while (static_cast<unsigned char>(*at) > ' ') ++at;
    }
  }
  return sum == 0.5 ? 0 : count;
}

void readByCoin(const std::string& path, bool lp) {
  CoinMessageHandler silent;
  silent.setLogLevel(0);
  if (lp) {
    CoinLpIO reader;
    reader.passInMessageHandler(&silent);
    reader.readLp(path.c_str());
  } else {
    CoinMpsIO reader;
    reader.passInMessageHandler(&silent);
    reader.readMps(path.c_str(), "");
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::size_t nonZeros = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1'000'000;
  const int repetitions = argc > 2 ? std::atoi(argv[2]) : 3;
  std::printf("%zu non-zeros, least processor time of %d runs\n", nonZeros, repetitions);
  for (const char* extension : {".mps", ".lp"}) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("tav_bench_" + std::to_string(getpid()) + extension)).string();
    TavWriteModel(sparseModel(nonZeros), path);
    const double own = fastest(repetitions, [&] { TavReadModel(path); });
    const double limit = fastest(repetitions, [&] { parseNumbers(path); });
    const double coin = fastest(std::max(1, repetitions / 2), [&] { readByCoin(path, extension[1] == 'l'); });
    std::printf(
        "%-4s %9.1f MB   own %7.3f s   numbers only %7.3f s (own is %.2f of it)   CoinUtils %7.3f s (%.1f times own)\n",
        extension, static_cast<double>(std::filesystem::file_size(path)) / 1e6, own, limit, own / limit, coin,
        coin / own);
    std::filesystem::remove(path);
  }
}
