// hx7: the host load computer's end of the bus.
#include <iostream>

#include <CLI/CLI.hpp>

#include "platform/process.h"

#include "host/commands/command_lines.h"
#include "host/protocol/errors.h"

namespace {

constexpr int FAILED = 1;
constexpr int CALLED_WRONGLY = 2;

int RunProgram(int argc, char** argv) {
  int status = 0;
  CLI::App app{"hx7: the host load computer's end of the bus"};
  app.set_version_flag("--version", "hx7 " ORVIK_VERSION);
  app.footer("Exit status: 0 done, 1 failed, 2 called wrongly.\n`hx7 COMMAND --help` says more.");
  app.require_subcommand(1);
  host::AddCommands(app, status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : CALLED_WRONGLY;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  platform::RestrictProcess();
  try {
    return RunProgram(argc, argv);
  } catch (const host::UsageError& error) {
    std::cerr << "hx7: " << error.what() << '\n';
    return CALLED_WRONGLY;
  } catch (const std::exception& error) {
    std::cerr << "hx7: " << error.what() << '\n';
    return FAILED;
  }
}
