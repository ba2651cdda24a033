// The commands `unit screen`, `unit press` and `unit wait`: the screen and the front keys of a running unit,
// from a shell or a script. They ask the front panel.
#pragma once

namespace CLI {
class App;
}

namespace unit {

// Adds the three commands. Each sets `result` to an exit status of base/exit_status.h, and prints what it found
// to standard output and errors to standard error.
void AddScreenCommands(CLI::App& app, int& result);

}  // namespace unit
