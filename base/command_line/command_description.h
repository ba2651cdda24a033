// The commands and options of a program as JSON, for its manual page and for the completion of a shell.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace base {

// An object with name, about (a sentence), footer (examples and exit status), options, arguments (both: names,
// about, type, default, required, isFlag) and commands (the same object for each). What --help hides is left
// out.
std::string DescribeCommands(const CLI::App& app);

}  // namespace base
