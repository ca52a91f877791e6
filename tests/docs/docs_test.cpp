// The pages are held against the tree: a page that no longer says what stands there fails here.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include "tests/docs/cube.h"
#include "tests/support/fixture.h"

namespace {

namespace fs = std::filesystem;

fs::path root() { return fs::path(__FILE__).parent_path().parent_path().parent_path(); }

std::string contentOf(const fs::path& file) {
  std::ifstream in(file);
  EXPECT_TRUE(in) << file;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// What is known of a class: where it stands, its base in the type tree where its declaration names it, and its literal
/// texts in both syntaxes where a family prints it.
struct Row {
  std::string file, base, library, plain;
};

/// All string literals in `code` behind one another, without the quotes.
std::string literalsOf(const std::string& code) {
  static const std::regex literal("\"([^\"]*)\"");
  std::string all;
  for (std::sregex_iterator i(code.begin(), code.end(), literal), end; i != end; ++i) all += (*i)[1];
  return all;
}

/// The first class of the type tree that the declaration of `name` mentions.
std::string baseOf(const std::string& name, const std::string& code) {
  static const std::regex tree("\\b(Tav\\w*ExprI|TavNumVarI|TavConstraintI|TavExtractableI|TavChange)(Record)?\\b");
  const std::size_t start = code.find("\nclass " + name + " ") + 7 + name.size();
  const std::string declaration = code.substr(start, code.find('{', start) - start);
  for (std::sregex_iterator i(declaration.begin(), declaration.end(), tree), end; i != end; ++i) {
    if ((*i)[1] != name) return (*i)[1];
  }
  return "";
}

std::map<std::string, Row> classesInHeaders() {
  static const std::regex name("constexpr const char\\* kTypeName = \"(\\w+)\";");
  static const std::regex texts("kTexts\\{(\\{[^}]*\\}),\\s*(\\{[^}]*\\})\\};");
  std::map<std::string, Row> classes;
  const fs::path expression = root() / "expression";
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(expression)) {
    if (entry.path().extension() != ".h") continue;
    const std::string code = contentOf(entry.path());
    for (std::sregex_iterator i(code.begin(), code.end(), name), end; i != end; ++i) {
      Row row{fs::relative(entry.path(), expression).generic_string(), baseOf((*i)[1], code), "", ""};
      // A class's texts stand between its type name and the next class's.
      const std::string rest = i->suffix().str();
      const std::string own = rest.substr(0, rest.find("kTypeName"));
      std::smatch found;
      if (std::regex_search(own, found, texts)) {
        row.library = literalsOf(found[1]);
        row.plain = literalsOf(found[2]);
      }
      classes[(*i)[1]] = row;
    }
  }
  return classes;
}

/// The cells of a table's line, without the code marks.
std::vector<std::string> cellsOf(std::string line) {
  line = std::regex_replace(line, std::regex("\\\\\\||`"), "");
  std::vector<std::string> cells;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, '|');) {
    cells.push_back(std::regex_replace(cell, std::regex("^ +| +$"), ""));
  }
  return cells;
}

std::map<std::string, std::vector<std::string>> rowsOfNodesPage() {
  std::map<std::string, std::vector<std::string>> rows;
  std::ifstream page(root() / "docs/nodes.md");
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("| `Tav", 0) != 0) continue;
    std::vector<std::string> cells = cellsOf(line);
    const std::string name = cells.at(1);
    EXPECT_TRUE(rows.emplace(name, cells).second) << "two rows for " << name;
  }
  return rows;
}

TEST(Docs, NodesPageHasOneTrueRowPerClass) {
  const auto classes = classesInHeaders();
  const auto rows = rowsOfNodesPage();
  ASSERT_GT(classes.size(), 70u) << "the headers were not found";
  for (const auto& [name, truth] : classes) {
    const auto found = rows.find(name);
    if (found == rows.end()) {
      ADD_FAILURE() << "docs/nodes.md has no row for " << name << " of " << truth.file;
      continue;
    }
    const std::vector<std::string>& cells = found->second;
    ASSERT_EQ(cells.size(), 8u) << name;
    EXPECT_EQ(cells[3], truth.file) << name;
    if (!truth.base.empty()) {
      EXPECT_EQ(cells[2], truth.base) << name;
    }
    if (truth.library.empty()) continue;
    EXPECT_EQ(literalsOf(cells[6]), truth.library) << name;
    EXPECT_EQ(literalsOf(cells[7]), truth.plain) << name;
  }
  for (const auto& row : rows) EXPECT_EQ(classes.count(row.first), 1u) << row.first << " is no class of expression/";
}

TEST(Docs, PagesQuoteWhatIsCompiled) {
  const std::string readme = contentOf(root() / "README.md");
  EXPECT_NE(readme.find("```cpp\n" + contentOf(root() / "examples/first/main.cpp") + "```"), std::string::npos);
  EXPECT_NE(readme.find("```\n" + contentOf(root() / "examples/first/output.txt") + "```"), std::string::npos);

  static const std::regex block("```cpp\n([^`]*)```");
  const std::pair<const char*, const char*> quotes[] = {
      {"docs/add_a_node.md", "tests/docs/cube.h"},
      {"docs/algorithm_author.md", "examples/algorithm/main.cpp"},
  };
  for (const auto& [page, source] : quotes) {
    const std::string text = contentOf(root() / page);
    const std::string code = contentOf(root() / source);
    std::sregex_iterator i(text.begin(), text.end(), block), end;
    EXPECT_NE(i, end) << page;
    for (; i != end; ++i)
      EXPECT_NE(code.find((*i)[1]), std::string::npos) << page << " quotes what is not in " << source << ":\n"
                                                       << (*i)[1];
  }
}

TEST(Docs, EveryExampleIsOnTheExamplesPage) {
  const fs::path examples = root() / "examples";
  const std::string page = contentOf(root() / "docs/doxygen/examples.md");
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(examples)) {
    if (entry.path().extension() != ".cpp" || contentOf(entry.path()).find("\nint main(") == std::string::npos)
      continue;
    const std::string name = fs::relative(entry.path(), examples).generic_string();
    EXPECT_NE(page.find("\\include " + name + "\n"), std::string::npos) << name;
  }
}

TEST(Docs, LinksLeadToFiles) {
  static const std::regex link("[^[]\\]\\(([^)#:]+)\\)");
  for (const char* name :
       {"README.md", "docs/architecture.md", "docs/memory.md", "docs/nodes.md", "docs/add_a_node.md",
        "docs/algorithm_author.md", "docs/refused.md", "docs/doxygen/mainpage.md", "docs/doxygen/examples.md"}) {
    const fs::path page = root() / name;
    const std::string text = contentOf(page);
    for (std::sregex_iterator i(text.begin(), text.end(), link), end; i != end; ++i) {
      EXPECT_TRUE(fs::exists(page.parent_path() / (*i)[1].str())) << name << " links to " << (*i)[1];
    }
  }
}

using AddedNode = TavTest;

TEST_F(AddedNode, BehavesAsTheFamilyPromises) {
  const TavNumExpr cube = TavCube(leaf(-2.0));
  EXPECT_EQ(eval(cube), -8.0);
  EXPECT_EQ(library(cube), "TavCube(leaf) ");
  EXPECT_EQ(plain(cube), "cube(leaf)");
  EXPECT_EQ(text(TavClonePass(env.getImpl(), other.getImpl()).clone(cube.getImpl())), plain(cube));
  EXPECT_TRUE(TavCube(leaf(3.0, true)).isInteger());
  EXPECT_THROW(TavCube(TavNumExprArg()), TavEmptyHandleException);
}

}  // namespace
