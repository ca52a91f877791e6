#include <cstring>
#include <iostream>

#include "solve/program/pages.h"

/// Writes a page that comes from the table of options, for the build: tavsolve_pages man|bash|markdown.

int main(int argc, char** argv) {
  struct Page {
    const char* name;
    void (*print)(std::ostream&);
  };
  constexpr Page kPages[] = {
      {"man", tavsolve::printManPage}, {"bash", tavsolve::printCompletion}, {"markdown", tavsolve::printMarkdown}};
  for (const Page& page : kPages) {
    if (argc != 2 || std::strcmp(argv[1], page.name) != 0) continue;
    page.print(std::cout);
    return std::cout.flush() ? 0 : 1;
  }
  std::cerr << "usage: tavsolve_pages man|bash|markdown\n";
  return 1;
}
