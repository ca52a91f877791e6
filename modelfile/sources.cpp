#include "modelfile/sources.h"

#include <bzlib.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace {

constexpr std::size_t kPackedBlock = std::size_t{1} << 16;

class DescriptorSource final : public TavByteSource {
 public:
  DescriptorSource(const std::string& path, const TavReadOptions& options)
      : _name(path == "-" ? "standard input" : path), _options(options), _owned(path != "-") {
    _descriptor = _owned ? ::open(path.c_str(), O_RDONLY | O_CLOEXEC) : STDIN_FILENO;
    if (_descriptor < 0) fail();
    struct stat status;
    if (::fstat(_descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
      _total = static_cast<std::uint64_t>(status.st_size);
    }
  }
  ~DescriptorSource() override {
    if (_owned) ::close(_descriptor);
  }

  std::size_t read(char* to, std::size_t room) override {
    ssize_t count;
    do {
      count = ::read(_descriptor, to, std::min<std::size_t>(room, SSIZE_MAX));
    } while (count < 0 && errno == EINTR);
    if (count < 0) fail();
    _taken += static_cast<std::uint64_t>(count);
    if (_options.progress) _options.progress(_taken, _total);
    return static_cast<std::size_t>(count);
  }

 private:
  [[noreturn]] void fail() const {
    throw TavFileError(_name, {}, std::string("cannot be read: ") + std::strerror(errno));
  }

  std::string _name;
  const TavReadOptions& _options;
  bool _owned;
  int _descriptor = -1;
  std::uint64_t _taken = 0;
  std::uint64_t _total = 0;
};

class TextSource final : public TavByteSource {
 public:
  TextSource(std::string_view text, const TavReadOptions& options) : _text(text), _options(options) {}

  std::size_t read(char* to, std::size_t room) override {
    const std::size_t count = std::min(room, _text.size() - _taken);
    if (count != 0) std::memcpy(to, _text.data() + _taken, count);
    _taken += count;
    if (_options.progress) _options.progress(_taken, _text.size());
    return count;
  }

 private:
  std::string_view _text;
  const TavReadOptions& _options;
  std::size_t _taken = 0;
};

/// A source whose first bytes have been looked at.
class PeekedSource final : public TavByteSource {
 public:
  explicit PeekedSource(std::unique_ptr<TavByteSource> inner) : _inner(std::move(inner)) {
    while (_size < sizeof _bytes) {
      const std::size_t count = _inner->read(_bytes + _size, sizeof _bytes - _size);
      if (count == 0) break;
      _size += count;
    }
  }
  std::string_view peeked() const noexcept { return {_bytes, _size}; }

  std::size_t read(char* to, std::size_t room) override {
    if (_given == _size) return _inner->read(to, room);
    const std::size_t count = std::min(room, _size - _given);
    std::memcpy(to, _bytes + _given, count);
    _given += count;
    return count;
  }

 private:
  std::unique_ptr<TavByteSource> _inner;
  char _bytes[4];
  std::size_t _size = 0;
  std::size_t _given = 0;
};

/// zlib and bzip2 behind one interface: begin, continue, end of one compressed stream.
struct Gzip {
  static constexpr const char* kName = "gzip";
  z_stream stream{};
  bool begin() { return ::inflateInit2(&stream, 16 + MAX_WBITS) == Z_OK; }
  void end() { ::inflateEnd(&stream); }
  int step() { return ::inflate(&stream, Z_NO_FLUSH); }
  static bool good(int code) { return code == Z_OK || code == Z_BUF_ERROR; }
  static bool finished(int code) { return code == Z_STREAM_END; }
  static bool noMemory(int code) { return code == Z_MEM_ERROR; }
  void input(char* at, std::size_t size) {
    stream.next_in = reinterpret_cast<Bytef*>(at);
    stream.avail_in = static_cast<uInt>(size);
  }
  void output(char* at, std::size_t size) {
    stream.next_out = reinterpret_cast<Bytef*>(at);
    stream.avail_out = static_cast<uInt>(size);
  }
};

struct Bzip2 {
  static constexpr const char* kName = "bzip2";
  bz_stream stream{};
  bool begin() { return ::BZ2_bzDecompressInit(&stream, 0, 0) == BZ_OK; }
  void end() { ::BZ2_bzDecompressEnd(&stream); }
  int step() { return ::BZ2_bzDecompress(&stream); }
  static bool good(int code) { return code == BZ_OK; }
  static bool finished(int code) { return code == BZ_STREAM_END; }
  static bool noMemory(int code) { return code == BZ_MEM_ERROR; }
  void input(char* at, std::size_t size) {
    stream.next_in = at;
    stream.avail_in = static_cast<unsigned>(size);
  }
  void output(char* at, std::size_t size) {
    stream.next_out = at;
    stream.avail_out = static_cast<unsigned>(size);
  }
};

/// The contents of a compressed file; of several streams one behind the other, all of them.
template <class Codec>
class CompressedSource final : public TavByteSource {
 public:
  CompressedSource(std::unique_ptr<TavByteSource> inner, const std::string& name, std::uint64_t limit)
      : _inner(std::move(inner)), _name(name), _limit(limit), _packed(new char[kPackedBlock]) {
    beginStream();
  }
  ~CompressedSource() override {
    if (_open) _codec.end();
  }

  std::size_t read(char* to, std::size_t room) override {
    room = std::min<std::size_t>(room, 1u << 30);
    while (_open) {
      if (_codec.stream.avail_in == 0 && !_innerAtEnd) fillPacked();
      _codec.output(to, room);
      const int code = _codec.step();
      if (Codec::noMemory(code)) throw std::bad_alloc();
      if (!Codec::good(code) && !Codec::finished(code)) fail("is damaged");
      const std::size_t count = room - _codec.stream.avail_out;
      if (Codec::finished(code)) endStream();
      if (count != 0) return counted(count);
      if (_open && _innerAtEnd && _codec.stream.avail_in == 0 && !Codec::finished(code)) fail("is cut off");
    }
    return 0;
  }

 private:
  void beginStream() {
    char* const at = reinterpret_cast<char*>(_codec.stream.next_in);
    const std::size_t left = _codec.stream.avail_in;
    _codec = Codec();
    if (!_codec.begin()) throw std::bad_alloc();
    _codec.input(at, left);
    _open = true;
  }
  /// Goes on with the next stream where there is one.
  void endStream() {
    if (_codec.stream.avail_in == 0 && !_innerAtEnd) fillPacked();
    _codec.end();
    _open = false;
    if (_codec.stream.avail_in != 0) beginStream();
  }
  void fillPacked() {
    const std::size_t count = _inner->read(_packed.get(), kPackedBlock);
    _innerAtEnd = count == 0;
    _codec.input(_packed.get(), count);
  }
  std::size_t counted(std::size_t count) {
    _given += count;
    if (_given > _limit) fail("has more than " + std::to_string(_limit) + " bytes, the limit for decompressed files");
    return count;
  }
  [[noreturn]] void fail(const std::string& what) const {
    throw TavFileError(_name, {}, std::string("the ") + Codec::kName + " file " + what);
  }

  std::unique_ptr<TavByteSource> _inner;
  std::string _name;
  std::uint64_t _limit;
  std::uint64_t _given = 0;
  std::unique_ptr<char[]> _packed;
  Codec _codec;
  bool _open = false;
  bool _innerAtEnd = false;
};

std::unique_ptr<TavByteSource> decompressed(std::unique_ptr<TavByteSource> source, const std::string& name,
                                            const TavReadOptions& options) {
  auto peeked = std::make_unique<PeekedSource>(std::move(source));
  const std::string_view head = peeked->peeked();
  if (head.substr(0, 2) == "\x1f\x8b") {
    return std::make_unique<CompressedSource<Gzip>>(std::move(peeked), name, options.decompressedLimit);
  }
  if (head.size() == 4 && head.substr(0, 3) == "BZh" && head[3] >= '1' && head[3] <= '9') {
    return std::make_unique<CompressedSource<Bzip2>>(std::move(peeked), name, options.decompressedLimit);
  }
  return peeked;
}

}  // namespace

std::unique_ptr<TavByteSource> TavOpenFileSource(const std::string& path, const TavReadOptions& options) {
  return decompressed(std::make_unique<DescriptorSource>(path, options), path == "-" ? "standard input" : path,
                      options);
}

std::unique_ptr<TavByteSource> TavOpenTextSource(std::string_view text, const std::string& name,
                                                 const TavReadOptions& options) {
  return decompressed(std::make_unique<TextSource>(text, options), name, options);
}
