// hx7: the host load computer's end of the bus.
#include <iostream>

#include <CLI/CLI.hpp>

#include "platform/process.h"

#include "base/command_line/command_line.h"
#include "base/exit_status.h"
#include "host/commands/command_lines.h"
#include "host/protocol/errors.h"

namespace {

int RunProgram(int argc, char** argv) {
  int status = base::EXIT_DONE;
  CLI::App app{"The host load computer's end of the bus", "hx7"};
  app.footer(
      "Exit status: 0 done, 1 failed, 2 called wrongly, 3 interrupted.\n`hx7 COMMAND --help` says more.");
  app.require_subcommand(1);
  host::AddCommands(app, status);
  return base::RunCommandLine(app, argc, argv, status);
}

}  // namespace

int main(int argc, char** argv) {
  platform::RestrictProcess();
  try {
    return RunProgram(argc, argv);
  } catch (const host::UsageError& error) {
    std::cerr << "hx7: " << error.what() << '\n';
    return base::EXIT_CALLED_WRONGLY;
  } catch (const std::exception& error) {
    std::cerr << "hx7: " << error.what() << '\n';
    return base::EXIT_FAILED;
  }
}
