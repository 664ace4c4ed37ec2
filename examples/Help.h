// The texts of --help, and their layout.
#ifndef ORV_EXAMPLES_HELP_H
#define ORV_EXAMPLES_HELP_H

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace orvtool {

extern const char kDescription[];
extern const char kFooter[];

// `text` in lines of 80 columns; the first one begins at `column`, the others behind `indent` blanks.
std::string Wrap(const std::string& text, size_t column, size_t indent);

// Lays the help out in 80 columns: lines of text that start with a blank stay as they are.
std::shared_ptr<CLI::Formatter> MakeHelpFormatter();

}  // namespace orvtool

#endif
