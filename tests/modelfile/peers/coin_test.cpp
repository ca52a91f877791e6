// Linear files mean the same to CoinUtils' readers: random models, and the public files that these read right.

#include <gtest/gtest.h>

#include <unistd.h>
#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

#include "../model_text.h"

/// With a sanitizer, only leaks of our own count: CoinUtils loses memory on files that it refuses.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libCoinUtils\n"; }

namespace {

/// Everything by name, since the readers number variables differently.
struct CoinText {
  CoinText() { text.precision(12); }
  void bounds(double lower, double upper) {
    const auto put = [&](double bound) {
      std::fabs(bound) > 1e20 ? text << (bound < 0 ? "-inf" : "inf") : text << bound;
    };
    text << '[';
    put(lower);
    text << ',';
    put(upper);
    text << ']';
  }
  void row(const std::string& name, const std::map<std::string, double>& terms) {
    text << "\n" << name << ':';
    for (const auto& [variable, value] : terms) {
      if (value != 0.0) text << ' ' << value << ' ' << variable;
    }
  }
  std::ostringstream text;
};

template <class Reader>
std::string textOfCoin(const Reader& reader, bool maximised) {
  CoinText out;
  const auto column = [&](int j) { return std::string(reader.columnName(j)); };
  std::map<std::string, double> cost;
  for (int j = 0; j < reader.getNumCols(); ++j) cost[column(j)] = reader.getObjCoefficients()[j] * (maximised ? -1 : 1);
  out.row("cost", cost);
  std::map<std::string, int> columns;
  for (int j = 0; j < reader.getNumCols(); ++j) columns[column(j)] = j;
  for (const auto& [name, j] : columns) {
    out.text << "\n" << name << (reader.isInteger(j) ? " int" : "");
    out.bounds(reader.getColLower()[j], reader.getColUpper()[j]);
  }
  for (int i = 0; i < reader.getNumRows(); ++i) {
    const CoinShallowPackedVector entries = reader.getMatrixByRow()->getVector(i);
    std::map<std::string, double> terms;
    for (int k = 0; k < entries.getNumElements(); ++k)
      terms[column(entries.getIndices()[k])] = entries.getElements()[k];
    out.row(reader.rowName(i), terms);
    out.bounds(reader.getRowLower()[i], reader.getRowUpper()[i]);
  }
  return out.text.str();
}

std::string textOfOwn(const TavFileModel& model) {
  CoinText out;
  std::map<std::string, double> cost;
  for (const TavFileTerm& term : model.objectives[0].linear) {
    cost[std::string(model.variableNames[term.variable])] = term.value;
  }
  out.row("cost", cost);
  std::map<std::string, TavFileVariable> columns;
  for (std::int32_t j = 0; j < std::ssize(model.variables); ++j) {
    columns[std::string(model.variableNames[j])] = model.variables[static_cast<std::size_t>(j)];
  }
  for (const auto& [name, variable] : columns) {
    out.text << "\n" << name << (variable.kind == TavFileKind::Continuous ? "" : " int");
    out.bounds(variable.lower, variable.upper);
  }
  for (std::size_t i = 0; i < model.rows.size(); ++i) {
    std::map<std::string, double> terms;
    for (std::size_t k = model.linearBegin[i]; k != model.linearBegin[i + 1]; ++k) {
      terms[std::string(model.variableNames[model.linearVariable[k]])] = model.linearValue[k];
    }
    const std::string_view name = model.rowNames[static_cast<std::int32_t>(i)];
    out.row(name.empty() ? "cons" + std::to_string(i) : std::string(name), terms);  // as the peer names it
    out.bounds(model.rows[i].lower, model.rows[i].upper);
  }
  return out.text.str();
}

/// Empty when CoinUtils does not read the file.
std::string readingOfCoin(const std::string& path, bool maximised) {
  CoinMessageHandler silent;
  silent.setLogLevel(0);
  try {
    if (TavFormatOfName(path) == TavFileFormat::Lp) {
      CoinLpIO reader;
      reader.passInMessageHandler(&silent);
      reader.readLp(path.c_str());
      return textOfCoin(reader, maximised);
    }
    CoinMpsIO reader;
    reader.passInMessageHandler(&silent);
    return reader.readMps(path.c_str(), "") == 0 ? textOfCoin(reader, false) : "";
  } catch (const CoinError&) {
    return "";
  }
}

bool isLinear(const TavFileModel& model) {
  bool usual = model.rowParts.empty() && model.sets.empty() && model.indicators.empty() && !model.objectives.empty() &&
               model.objectives[0].products.empty();
  for (const TavFileVariable& variable : model.variables) {
    usual = usual && variable.kind != TavFileKind::SemiContinuous && variable.kind != TavFileKind::SemiInteger;
  }
  return usual;
}

double plain(double value) {
  return std::fabs(value) > 1e-5 && std::fabs(value) < 1e5 ? value : std::copysign(2.5, value);
}

/// Names that every reader takes.
TavNameTable plainNames(char letter, std::int32_t count) {
  TavNameTable names;
  for (std::int32_t i = 0; i < count; ++i) names.append(letter + std::to_string(i));
  return names;
}

/// Leaves out what the peer misreads or drops: free rows, tiny numbers, and ranges in LP files.
void keepWhatThePeerReads(TavFileModel& model) {
  model.variableNames = plainNames('x', static_cast<std::int32_t>(model.variables.size()));
  model.rowNames = plainNames('c', static_cast<std::int32_t>(model.rows.size()));
  model.name = "m";
  model.objectives[0].name = "cost";
  model.objectives[0].maximise = false;
  for (TavFileTerm& term : model.objectives[0].linear) term.value = plain(term.value);
  for (double& value : model.linearValue) value = plain(value);
  const auto tidy = [](double& bound) { bound = std::fabs(bound) < 1e-5 ? 0.0 : bound; };
  for (TavFileVariable& variable : model.variables) tidy(variable.lower), tidy(variable.upper);
  for (TavFileRow& row : model.rows) {
    tidy(row.lower), tidy(row.upper);
    if (std::isinf(row.lower) && std::isinf(row.upper)) row.lower = -3.0;
  }
}

}  // namespace

TEST(CoinUtilsReaders, AgreeOnRandomLinearModels) {
  const auto path = [](const char* extension) {
    return (std::filesystem::temp_directory_path() / ("tav_coin_" + std::to_string(::getpid()) + extension)).string();
  };
  int read = 0;
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    TavFileModel model = randomFileModel(seed, {.products = false, .sets = false, .indicators = false, .kinds = true});
    if (!isLinear(model)) continue;
    keepWhatThePeerReads(model);
    for (const char* extension : {".mps", ".lp"}) {
      const std::string file = path(extension);
      for (TavFileRow& row : model.rows) {
        if (extension[1] == 'l' && std::isfinite(row.lower) && row.lower != row.upper) row.upper = HUGE_VAL;
      }
      TavWriteModel(model, file);
      const std::string peer = readingOfCoin(file, false);
      const std::string own = textOfOwn(TavReadModel(file));
      std::filesystem::remove(file);
      if (peer.empty()) continue;
      ++read;
      EXPECT_EQ(own, peer) << "seed " << seed << extension;
    }
  }
  EXPECT_GT(read, 200);
}

TEST(CoinUtilsReaders, AgreeOnPublicFiles) {
  const std::filesystem::path folder = sharedData() / "models";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no folder " << folder << " (or TAV_SHARED_DATA)";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    TavFileModel model;
    try {
      model = TavReadModel(entry.path().string());
    } catch (const TavFileError&) {
      continue;
    }
    if (!isLinear(model)) continue;
    const std::string peer = readingOfCoin(entry.path().string(), model.objectives[0].maximise);
    if (peer.empty()) continue;
    EXPECT_EQ(textOfOwn(model), peer) << entry.path();
  }
}
