#pragma once
/// What is written from the table of options.

#include <iosfwd>

namespace tavsolve {

/// The text of `--help`.
void printHelp(std::ostream& os);
/// Name, version and engines.
void printVersion(std::ostream& os);
/// The keywords of calls by modelling systems, one a line.
void printKeywords(std::ostream& os);
/// The man page, as troff.
void printManPage(std::ostream& os);
/// Completion for bash.
void printCompletion(std::ostream& os);
/// The table of options for docs/tavsolve.md.
void printMarkdown(std::ostream& os);

}  // namespace tavsolve
