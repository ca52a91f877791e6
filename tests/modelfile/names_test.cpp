// Tables of names find what a map finds, also where numbered names, which are not hashed, mix with others.

#include "modelfile/names.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>

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
