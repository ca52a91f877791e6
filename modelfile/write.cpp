#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "modelfile/formats.h"
#include "modelfile/nl_names.h"

namespace {

class StringSink final : public TavTextSink {
 public:
  void flush() override {
    _whole += _text;
    _text.clear();
  }
  std::string take() {
    flush();
    return std::move(_whole);
  }

 private:
  std::string _whole;
};

/// A file that appears under its name when it is complete. What is no regular file is written directly.
class FileSink final : public TavTextSink {
 public:
  explicit FileSink(const std::string& path) : _path(path) {
    struct stat status;
    _direct = path == "-" || (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode));
    _target = _direct ? path : path + ".part";
    if (path == "-") {
      _descriptor = STDOUT_FILENO;
    } else {
      _descriptor = ::open(_target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | (_direct ? 0 : O_TRUNC), 0666);
    }
    if (_descriptor < 0) fail();
  }
  ~FileSink() override {
    if (_descriptor >= 0 && _path != "-") ::close(_descriptor);
    if (!_direct && !_complete) ::unlink(_target.c_str());
  }

  void flush() override {
    const char* at = _text.data();
    std::size_t left = _text.size();
    while (left != 0) {
      const ssize_t count = ::write(_descriptor, at, left);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail();
      at += count;
      left -= static_cast<std::size_t>(count);
    }
    _text.clear();
  }

  void complete() {
    flush();
    if (_direct) return;
    const int closed = ::close(_descriptor);
    _descriptor = -1;
    if (closed != 0 || std::rename(_target.c_str(), _path.c_str()) != 0) fail();
    _complete = true;
  }

 private:
  [[noreturn]] void fail() const {
    throw TavFileError(_path == "-" ? "standard output" : _path, {},
                       std::string("cannot be written: ") + std::strerror(errno));
  }

  std::string _path;
  std::string _target;
  bool _direct = false;
  bool _complete = false;
  int _descriptor = -1;
};

void write(const TavFileModel& model, TavFileFormat format, const std::string& file, TavTextSink& out) {
  if (format == TavFileFormat::Mps) return TavWriteMps(model, file, out);
  if (format == TavFileFormat::Lp) return TavWriteLp(model, file, out);
  TavWriteNl(model, file, out);
}

}  // namespace

void TavWriteModel(const TavFileModel& model, const std::string& path, TavFileFormat format) {
  if (format == TavFileFormat::Auto) {
    format = TavFormatOfName(path);
    const bool packed = path.size() > 2 && (path.ends_with(".gz") || path.ends_with(".bz2"));
    if (format == TavFileFormat::Auto || packed) {
      throw TavFileError(path, {}, "the name says no format, expected one that ends with .mps, .lp or .nl");
    }
  }
  std::optional<TavNlNames> names;
  if (format == TavFileFormat::Nl && path != "-") names.emplace(model, path);
  FileSink out(path);
  write(model, format, path == "-" ? "standard output" : path, out);
  out.complete();
  if (names) names->write();
}

std::string TavWriteModelText(const TavFileModel& model, TavFileFormat format) {
  StringSink out;
  write(model, format, "model", out);
  return out.take();
}
