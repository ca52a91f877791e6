#pragma once
/// A model as it stands in a file: plain arrays, nothing of the expression library yet.

#include <cstddef>
#include <string>
#include <vector>

namespace tavsolve {

struct ModelFile {
  struct Column {
    std::string name;
    double lb, ub;
    double cost;
    bool integer;
    /// 0, or between lb and ub.
    bool semiContinuous;
  };
  struct Row {
    std::string name;
    double lb, ub;
  };

  std::string name;
  std::string objectiveName;
  bool maximise = false;
  double constant = 0.0;
  std::vector<Column> columns;
  std::vector<Row> rows;
  /// The non-zeros row by row: those of row i stand at rowStart[i] up to, but not at, rowStart[i + 1].
  std::vector<std::size_t> rowStart;
  std::vector<int> column;
  std::vector<double> value;
  /// What the user should know of how the file was read.
  std::vector<std::string> notes;
};

/// Reads an LP file (name in .lp, .lp.gz, .lp.bz2) or an MPS file (any other name) as a solver of its own would read
/// it; `asWritten` honours what that reading leaves out. Bounds beyond the readers' infinity come out as IEEE
/// infinities. Throws InputError.
ModelFile readModelFile(const std::string& path, bool asWritten);

}  // namespace tavsolve
