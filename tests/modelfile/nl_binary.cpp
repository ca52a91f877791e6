#include "nl_binary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <sstream>

namespace {

/// Appends numbers of fixed width in either byte order.
class Bytes {
 public:
  explicit Bytes(bool bigEndian) : _swap(bigEndian == (std::endian::native == std::endian::little)) {}
  template <class T>
  void put(T value) {
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    if (_swap) std::reverse(bytes, bytes + sizeof value);
    text.append(bytes, sizeof value);
  }
  void whole(std::istream& in) {
    int value = 0;
    in >> value;
    put(value);
  }
  void real(std::istream& in) {
    std::string word;
    in >> word;
    put(std::stod(word));
  }
  std::string text;

 private:
  bool _swap;
};

}  // namespace

std::string binaryOf(const std::string& text, bool bigEndian) {
  Bytes out(bigEndian);
  std::istringstream lines(text);
  std::string line;
  for (int i = 0; i < 10; ++i) {
    std::getline(lines, line);
    if (i == 0) line[0] = 'b';
    if (i == 5) line = bigEndian ? " 0 0 2" : " 0 0 1";
    out.text += line + "\n";
  }
  int left = 0;       // lines of numbers that still belong to the segment
  std::string shape;  // what they hold: i whole, d real, b bounds
  while (std::getline(lines, line)) {
    std::istringstream in(line);
    if (shape == "b" && left == 0) left = line[0] >= '0' && line[0] <= '9' ? 1 : 0;
    if (left > 0) {
      --left;
      if (shape == "b") {
        out.text += static_cast<char>(in.get());
        while (in.peek() == ' ' && in.get()) out.real(in);
        continue;
      }
      for (const char c : shape) c == 'i' ? out.whole(in) : out.real(in);
      continue;
    }
    const char letter = static_cast<char>(in.get());
    out.text += letter;
    int a = 0, b = 0, c = 0;
    switch (letter) {
      case 'n':
        out.real(in);
        break;
      case 'v':
      case 'C':
      case 'L':
        out.whole(in);
        break;
      case 'o':
        in >> a;
        out.put(a);
        left =
            a == 11 || a == 12 || a == 54 || a == 59 || a == 60 || a == 64 || a == 70 || a == 71 || a == 74 || a == 75;
        shape = "i";
        break;
      case 'r':
      case 'b':
        shape = "b";
        break;
      case 'x':
      case 'd':
        in >> left;
        out.put(left);
        shape = "id";
        break;
      case 'k':
        in >> left;
        out.put(left);
        shape = "i";
        break;
      case 'O':
        out.whole(in);
        out.whole(in);
        break;
      case 'J':
      case 'G':
        in >> a >> left;
        out.put(a);
        out.put(left);
        shape = "id";
        break;
      case 'V':
        in >> a >> left >> b;
        out.put(a);
        out.put(left);
        out.put(b);
        shape = "id";
        break;
      case 'S':
        in >> a >> left >> line;
        out.put(a), out.put(left), out.put(static_cast<int>(line.size()));
        out.text += line;
        shape = a & 4 ? "id" : "ii";
        break;
      default:
        ADD_FAILURE() << "no segment: " << letter << c;
    }
  }
  return out.text;
}
