/// Reading of model files: this project's readers, the usual readers of each format (CoinUtils for MPS and LP, ASL for
/// .nl), and a pass over the same bytes that only finds the numbers and parses them by std::from_chars, in one run on
/// one file.
/// Prints processor times and their ratios, separated by tabs.
///
/// usage: tav_measure_model_files [NON-ZEROS [REPETITIONS]]

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include "modelfile/input.h"
#include "modelfile/tavmodelfile.h"

#ifdef TAV_BENCH_ASL
extern "C" {
#include "asl.h"
}
#undef f
#undef printf
#endif

namespace {

double processorSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Processor time of `run` in a process of its own, as programs read a file once: each reader gets new memory from the
/// system.
double timeInProcess(const std::function<void()>& run) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) {
    const double start = processorSeconds();
    run();
    const double seconds = processorSeconds() - start;
    _exit(write(ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  close(ends[1]);
  double seconds = 0.0;
  const bool got = child > 0 && read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
  close(ends[0]);
  if (!got || waitpid(child, nullptr, 0) != child) std::abort();
  return seconds;
}

/// The least of two times, one directly behind the other. The first may contain what it costs a virtual machine to get
/// memory from its host, which takes free memory back after seconds.
double timeOf(const std::function<void()>& run) {
  const double first = timeInProcess(run);
  return std::min(first, timeInProcess(run));
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

/// The end of the word at `at`, searched eight bytes at a time.
const char* wordEnd(const char* at) {
  for (;; at += 8) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    const std::uint64_t blanks = (word - 0x2121212121212121) & ~word & 0x8080808080808080;
    if (blanks != 0) return at + std::countr_zero(blanks) / 8;
  }
}

/// Parses the words that begin with a digit or a point by std::from_chars and skips the others. The yardstick is the
/// standard library's function, so that it does not move with the readers' own.
std::size_t parseNumbers(const std::string& path) {
  const TavReadOptions options;
  TavFileInput input = TavFileInput::openFile(path, options);
  std::size_t count = 0;
  double sum = 0.0;
  while (input.nextLines()) {
    const char* const end = input.end();
    for (const char* at = input.begin(); at != end;) {
      if (static_cast<unsigned char>(*at) <= ' ') {
        ++at;
      } else if (static_cast<unsigned char>(*at - '0') < 10 || *at == '.') {
        double value = 0.0;
        const char* const behind = std::from_chars(at, end, value).ptr;
        at = behind != at ? behind : wordEnd(at);
        sum += value;
        ++count;
      } else {
        at = wordEnd(at);
      }
    }
  }
  return sum == 0.5 ? 0 : count;
}

void readByPeer(const std::string& path, TavFileFormat format) {
  CoinMessageHandler silent;
  silent.setLogLevel(0);
  if (format == TavFileFormat::Lp) {
    CoinLpIO reader;
    reader.passInMessageHandler(&silent);
    reader.readLp(path.c_str());
  } else if (format == TavFileFormat::Mps) {
    CoinMpsIO reader;
    reader.passInMessageHandler(&silent);
    reader.readMps(path.c_str(), "");
  } else {
#ifdef TAV_BENCH_ASL
    ASL* asl = ASL_alloc(ASL_read_f);
    std::string name = path;
    FILE* const file = jac0dim_ASL(asl, name.data(), static_cast<ftnlen>(name.size()));
    f_read_ASL(asl, file, 0);
    ASL_free(&asl);
#endif
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::size_t nonZeros = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1'000'000;
  const int repetitions = argc > 2 ? std::atoi(argv[2]) : 3;
  std::printf("format\tnonzeros\tMB\town s\tnumbers s\tpeer s\town/numbers\tpeer/own\n");
  constexpr double kNever = std::numeric_limits<double>::infinity();
  for (const char* extension : {".mps", ".lp", ".nl"}) {
    const std::string stub =
        (std::filesystem::temp_directory_path() / ("tav_bench_" + std::to_string(getpid()))).string();
    const std::string path = stub + extension;
    const TavFileFormat format = TavFormatOfName(path);
    TavWriteModel(sparseModel(nonZeros), path);
    for (const char* names : {".col", ".row"}) std::filesystem::remove(stub + names);  // ASL does not read them
    double own = kNever, numbers = kNever, peer = kNever;
    for (int i = 0; i < repetitions; ++i) {  // in turns; the minimum of each
      own = std::min(own, timeOf([&] { TavReadModel(path); }));
      numbers = std::min(numbers, timeOf([&] { parseNumbers(path); }));
      peer = std::min(peer, timeOf([&] { readByPeer(path, format); }));
    }
#ifndef TAV_BENCH_ASL
    if (format == TavFileFormat::Nl) peer = 0.0;  // not found
#endif
    std::printf("%s\t%zu\t%.1f\t%.4f\t%.4f\t%.4f\t%.2f\t%.2f\n", extension + 1, nonZeros,
                static_cast<double>(std::filesystem::file_size(path)) / 1e6, own, numbers, peer, own / numbers,
                peer / own);
    std::filesystem::remove(path);
  }
}
