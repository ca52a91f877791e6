#include "solve/program/pages.h"

#include <ostream>
#include <sstream>
#include <string>

#include "host/version.h"
#include "solve/engines/engines.h"
#include "solve/program/options.h"

namespace tavsolve {

namespace {

constexpr const char* kAbout =
    "Reads an optimisation model from a file, solves it with the engine that suits its class, and can then edit it, "
    "while it stays loaded in the solver, and solve it again.";

constexpr const char* kFile =
    "An MPS file (fixed or free), an LP file or an .nl file (text or binary), told by the name's extension and else by "
    "the contents; also compressed (gzip, bzip2). \"-\" is standard input.";

constexpr const char* kProtocol =
    "The call of modelling systems: reads STUB.nl, and the options from the environment variable tavsolve_options and "
    "then from the arguments, and writes STUB.sol. KEY is an option's name without dashes. \"tavsolve -=\" lists "
    "them.";

struct ExitCodeText {
  int code;
  const char* meaning;
};
constexpr ExitCodeText kExitCodes[] = {
    {0,
     "the last solve has found an optimum, at which rows and bounds hold within the tolerance; or there was nothing "
     "to solve"},
    {1,
     "it ended otherwise: infeasible, unbounded, a limit, an interruption, a solution that violates a row, or "
     "--check disagrees"},
    {2, "bad usage, a file that cannot be read or written, or a model that no engine takes"},
    {3, "the solver failed, or memory ran out"},
};

/// Writes words up to a width, with what stands before the first and before the other lines.
void wrap(std::ostream& os, const std::string& text, std::string line, std::size_t indent) {
  constexpr std::size_t kWidth = 100;
  std::istringstream words(text);
  bool fresh = true;
  for (std::string word; words >> word; fresh = false) {
    if (!fresh && line.size() + 1 + word.size() > kWidth) {
      os << line << "\n";
      line = std::string(indent, ' ');
      fresh = true;
    }
    line += (fresh ? "" : " ") + word;
  }
  os << line << "\n";
}

std::string synopsisOf(const OptionRow& row) {
  return std::string("--") + row.name + (*row.operands ? " " : "") + row.operands;
}

std::string versionText() { return "tavsolve " TAV_SOLVE_VERSION; }

/// Text of troff: a dash is a minus, and no line begins with a dot or quote.
std::string troff(const std::string& text) {
  std::string result;
  for (const char c : text) result += c == '-' ? "\\-" : c == '\\' ? "\\e" : std::string(1, c);
  return result;
}

std::string tableCell(const std::string& text) {
  std::string result;
  for (const char c : text) result += c == '|' ? "\\|" : std::string(1, c);
  return result;
}

/// The words that an operand is one of: "a|b" gives "a b".
std::string choicesOf(const OptionRow& row) {
  std::string words = row.operands;
  if (words.find('|') == words.npos) return "";
  for (char& c : words) c = c == '|' ? ' ' : c;
  return words;
}

}  // namespace

void printHelp(std::ostream& os) {
  os << "usage: tavsolve [OPTION]... FILE\n       tavsolve STUB -AMPL [KEY=VALUE]...\n\n";
  wrap(os, kAbout, "", 0);
  os << "\n";
  wrap(os, kFile, "FILE  ", 6);
  os << "\n";
  wrap(os, kProtocol, "-AMPL ", 6);
  constexpr std::size_t kIndent = 34;
  for (const OptionSection& section : optionTable()) {
    os << "\n" << section.title << "\n";
    if (*section.remark) wrap(os, section.remark, "  ", 2);
    for (const OptionRow& row : section.rows) {
      std::string head = "  " + synopsisOf(row) + "  ";
      head.resize(std::max(head.size(), kIndent), ' ');
      wrap(os, row.help, head, kIndent);
    }
  }
  os << "\nExit code\n";
  for (const ExitCodeText& code : kExitCodes) wrap(os, code.meaning, "  " + std::to_string(code.code) + "  ", 5);
}

void printVersion(std::ostream& os) {
  os << versionText() << "\n";
  for (const EngineKind& kind : engineKinds()) {
    os << "engine " << kind.name << ": " << kind.models;
    if (!kind.make) os << " (not built, for want of " << kind.package << ")";
    os << "\n";
  }
}

void printKeywords(std::ostream& os) {
  for (const OptionSection& section : optionTable()) {
    for (const OptionRow& row : section.rows) {
      if (row.operandCount() <= 1) os << row.name << (*row.operands ? "=" : "") << row.operands << "\n";
    }
  }
}

void printManPage(std::ostream& os) {
  os << ".TH TAVSOLVE 1 \"\" \"" << versionText() << "\" \"User Commands\"\n.SH NAME\n"
     << "tavsolve \\- solve, edit and re\\-solve optimisation models\n.SH SYNOPSIS\n"
     << ".B tavsolve\n[\\fIOPTION\\fR]... \\fIFILE\\fR\n.br\n"
     << ".B tavsolve\n\\fISTUB\\fR \\fB\\-AMPL\\fR [\\fIKEY\\fR=\\fIVALUE\\fR]...\n.SH DESCRIPTION\n"
     << troff(kAbout) << "\n.TP\n.I FILE\n"
     << troff(kFile) << "\n.TP\n.B \\-AMPL\n"
     << troff(kProtocol) << "\n";
  for (const OptionSection& section : optionTable()) {
    os << ".SH \"" << section.title << "\"\n" << troff(section.remark) << (*section.remark ? "\n" : "");
    for (const OptionRow& row : section.rows) {
      os << ".TP\n\\fB\\-\\-" << troff(row.name) << "\\fR";
      if (*row.operands) os << " \\fI" << troff(row.operands) << "\\fR";
      os << "\n" << troff(row.help) << "\n";
    }
  }
  os << ".SH \"EXIT STATUS\"\n";
  for (const ExitCodeText& code : kExitCodes) os << ".TP\n.B " << code.code << "\n" << troff(code.meaning) << "\n";
}

void printCompletion(std::ostream& os) {
  std::string all, files, cases;
  for (const OptionSection& section : optionTable()) {
    for (const OptionRow& row : section.rows) {
      const std::string name = std::string("--") + row.name;
      all += (all.empty() ? "" : " ") + name;
      if (std::string(row.operands) == "FILE") files += (files.empty() ? "" : "|") + name;
      if (const std::string words = choicesOf(row); !words.empty()) {
        cases.append("    ").append(name).append(") COMPREPLY=($(compgen -W \"").append(words);
        cases += "\" -- \"$word\")); return ;;\n";
      }
    }
  }
  std::string engines;
  for (const EngineKind& kind : engineKinds()) engines += (engines.empty() ? "" : " ") + std::string(kind.name);
  os << "# bash completion for tavsolve\n_tavsolve() {\n  local word=${COMP_WORDS[COMP_CWORD]}\n"
     << "  case ${COMP_WORDS[COMP_CWORD - 1]} in\n"
     << cases << "    --engine) COMPREPLY=($(compgen -W \"" << engines << "\" -- \"$word\")); return ;;\n"
     << "    " << files << ") COMPREPLY=($(compgen -f -- \"$word\")); return ;;\n  esac\n"
     << "  if [[ $word == -* ]]; then\n    COMPREPLY=($(compgen -W \"" << all << "\" -- \"$word\"))\n  else\n"
     << "    COMPREPLY=($(compgen -f -- \"$word\"))\n  fi\n}\n"
     << "complete -o filenames -F _tavsolve tavsolve\n";
}

void printMarkdown(std::ostream& os) {
  for (const OptionSection& section : optionTable()) {
    os << "### " << section.title << "\n\n" << section.remark << (*section.remark ? "\n\n" : "");
    os << "| option | meaning |\n|---|---|\n";
    for (const OptionRow& row : section.rows) {
      os << "| `" << tableCell(synopsisOf(row)) << "` | " << tableCell(row.help) << " |\n";
    }
    os << "\n";
  }
}

}  // namespace tavsolve
