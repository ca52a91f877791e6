#include "solve/program/output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

#include <unistd.h>

#include "solve/model/errors.h"

namespace tavsolve {

namespace {

[[noreturn]] void fail(const std::string& name) {
  throw InputError(name + " cannot be written" + (errno ? std::string(": ") + std::strerror(errno) : ""));
}

}  // namespace

Output::Output(std::FILE* stream, const std::string& log) : _stream(stream), _logName(log) {
  errno = 0;
  if (!log.empty()) _log.open(log, std::ios::trunc);
  if (!log.empty() && _log) {
    _log.close();
    _log.open(log, std::ios::app);  // the solver writes to its end too
  }
  if (!log.empty() && !_log) fail(log);
}

void Output::write(const std::string& text) {
  errno = 0;
  if (_stream && (std::fputs(text.c_str(), _stream) < 0 || std::fflush(_stream) != 0)) {
    fail(_stream == stdout ? "standard output" : "standard error");
  }
  note(text);
}

void Output::note(const std::string& text) {
  if (_logName.empty()) return;
  errno = 0;
  if (!(_log << text).flush()) fail(_logName);
}

void checkWritable(const std::string& path) {
  std::error_code unknown;  // then access() says what is wrong
  errno = std::filesystem::is_directory(path, unknown) ? EISDIR : 0;
  if (errno) fail(path);
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (access(path.c_str(), W_OK) == 0 || (errno == ENOENT && access(folder.empty() ? "." : folder.c_str(), W_OK) == 0))
    return;
  fail(path);
}

OutputFile::OutputFile(const std::string& path) : _path(path) {
  errno = 0;
  if (path != "-") _file.open(path, std::ios::binary);
  if (!stream()) fail(path);
}

std::ostream& OutputFile::stream() {
  if (_path == "-") return std::cout;
  return _file;
}

void OutputFile::close() {
  errno = 0;
  stream().flush();
  if (_path != "-") _file.close();
  if (!stream()) fail(_path == "-" ? "standard output" : _path);
}

}  // namespace tavsolve
