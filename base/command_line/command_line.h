// The command line of a program: its version, its description, and what it prints and returns where the line is
// wrong.
#pragma once

namespace CLI {
class App;
}

namespace base {

// Adds --version, parses the line and so runs the command that it names. Returns EXIT_CALLED_WRONGLY for a
// wrong line, after a message that names the mistyped command or option and the nearest that exists, else
// `result`, which the command may have set. The single word --describe-commands prints command_description.h's
// JSON instead. Lets the command's own exceptions through.
int RunCommandLine(CLI::App& app, int argc, char** argv, const int& result);

}  // namespace base
