#pragma once
/// Where the report goes.

#include <cstdio>
#include <fstream>
#include <string>

namespace tavsolve {

/// Standard output, or another stream in its place, and the log. What cannot be written throws InputError.
class Output {
 public:
  /// `log` may be empty; the file is begun anew. A null `stream` stands for none.
  Output(std::FILE* stream, const std::string& log);

  void write(const std::string& text);
  /// To the log alone.
  void note(const std::string& text);

 private:
  std::FILE* _stream;
  std::string _logName;
  std::ofstream _log;
};

/// Throws InputError when the file clearly cannot be written, before work is done for it: a folder has its name, its
/// own folder is missing, or permission.
void checkWritable(const std::string& path);

/// A file that is being written, standard output for "-". What cannot be written throws InputError.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  std::ostream& stream();
  /// Ends the file; throws InputError when not all of it was written.
  void close();

 private:
  std::string _path;
  std::ofstream _file;
};

}  // namespace tavsolve
