// hx7: the host load computer's end of the bus.
#include <iostream>

#include <CLI/CLI.hpp>

#include "host/commands/diff.h"
#include "host/commands/send.h"
#include "host/commands/watch.h"
#include "host/link/inject.h"
#include "host/log/play.h"
#include "host/log/record.h"
#include "host/protocol/errors.h"
#include "host/protocol/send_plan.h"
#include "host/simulate/actions.h"
#include "host/simulate/simulate.h"

namespace {

constexpr int FAILED = 1;
constexpr int CALLED_WRONGLY = 2;

constexpr const char* BUS_HELP =
    "local: the unit that runs here; socketcan:INTERFACE: a CAN interface of the kernel; socketcand:HOST:PORT: "
    "a "
    "socketcand server";

struct command_line_t {
  host::send_options_t send;
  host::play_options_t play;
  host::watch_options_t watch;
  host::record_options_t record;
  simulate::simulate_options_t simulate;
  host::diff_options_t diff;
  int status = 0;
};

void AddSend(CLI::App& app, host::send_options_t& options) {
  CLI::App* command =
      app.add_subcommand("send", "Send commands of the host by name, or raw messages and frames");
  command->footer(
      "Examples:\n"
      "  hx7 send load=12300 radius=35.4 line1-center=\"HELLO\"\n"
      "  hx7 send units=metric language=russian beeper=20\n"
      "  hx7 send led=overload,a2b colors=green,dark,dark,yellow valid-keys=info,tires\n"
      "  hx7 send program-name key-state\n"
      "  hx7 send raw=040A frame=18FF00D0#0001060000000000\n\n"
      "The display gets all operating values in one message. Those that a call does not name are sent as this "
      "hx7\n"
      "sent them last in this runtime directory (file hx7.values), at first as 0 with no lamp lit.");
  command->add_option("--bus", options.bus, BUS_HELP)->capture_default_str();
  command->add_option("--timeout", options.timeout_s, "Seconds to wait for the display's answer")
      ->capture_default_str()
      ->check(CLI::Range(0.0, 3600.0));
  command->add_flag("--neutral", options.neutral,
                    "Begin with all operating values 0, not with those sent last");
  command->add_flag_callback(
      "--list",
      [] {
        std::cout << host::ListSendNames();
        throw CLI::Success();
      },
      "Show all names with their values and units");
  command->add_option("NAME=VALUE", options.arguments, "What to send, in order")->required();
  command->callback([&options] { host::Send(options); });
}

void AddPlay(CLI::App& app, host::play_options_t& options) {
  CLI::App* command = app.add_subcommand("play", "Play a log onto the bus at its own pace");
  command->footer(
      "Reads logs of candump -L and -l, what candump -ta, -tz and -tA print, and the log, ASC and CSV files "
      "of\n"
      "python-can (ASC of log2asc too). What is no data frame is passed over and counted.\n"
      "On a terminal the space bar halts and goes on. A process that was stopped goes on where it was.\n"
      "Plays every frame but those of the display's own identifier 18FF00D2, which the display on the\n"
      "bus sends itself; --all plays them too. The interface that the log names does not matter. Where\n"
      "the bus is lost, it tries for 10 seconds to join it again.");
  command->add_option("FILE", options.file, "The log; - is standard input")->required();
  command->add_option("--bus", options.bus, BUS_HELP)->capture_default_str();
  command->add_option("--speed", options.speed, "Factor, such as 2 or 0.5; max ignores the time")
      ->capture_default_str();
  command->add_option("--keys", options.keysFile,
                      "Press the front keys that a unit noted beside the log (its bundle's keys.log)");
  command->add_flag("--loop", options.loop, "Begin again at the end, until stopped");
  command->add_flag("--all", options.all, "Play the display's frames too");
  command->add_flag("--quiet", options.quiet, "Print nothing but errors");
  command->callback([&options] { host::PlayFile(options); });
}

void AddWatch(CLI::App& app, host::watch_options_t& options) {
  CLI::App* command = app.add_subcommand("watch", "Show both directions in words, live or from a log");
  command->add_option("FILE", options.file,
                      "A log, as play reads it; - is standard input; without it, the live bus");
  command->add_option("--bus", options.bus, BUS_HELP)->capture_default_str();
  command->add_flag("--json", options.json, "One JSON object a line");
  command->add_flag("--changes", options.changes, "Only messages that differ from the last of their kind");
  command->add_option("--seconds", options.seconds, "Stop by itself after that time")
      ->check(CLI::PositiveNumber);
  command->callback([&options] { host::Watch(options); });
}

void AddRecord(CLI::App& app, host::record_options_t& options) {
  CLI::App* command = app.add_subcommand("record", "Record the bus as a log of candump -L");
  command->add_option("FILE", options.file, "The log; - is standard output")->required();
  command->add_option("--bus", options.bus, BUS_HELP)->capture_default_str();
  command->add_flag("--force", options.force, "Replace the file where it exists");
  command->add_option("--seconds", options.seconds, "Stop by itself after that time")
      ->check(CLI::PositiveNumber);
  command->callback([&options] { host::Record(options); });
}

std::string ListFaults() {
  std::string text;
  for (const host::bus_fault_name_t& fault : host::BusFaults()) {
    text += (text.empty() ? "" : "; ") + std::string(fault.name) + ": " + std::string(fault.about);
  }
  return text;
}

void AddSimulate(CLI::App& app, simulate::simulate_options_t& options) {
  CLI::App* command = app.add_subcommand("simulate", "Run a crane and its host load computer on the bus");
  command->footer(
      "A scenario is a text file with a time in seconds and an action a line; docs/simulator.md says more.\n"
      "Actions, also those of --interactive and of POST /api/do:\n" +
      simulate::ListActions());
  command->add_option("--scenario", options.scenario,
                      "A name of --list, or a file; without it a normal lift, and nothing when --interactive");
  command->add_option("--chart", options.chart, "Load chart, a file; without it the standard one");
  command->add_option("--seed", options.seed, "Of the sensors' trembling; the same seed, the same bytes")
      ->capture_default_str();
  command->add_option("--speed", options.speed, "Factor, such as 2 or 0.5; max is as fast as the bus takes it")
      ->capture_default_str();
  command
      ->add_option("--seconds-of-crane", options.secondsOfCrane,
                   "Stop by itself after that time of the crane, whatever the speed")
      ->check(CLI::Range(0.01, 1e9));
  command->add_flag("--loop", options.loop, "Begin the scenario again at its end");
  command->add_flag("--interactive", options.interactive,
                    "Take actions from the terminal, until quit or the end of the input");
  command->add_option("--http", options.http, "Take them over HTTP here too, such as 127.0.0.1:8741");
  command->add_option("--inject", options.inject,
                      "Be a bad host: faults with commas between, or all. " + ListFaults());
  command->add_option("--inject-rate", options.injectRate, "Part of the messages that a bad one precedes")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
  command->add_option("--bus", options.bus, BUS_HELP)->capture_default_str();
  command->add_option("--config", options.config, "The configuration's folder, with scenarios and charts");
  command->add_flag("--quiet", options.quiet, "Print nothing but errors");
  command->add_flag_callback(
      "--list",
      [&options] {
        std::cout << simulate::ListScenarios(options.config);
        throw CLI::Success();
      },
      "Show the scenarios");
  command->callback([&options] { simulate::Simulate(options); });
}

void AddDiff(CLI::App& app, host::diff_options_t& options, int& status) {
  CLI::App* command = app.add_subcommand("diff", "Say where two logs differ in what the display shows");
  command->footer(
      "Compares what the screen would show one after the other: rounded values, texts, lamps with their\n"
      "colours, icons, units, language, beeper, swing, page requests and a lost link. When it is shown, and\n"
      "how often it is sent again, does not matter. Exit status: 0 the same, 1 different, 2 called wrongly\n"
      "or a log cannot be read.");
  command->add_option("A", options.a, "A log")->required();
  command->add_option("B", options.b, "Another log")->required();
  command->add_flag("--json", options.json, "One JSON object a difference");
  command->add_option("--limit", options.limit, "Differences to print; 0 prints all")->capture_default_str();
  command->callback([&options, &status] { status = host::Diff(options) ? 0 : FAILED; });
}

int Run(int argc, char** argv) {
  CLI::App app{"hx7: the host load computer's end of the bus"};
  command_line_t line;
  app.set_version_flag("--version", "hx7 " ORVIK_VERSION);
  app.footer("Exit status: 0 done, 1 failed, 2 called wrongly.\n`hx7 COMMAND --help` says more.");
  app.require_subcommand(1);
  AddSend(app, line.send);
  AddPlay(app, line.play);
  AddWatch(app, line.watch);
  AddRecord(app, line.record);
  AddSimulate(app, line.simulate);
  AddDiff(app, line.diff, line.status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : CALLED_WRONGLY;
  }
  return line.status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const host::UsageError& error) {
    std::cerr << "hx7: " << error.what() << '\n';
    return CALLED_WRONGLY;
  } catch (const std::exception& error) {
    std::cerr << "hx7: " << error.what() << '\n';
    return FAILED;
  }
}
