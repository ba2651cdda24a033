// The command lines of hx7: every command with its options, as CLI11 reads them.
#pragma once

namespace CLI {
class App;
}

namespace host {

// Adds all commands to `app`. Parsing a command line then runs the command, which may throw UsageError and
// Failure. A command that ended well but has an exit status of its own sets `status`, which must outlive `app`.
void AddCommands(CLI::App& app, int& status);

}  // namespace host
