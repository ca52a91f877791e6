/// A model is the same from memory, from files, from pipes and compressed; what was cut off is refused.

#include <bzlib.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "modelfile/tavmodelfile.h"

namespace {

std::string gzipped(const std::string& text) {
  std::string packed(text.size() + 1000, '\0');
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string bzipped(const std::string& text) {
  std::string packed(text.size() + 1000, '\0');
  unsigned size = static_cast<unsigned>(packed.size());
  EXPECT_EQ(BZ2_bzBuffToBuffCompress(packed.data(), &size, const_cast<char*>(text.data()),
                                     static_cast<unsigned>(text.size()), 1, 0, 0),
            BZ_OK);
  packed.resize(size);
  return packed;
}

/// A model of several blocks of whatever reads it.
TavFileModel largeModel() {
  std::string text = "min\nobj: x0\nst\n";
  for (int i = 0; i < 7000; ++i) {
    const std::string number = std::to_string(i);
    text += "row" + number + ": x" + number + " + 0.1 x" + std::to_string(i + 1) + " >= " + number + "\n";
  }
  return TavReadModelText(text + "end\n", "large");
}

void store(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

}  // namespace

TEST(ModelFileSources, GiveTheSameModel) {
  const TavFileModel model = largeModel();
  const std::string path =
      (std::filesystem::temp_directory_path() / ("tav_sources." + std::to_string(getpid()))).string();
  for (const TavFileFormat format : {TavFileFormat::Mps, TavFileFormat::Lp, TavFileFormat::Nl}) {
    const std::string text = TavWriteModelText(model, format);
    TavReadOptions options;
    options.format = format;
    const std::string wanted = TavWriteModelText(TavReadModelText(text, "memory", options), format);
    const std::string both[] = {gzipped(text), bzipped(text),
                                gzipped(text.substr(0, 5000)) + gzipped(text.substr(5000)),
                                bzipped(text.substr(0, 5000)) + bzipped(text.substr(5000))};
    for (const std::string& bytes : {text, both[0], both[1], both[2], both[3]}) {
      const auto expectWanted = [&](const TavFileModel& read, const char* source) {
        EXPECT_EQ(TavWriteModelText(read, format), wanted) << source << ", format " << static_cast<int>(format);
      };
      expectWanted(TavReadModelText(bytes, "memory", options), "memory");
      store(path, bytes);
      expectWanted(TavReadModel(path), "file, format by its contents");
      std::filesystem::remove(path);
      ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
      std::thread writer(store, path, bytes);
      expectWanted(TavReadModel(path, options), "pipe");
      writer.join();
      std::filesystem::remove(path);
    }
    for (const std::string& packed : both) {
      for (std::size_t size = 1; size < packed.size(); size = size * 5 / 4 + 1) {
        EXPECT_THROW(TavReadModelText(packed.substr(0, size), "cut off", options), TavFileError) << size;
      }
      options.decompressedLimit = text.size() - 1;
      EXPECT_THROW(TavReadModelText(packed, "too large", options), TavFileError);
      options.decompressedLimit = text.size();
      EXPECT_NO_THROW(TavReadModelText(packed, "just small enough", options));
    }
  }
}
