#pragma once
/// The file of results: appended to line by line, and taken up again after any end.

#include <string>
#include <unordered_map>

#include "solve/engines/child.h"
#include "solve/scenarios/result.h"

namespace tavsolve {

class ResultsFile {
 public:
  /// Opens the file or makes it. What a killed run has left incomplete is cut out; a file that needs more than a
  /// shorter end is replaced at once. Throws InputError for a file of another run, one that another process is writing,
  /// and one that cannot be written.
  ResultsFile(const std::string& path, const ResultFormat& format);

  /// The scenarios that have a line; whether they have failed.
  const std::unordered_map<std::string, bool>& finished() const { return _finished; }
  /// The bytes of the file when it was opened.
  std::size_t size() const { return _size; }
  /// Appends a line in one call of the system. Throws InputError when it cannot be written.
  void append(const std::string& line);
  /// Brings what was written to the disk. Throws InputError when that fails.
  void flush();
  /// In a child process: lets go of the file.
  void leave() { _file.close(); }

 private:
  void recover(const std::string& contents, const ResultFormat& format);
  void replace(const std::string& contents);
  void write(const std::string& text);
  [[noreturn]] void fail(const std::string& what) const;

  std::string _path;
  Descriptor _file;
  std::size_t _size = 0;
  std::unordered_map<std::string, bool> _finished;
};

}  // namespace tavsolve
