// The page of the node classes and the samples are held against the headers.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "tests/support/fixture.h"
#include "tests/support/samples.h"

namespace {

namespace fs = std::filesystem;

fs::path root() { return TAV_SOURCE_DIR; }

std::string contentOf(const fs::path& file) {
  std::ifstream in(file);
  EXPECT_TRUE(in) << file;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// The first group of every match.
std::vector<std::string> allOf(const std::string& text, const char* pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> all;
  for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i) all.push_back((*i)[1]);
  return all;
}

/// The cells of the tables on the page of node classes, by the name in the first one.
std::map<std::string, std::vector<std::string>> rowsOfNodesPage() {
  std::map<std::string, std::vector<std::string>> rows;
  std::ifstream page(root() / "docs/nodes.md");
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("| `Tav", 0) != 0) continue;
    line = std::regex_replace(line, std::regex("\\\\\\||`"), "");
    const std::vector<std::string> cells = allOf(line, "\\| *([^|]*[^| ]) *(?=\\|)");
    EXPECT_TRUE(rows.emplace(cells.at(0), cells).second) << "two rows for " << cells.at(0);
  }
  return rows;
}

/// What stands between the operands, in a sample's text and in the page's.
std::string literalsOf(const char* text) { return std::regex_replace(text, std::regex("%[a-zA-Z]"), ""); }
std::string literalsOf(const std::string& cell) {
  std::string all;
  for (const std::string& literal : allOf(cell, "\"([^\"]*)\"")) all += literal;
  return all;
}

TEST(Docs, EveryClassOfTheHeadersHasASampleAndOneTrueRowOnTheNodesPage) {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root() / "expression")) {
    if (entry.path().extension() != ".h") continue;
    const std::string file = fs::relative(entry.path(), root() / "expression").generic_string();
    for (const auto& name : allOf(contentOf(entry.path()), "kTypeName = \"(\\w+)\"")) files[name] = file;
  }
  auto rows = rowsOfNodesPage();
  EXPECT_EQ(rows.size(), files.size());
  EXPECT_EQ(allClasses().size(), files.size());
  for (const ClassFacts& facts : allClasses()) {
    ASSERT_EQ(rows[facts.name].size(), 7u) << facts.name;
    EXPECT_EQ(rows[facts.name][1], facts.base) << facts.name;
    EXPECT_EQ(rows[facts.name][2], files[facts.name]) << facts.name;
  }
  for (const NodeSample& sample : nodeSamples()) {
    if (!sample.library) continue;
    const std::vector<std::string>& cells = rows[sample.facts.name];
    EXPECT_NE(literalsOf(cells[5]).find(literalsOf(sample.library)), cells[5].npos) << cells[5];
    if (cells[6] == "the same") continue;
    EXPECT_NE(literalsOf(cells[6]).find(literalsOf(sample.plain)), cells[6].npos) << cells[6];
  }
}

}  // namespace
