#include "model_file.h"

#include <CoinError.hpp>
#include <CoinFileIO.hpp>
#include <CoinLpIO.hpp>
#include <CoinMpsIO.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>
#include <memory>

#include "captured_output.h"
#include "input_error.h"
#include "reader_guard.h"

namespace tavsolve {

namespace {

/// What the readers write for "no bound".
double withInfinity(double bound) {
  constexpr double kNoBound = std::numeric_limits<double>::max();
  if (bound >= kNoBound) return std::numeric_limits<double>::infinity();
  return bound <= -kNoBound ? -std::numeric_limits<double>::infinity() : bound;
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool isLpFile(std::string path) {
  std::transform(path.begin(), path.end(), path.begin(), [](unsigned char c) { return std::tolower(c); });
  return endsWith(path, ".lp") || endsWith(path, ".lp.gz") || endsWith(path, ".lp.bz2");
}

/// One line without the readers' decoration.
std::string tidy(std::string text) {
  for (const char* mark : {"### ", "ERROR: ", "** "}) {
    if (text.rfind(mark, 0) == 0) text.erase(0, std::string(mark).size());
  }
  std::string line;
  for (const unsigned char c : text) {
    if (std::isspace(c)) {
      if (!line.empty() && line.back() != ' ') line.push_back(' ');
    } else {
      line.push_back(std::isprint(c) ? static_cast<char>(c) : '?');
    }
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  constexpr std::size_t kLongest = 200;
  return line.size() > kLongest ? line.substr(0, kLongest) + "..." : line;
}

[[noreturn]] void malformed(const std::string& path, const std::string& why) {
  throw InputError(path + ": malformed: " + why);
}

void requireReadable(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) throw InputError(path + ": no such file");
  if (std::filesystem::is_directory(status)) throw InputError(path + ": is a directory, not a model file");
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) throw InputError(path + ": cannot be opened for reading");
  std::fclose(file);
}

/// Both readers answer the same questions about columns, rows and coefficients.
template <class Reader>
void takeArrays(ModelFile& file, const Reader& reader) {
  const int columns = reader.getNumCols();
  const int rows = reader.getNumRows();
  const char* kinds = reader.integerColumns();
  file.columns.reserve(static_cast<std::size_t>(columns));
  for (int j = 0; j < columns; ++j) {
    const char kind = kinds ? kinds[j] : 0;  // 0 continuous, 1 integer, 3 semi-continuous, 4 semi-continuous integer
    file.columns.push_back({reader.columnName(j), withInfinity(reader.getColLower()[j]),
                            withInfinity(reader.getColUpper()[j]), reader.getObjCoefficients()[j],
                            kind != 0 && kind != 3, kind >= 3});
  }
  file.rows.reserve(static_cast<std::size_t>(rows));
  for (int i = 0; i < rows; ++i) {
    file.rows.push_back(
        {reader.rowName(i), withInfinity(reader.getRowLower()[i]), withInfinity(reader.getRowUpper()[i])});
  }
  file.rowStart.assign(1, 0);
  if (rows == 0 || columns == 0) {
    file.rowStart.resize(static_cast<std::size_t>(rows) + 1, 0);
    return;
  }
  const CoinPackedMatrix& matrix = *reader.getMatrixByRow();
  file.rowStart.reserve(static_cast<std::size_t>(rows) + 1);
  file.column.reserve(static_cast<std::size_t>(matrix.getNumElements()));
  file.value.reserve(static_cast<std::size_t>(matrix.getNumElements()));
  for (int i = 0; i < rows; ++i) {
    const auto first = matrix.getVectorFirst(i), last = matrix.getVectorLast(i);
    file.column.insert(file.column.end(), matrix.getIndices() + first, matrix.getIndices() + last);
    file.value.insert(file.value.end(), matrix.getElements() + first, matrix.getElements() + last);
    file.rowStart.push_back(file.column.size());
  }
}

void noteOddities(ModelFile& file, const std::vector<std::string>& complaints) {
  if (complaints.empty()) return;
  const std::size_t more = complaints.size() - 1;
  file.notes.push_back("the reader says: " + tidy(complaints.front()) +
                       (more > 0 ? " (and " + std::to_string(more) + " more)" : ""));
}

// ---- MPS

void refuseFurtherSections(const std::string& path, COINSectionType section, int sets) {
  if (sets > 0 || section == COIN_SOS_SECTION) throw InputError(path + ": special ordered sets are not supported");
  if (section == COIN_QUADRATIC_SECTION || section == COIN_QUAD_SECTION) {
    throw InputError(path + ": quadratic terms are not supported");
  }
  if (section == COIN_CONIC_SECTION) throw InputError(path + ": conic constraints are not supported");
}

/// The MPS reader prints two remarks past its message handler.
void takePrinted(ModelFile& file, const std::vector<std::string>& printed, bool asWritten) {
  for (const std::string& line : printed) {
    if (line.rfind("MAX found after OBJSENSE", 0) == 0) {
      file.maximise = asWritten;
      if (!asWritten) file.notes.push_back("OBJSENSE MAX is customarily ignored: minimised (--as-written maximises)");
    } else if (line.rfind("** duplicate name", 0) == 0) {
      file.notes.push_back("the reader says: " + tidy(line));
    }
  }
}

/// Files are read in fixed format unless their first line says FREE; this one can be told.
class MpsReader : public CoinMpsIO {
 public:
  /// Returns the number of errors, negative when there is nothing to read.
  int read(const std::string& path, bool freeFormat) {
    passInMessageHandler(&messages);
    CoinFileInput* input = nullptr;
    if (dealWithFileName(path.c_str(), "", input) < 0) return -1;
    cardReader_ = new CoinMpsCardReader(input, this);
    cardReader_->setFreeFormat(freeFormat);
    CoinSet** sets = nullptr;
    const int errors = readMps(setCount, sets);
    for (int i = 0; i < setCount; ++i) delete sets[i];
    delete[] sets;
    return errors;
  }

  ReaderMessages messages;
  int setCount = 0;
};

void takeMps(ModelFile& file, const std::string& path, const MpsReader& reader) {
  refuseFurtherSections(path, reader.reader()->whichSection(), reader.setCount);
  takeArrays(file, reader);
  file.name = reader.getProblemName();
  file.objectiveName = reader.getObjectiveName();
  file.constant = 0.0 - reader.objectiveOffset();
  noteOddities(file, reader.messages.complaints);
}

void readMps(ModelFile& file, const std::string& path, CapturedOutput& output, bool asWritten) {
  MpsReader fixed;
  const int errors = fixed.read(path, false);
  if (errors == 0) {
    takeMps(file, path, fixed);
    return takePrinted(file, output.lines(), asWritten);
  }
  output.clear();
  MpsReader free;
  const int freeErrors = errors > 0 ? free.read(path, true) : errors;
  if (freeErrors == 0) {
    file.notes.push_back("read in free format, though its NAME line does not say FREE");
    takeMps(file, path, free);
    return takePrinted(file, output.lines(), asWritten);
  }
  const auto& complaints = (freeErrors > 0 && freeErrors < errors ? free : fixed).messages.complaints;
  malformed(path, complaints.empty() ? "not an MPS file" : tidy(complaints.front()));
}

// ---- LP

void takeObjectiveSense(ModelFile& file, const CoinLpIO& reader, bool asWritten) {
  file.maximise = reader.wasMaximization();
  if (file.maximise) {
    for (auto& column : file.columns) column.cost = column.cost == 0.0 ? 0.0 : -column.cost;
  }
  file.constant = reader.objectiveOffset();
  if (!file.maximise && !asWritten && file.constant != 0.0) {
    file.notes.push_back("the constant of a minimised objective is customarily left out (--as-written counts it)");
    file.constant = 0.0;
  }
}

/// Without its End line, as a torn file is, the reader runs on for ever.
bool hasEndLine(const std::string& path) {
  const std::unique_ptr<CoinFileInput> input(CoinFileInput::create(path));
  std::string word;
  char buffer[4096];
  bool comment = false;
  while (input->gets(buffer, sizeof buffer)) {
    for (const char* c = buffer; *c; ++c) {
      if (!std::isspace(static_cast<unsigned char>(*c))) {
        comment |= word.empty() && (*c == '\\' || *c == '/');
        word.push_back(static_cast<char>(std::tolower(*c)));
        continue;
      }
      if (!comment && word == "end") return true;
      word.clear();
      comment &= *c != '\n';
    }
  }
  return !comment && word == "end";
}

void readLp(ModelFile& file, const std::string& path, bool asWritten) {
  if (!hasEndLine(path)) malformed(path, "the End line is missing");
  CoinLpIO reader;
  ReaderMessages messages;
  reader.passInMessageHandler(&messages);
  constexpr double kSmallestCoefficient = 1e-12;
  reader.readLp(path.c_str(), kSmallestCoefficient);
  if (reader.numberSets() > 0) throw InputError(path + ": special ordered sets are not supported");
  takeArrays(file, reader);
  takeObjectiveSense(file, reader, asWritten);
  file.name = reader.getProblemName() ? reader.getProblemName() : "";
  file.objectiveName = reader.getObjName() ? reader.getObjName() : "";
  noteOddities(file, messages.complaints);
}

}  // namespace

ModelFile readModelFile(const std::string& path, bool asWritten) {
  requireReadable(path);
  ModelFile file;
  CapturedOutput output;
  CrashGuard guard("tavsolve: " + path + ": malformed: the reader broke down on it", output.realStderr());
  try {
    if (isLpFile(path)) {
      readLp(file, path, asWritten);
    } else {
      readMps(file, path, output, asWritten);
    }
  } catch (const CoinError& error) {
    malformed(path, tidy(error.message()));
  }
  return file;
}

}  // namespace tavsolve
