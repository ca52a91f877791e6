// Tables of names find what a map finds, also where numbered names, which are not hashed, mix with others. Numbers are
// those that the standard library reads.

#include "modelfile/names.h"
#include "modelfile/nl_plain_terms.h"
#include "modelfile/number_text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <random>
#include <string>
#include <unordered_map>

/// Made before main: what tables hash by is there already.
const TavNameTable kEarlyNames = [] {
  TavNameTable table;
  table.insert("a name of many letters");
  return table;
}();

TEST(Names, OfEarlyTablesAreFoundLater) { EXPECT_EQ(kEarlyNames.find("a name of many letters"), 0); }

TEST(Names, AreFoundAsByAMap) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    std::mt19937 random(seed);
    const auto draw = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
    const char* const prefixes[] = {"x", "", "x0", "abcdefg", "x_1_", "longer than eight bytes "};
    unsigned number = draw(2) == 0 ? 0 : 90 + draw(20);
    const auto next = [&] {  // mostly the next number, with jumps, other prefixes and zeros in front
      number = draw(8) == 0 ? draw(130) : number + 1;
      std::string digits = std::to_string(number);
      if (draw(2) == 0 && seed % 4 == 1) digits.insert(0, 3 - std::min<std::size_t>(3, digits.size()), '0');
      return prefixes[draw(16) == 0 ? draw(6) : seed % 6] + (draw(40) == 0 ? "" : digits) + (draw(40) == 0 ? "z" : "");
    };
    TavNameTable inserted, appended;
    std::unordered_map<std::string, std::int32_t> known, first;
    std::int32_t twice = TavNameTable::kNone;
    for (std::int32_t i = 0; i < 200; ++i) {
      const std::string name = next();
      const auto size = static_cast<std::int32_t>(known.size());
      if (!name.empty()) {
        ASSERT_EQ(inserted.insert(name), known.emplace(name, size).first->second) << seed << ' ' << name;
      }
      appended.append(name);
      const bool isNew = name.empty() || first.emplace(name, i).second;
      if (!isNew && twice == TavNameTable::kNone) twice = i;
    }
    EXPECT_EQ(appended.rehash(), twice) << seed;
    if (seed % 2 == 0) {
      EXPECT_EQ(inserted.rehash(), TavNameTable::kNone) << seed;
    }
    for (int i = 0; i < 400; ++i) {
      const std::string name = next();
      const auto place = [&](const auto& map) { return map.contains(name) ? map.at(name) : TavNameTable::kNone; };
      EXPECT_EQ(inserted.find(name), place(known)) << seed << ' ' << name;
      EXPECT_EQ(appended.find(name), place(first)) << seed << ' ' << name;
    }
  }
}

TEST(Numbers, AreThoseOfTheStandardLibrary) {
  std::mt19937 random(1);
  const auto draw = [&](std::string_view bytes) { return bytes[random() % bytes.size()]; };
  for (int i = 0; i < 100'000; ++i) {
    std::string text;
    for (auto size = 1 + random() % 12; size > 0; --size) text += draw(random() % 4 ? "0123456789." : "09.e-+ dx");
    const std::size_t size = text.size();
    text += draw(" \n\t") + std::string(64, draw("1. x"));
    double wanted = 0.0;
    const bool isSigned = text[0] == '-' || text[0] == '+';
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), wanted);
    const TavScannedNumber read = TavScanNumber(text.data());
    const bool isNumber = fault == std::errc() && !isSigned;
    ASSERT_EQ(read.fault == TavNumberFault::None, isNumber) << text;
    ASSERT_TRUE(!isNumber || (read.end == end && read.value == wanted)) << text;
    double value = 0.0;
    const auto wantedIndex = static_cast<std::int32_t>(random() % 200);
    const std::string line = std::to_string(wantedIndex) + ' ' + text.substr(0, size) + '\n', padded = line + text;
    const char* at = padded.data();
    const char* const lineEnd = at + line.size();
    std::int32_t index = -1;
    if (TavTakePlainTerms(at, lineEnd, 1, 100, &index, &value) != 0) {
      ASSERT_TRUE(index == wantedIndex && index < 100 && at == lineEnd && end == text.data() + size) << line;
      ASSERT_TRUE(value == wanted && std::signbit(value) == std::signbit(wanted)) << line;
    }
    if (size > 8 || !TavShortNumber(TavWordAt(text.data()), static_cast<int>(size), value)) continue;
    ASSERT_TRUE(end == text.data() + size && value == wanted && std::signbit(value) == std::signbit(wanted)) << text;
  }
}
