#pragma once
/// Class header: the reader and the writer of each format.

#include <limits>
#include <string>
#include <string_view>

#include "modelfile/input.h"
#include "modelfile/number_text.h"
#include "modelfile/tavmodelfile.h"

/// Where writers put their text: a string or a file.
class TavTextSink {
 public:
  TavTextSink() = default;
  TavTextSink(const TavTextSink&) = delete;
  TavTextSink& operator=(const TavTextSink&) = delete;
  virtual ~TavTextSink() = default;

  TavTextSink& operator<<(std::string_view text) {
    _text.append(text);
    if (_text.size() >= kBlock) flush();
    return *this;
  }
  TavTextSink& operator<<(char c) { return *this << std::string_view(&c, 1); }
  /// The shortest text that reads back as the number, which is finite.
  TavTextSink& operator<<(double number) {
    char text[kTavLongestNumber];
    return *this << std::string_view(text, static_cast<std::size_t>(TavWriteNumber(text, number) - text));
  }
  /// Hands over the text that is still here.
  virtual void flush() = 0;

 protected:
  static constexpr std::size_t kBlock = std::size_t{1} << 16;
  std::string _text;
};

/// A bound that is none.
inline constexpr double kTavInfinity = std::numeric_limits<double>::infinity();

///@{
/// Reads the model; the input's window is at the beginning of the file. Throws TavFileError.
TavFileModel TavReadMps(TavFileInput& input);
TavFileModel TavReadLp(TavFileInput& input);
TavFileModel TavReadNl(TavFileInput& input);
///@}

///@{
/// Writes the model. Throws TavFileError with `file` in its message, before anything is written, for what the format
/// cannot say. Does not flush.
void TavWriteMps(const TavFileModel& model, const std::string& file, TavTextSink& out);
void TavWriteLp(const TavFileModel& model, const std::string& file, TavTextSink& out);
void TavWriteNl(const TavFileModel& model, const std::string& file, TavTextSink& out);
///@}
