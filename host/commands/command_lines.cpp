#include "host/commands/command_lines.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "base/call_filter.h"
#include "base/exit_status.h"
#include "host/check/check.h"
#include "host/commands/check_log.h"
#include "host/commands/diff.h"
#include "host/commands/hold.h"
#include "host/commands/send.h"
#include "host/commands/watch.h"
#include "host/link/inject.h"
#include "host/log/convert.h"
#include "host/log/play.h"
#include "host/log/record.h"
#include "host/log_check/check_logs.h"
#include "host/protocol/errors.h"
#include "host/protocol/send_plan.h"
#include "host/report/report.h"
#include "host/simulate/actions.h"
#include "host/simulate/simulate.h"

namespace host {
namespace {

constexpr unsigned TO_WRITE = base::RIGHT_NETWORK | base::RIGHT_WRITE;

// No command but check and report runs another program. Those that only read logs write no file, and need no
// network without a bus.
void KeepRights(unsigned rights) {
  base::KeepRights("hx7", rights);
}

// Options live in a shared_ptr that the command's callback holds: as long as the parser itself.
template <typename Options>
std::shared_ptr<Options> MakeOptions() {
  return std::make_shared<Options>();
}

void AddBus(CLI::App& command, std::string& bus) {
  command
      .add_option("--bus", bus,
                  "local: the unit on this machine; socketcan:INTERFACE: a CAN interface of the kernel; "
                  "socketcand:HOST:PORT: a socketcand server")
      ->capture_default_str();
}

void AddSeconds(CLI::App& command, std::optional<double>& seconds) {
  command.add_option("--seconds", seconds, "Stop after so many seconds")->check(CLI::PositiveNumber);
}

// A flag that prints a list instead of running the command.
void AddList(CLI::App& command, const char* about, std::function<std::string()> list) {
  command.add_flag_callback(
      "--list",
      [list = std::move(list)] {
        std::cout << list();
        throw CLI::Success();
      },
      about);
}

// --check: nothing is sent, and a wrong file has the exit status 2.
std::shared_ptr<bool> AddCheck(CLI::App& command, const char* about) {
  auto check = MakeOptions<bool>();
  command.add_flag("--check", *check, about);
  return check;
}

void AddSendOptions(CLI::App& command, int& /*status*/) {
  const auto options = MakeOptions<send_options_t>();
  command.footer(
      "Examples:\n"
      "  hx7 send load=12300 radius=35.4 line1-center=\"HELLO\"\n"
      "  hx7 send units=metric language=russian beeper=20\n"
      "  hx7 send led=overload,a2b colors=green,dark,dark,yellow valid-keys=info,tires\n"
      "  hx7 send program-name key-state\n"
      "  hx7 send raw=040A frame=18FF00D0#0001060000000000\n\n"
      "One message carries all operating values. Values that a call does not name are sent as hx7 sent them\n"
      "last in this runtime directory (file hx7.values); the first time they are 0 and no lamp is lit.");
  AddBus(command, options->bus);
  command.add_option("--timeout", options->timeout_s, "Seconds to wait for the display's answer")
      ->capture_default_str()
      ->check(CLI::Range(0.0, 3600.0));
  command.add_flag("--neutral", options->neutral,
                   "Begin with all operating values 0 instead of those sent last");
  AddList(command, "Show all names with their values and units", ListSendNames);
  command.add_option("NAME=VALUE", options->arguments, "What to send, in order")->required();
  command.callback([options] {
    KeepRights(TO_WRITE);
    Send(*options);
  });
}

void AddHoldOptions(CLI::App& command, int& /*status*/) {
  const auto options = MakeOptions<hold_options_t>();
  command.footer(
      "The simulator of this runtime directory sends its crane's values ten times a second, so that a value "
      "of\n"
      "hx7 send lasts for a tenth of a second. A value that is held is sent instead of the crane's, until\n"
      "--release. The limits and the alarms follow the crane.\n"
      "Example: hx7 hold load=12300 percent=85");
  command.add_option("NAME=VALUE", options->arguments, "Operating values, as of hx7 send --list");
  command.add_flag("--release", options->release, "Hold nothing any more");
  command.callback([options] {
    KeepRights(base::RIGHT_NETWORK);
    Hold(*options);
  });
}

void AddPlayOptions(CLI::App& command, int& /*status*/) {
  const auto options = MakeOptions<play_options_t>();
  command.footer(
      "Reads logs of candump -L and -l, the output of candump -ta, -tz and -tA, the log, ASC and CSV files\n"
      "of python-can (ASC of log2asc too), BLF files of Vector's tools and TRC files of PEAK's; each as it is\n"
      "or packed with gzip or zstd. Lines without a data frame are skipped and counted.\n"
      "On a terminal the space bar pauses and continues. A process that was stopped continues where it was.\n"
      "The display's own frames (18FF00D2) are not played, because the display on the bus sends its own;\n"
      "--all plays them too. The interface names in the log do not matter. If the bus is lost, hx7 tries\n"
      "for 10 seconds to reconnect.");
  command.add_option("FILE", options->file, "The log; - is standard input")->required();
  AddBus(command, options->bus);
  command.add_option("--speed", options->speed, "Time factor, such as 2 or 0.5; max sends without waiting")
      ->capture_default_str();
  command.add_option("--keys", options->keysFile,
                     "Press the front keys that a unit recorded with the log (keys.log of its bundle)");
  command.add_flag("--loop", options->loop, "Begin again at the end, until stopped");
  command.add_flag("--all", options->all, "Play the display's frames too");
  command.add_flag("--quiet", options->quiet, "Print only errors");
  const auto check = AddCheck(command, "Only say whether the log can be played");
  command.callback([options, check] {
    KeepRights(base::RIGHT_NETWORK);
    *check ? CheckLog(options->file) : PlayFile(*options);
  });
}

void AddConvertOptions(CLI::App& command, int& /*status*/) {
  const auto options = MakeOptions<convert_options_t>();
  command.footer(
      "Reads what play reads. The name of OUT says what to write: .log (as candump -L), .asc, .csv, .trc, "
      ".blf,\n"
      "each but .blf also with .gz or .zst behind it. All frames are of one interface in the new log. The end\n"
      "of the output says what else the new form cannot hold.");
  command.add_option("IN", options->in, "The log; - is standard input")->required();
  command.add_option("OUT", options->out, "The new log; - is standard output")->required();
  command.add_option("--form", options->form, "The form of OUT, whatever its name: " + ListLogForms());
  command.add_flag("--force", options->force, "Replace an existing file");
  command.callback([options] {
    KeepRights(base::RIGHT_WRITE);
    Convert(*options);
  });
}

void AddWatchOptions(CLI::App& command, int& /*status*/) {
  const auto options = MakeOptions<watch_options_t>();
  command.add_option("FILE", options->file,
                     "A log of a kind that play reads; - is standard input; without it, the live bus");
  AddBus(command, options->bus);
  command.add_flag("--json", options->json, "One JSON object on each line");
  command.add_flag("--changes", options->changes, "Only messages that differ from the last of their kind");
  AddSeconds(command, options->seconds);
  command.callback([options] {
    KeepRights(options->file.empty() ? base::RIGHT_NETWORK : base::RIGHT_NONE);
    Watch(*options);
  });
}

void AddRecordOptions(CLI::App& command, int& /*status*/) {
  const auto options = MakeOptions<record_options_t>();
  command.add_option("FILE", options->file, "The log; - is standard output")->required();
  AddBus(command, options->bus);
  command.add_flag("--force", options->force, "Replace an existing file");
  AddSeconds(command, options->seconds);
  command.callback([options] {
    KeepRights(TO_WRITE);
    Record(*options);
  });
}

std::string ListFaults() {
  std::string text;
  for (const bus_fault_name_t& fault : BusFaults()) {
    text += (text.empty() ? "" : "; ") + std::string(fault.name) + ": " + std::string(fault.about);
  }
  return text;
}

void AddScenarioOptions(CLI::App& command, simulate::simulate_options_t& options) {
  command.add_option("--scenario", options.scenario,
                     "A name from --list, or a file. Default: a normal lift; with --interactive, no scenario");
  command.add_option("--chart", options.chart, "A load chart file; default: the standard chart");
  command.add_option("--seed", options.seed, "Of the sensors' noise; the same seed gives the same bytes")
      ->capture_default_str();
  command
      .add_option("--speed", options.speed, "Time factor, such as 2 or 0.5; max is as fast as the bus allows")
      ->capture_default_str();
  command
      .add_option("--seconds-of-crane", options.secondsOfCrane,
                  "Stop after so many seconds of the crane's time")
      ->check(CLI::Range(0.01, 1e9));
  auto* loop = command.add_flag("--loop", options.loop, "Begin the scenario again at its end");
  command.add_flag("--until-done", options.untilDone, "Stop at the scenario's end; it must not repeat")
      ->excludes(loop);
  command.add_option("--config", options.config, "The configuration folder, with scenarios and charts");
}

void AddInjectOptions(CLI::App& command, simulate::simulate_options_t& options) {
  command.add_option("--inject", options.inject,
                     "Send faulty messages too: names separated by commas, or all. " + ListFaults());
  command
      .add_option("--inject-rate", options.injectRate, "Fraction of the messages that a faulty one precedes")
      ->check(CLI::Range(0.0, 1.0))
      ->capture_default_str();
}

void AddExpectationOptions(CLI::App& command, simulate::simulate_options_t& options) {
  command
      .add_flag("--once", options.once,
                "Play the scenario once, also if it repeats, and end when its expectations are decided")
      ->excludes("--loop")
      ->excludes("--seconds-of-crane");
  command.add_flag("--ignore-expectations", options.ignoreExpectations,
                   "Play the scenario without judging what the display shows");
  command.add_flag("--write-pictures", options.writePictures,
                   "Write the pictures that the scenario expects, instead of comparing them");
  command
      .add_option("--results", options.results,
                  "A folder for how the expectations came out (results.jsonl), and pictures of the failures")
      ->check(CLI::ExistingDirectory);
}

void AddSimulateOptions(CLI::App& command, int& status) {
  const auto options = MakeOptions<simulate::simulate_options_t>();
  command.footer(
      "A scenario is a text file with a time in seconds and an action on each line; see docs/simulator.md.\n"
      "Actions, also for --interactive and for POST /api/do:\n" +
      simulate::ListActions());
  AddScenarioOptions(command, *options);
  command.add_flag("--interactive", options->interactive,
                   "Read actions from the terminal, until quit or the end of the input");
  command.add_option("--http", options->http,
                     "Accept actions over HTTP at this address, such as 127.0.0.1:8741");
  AddExpectationOptions(command, *options);
  AddInjectOptions(command, *options);
  AddBus(command, options->bus);
  command.add_flag("--quiet", options->quiet, "Print only errors");
  AddList(command, "Show the scenarios", [options] { return simulate::ListScenarios(options->config); });
  const auto check = AddCheck(command, "Only say whether scenario, chart and options are right");
  command.callback([options, check, &status] {
    KeepRights(TO_WRITE);
    if (*check) return simulate::CheckSimulation(*options);
    status = simulate::Simulate(*options);
  });
}

void AddLogCheckOptions(CLI::App& command, check_logs_options_t& options) {
  command.add_option("--logs", options.logs,
                     "Instead of scenarios: which of these logs the display shows differently than before. A "
                     "folder with logs of kinds that play reads, or one log");
  auto* against = command.add_option("--against", options.baseline, "Compare with the results in this folder");
  command.add_option("--write", options.write, "Write the results into this folder")->excludes(against);
  command.add_option("--results", options.results,
                     "With --against: where the new results go; default: BASELINE.now");
  command.add_flag("--resume", options.resume, "Keep results that still hold");
  command.add_flag("--force", options.force, "With --write: replace results that are there");
  command.add_option("--film", options.film, "The program film of another build");
  command.add_flag("--quiet", options.quiet, "No progress");
}

void AddCheckOptions(CLI::App& command, int& status) {
  const auto options = MakeOptions<check::check_options_t>();
  const auto logs = MakeOptions<check_logs_options_t>();
  command.footer(
      "Each run has a unit and a simulator of its own, from the folder of hx7. A scenario runs at the speed of "
      "its\n"
      "line `speed N`, and without that line in real time; see docs/simulator.md. A failure is kept in a "
      "folder\n"
      "with the screen's picture, the logs and a bundle, and printed with the command that repeats it.\n"
      "With --logs, --write BASELINE makes the results with which --against BASELINE compares later. Each log\n"
      "has one result file. Ctrl-C stops; --resume continues with what is whole and of the same log and "
      "display.\n"
      "Exit status: 0 all passed, 1 a run failed or a log differs, 2 called wrongly, 3 interrupted.");
  auto* scenarios =
      command.add_option("SCENARIO", options->scenarios, "Names of `hx7 simulate --list`, files, or all");
  AddLogCheckOptions(command, *logs);
  scenarios->excludes("--logs");
  command.add_option("--junit", options->junit, "Write the results as JUnit XML into this file");
  command.add_option("--seed", options->seeds, "Run each scenario with each of these seeds")
      ->capture_default_str();
  command
      .add_option(
          "--jobs", options->jobs,
          "Desks at the same time; default: by the free cores, 8 for each at most. Of logs: one for each core")
      ->check(CLI::Range(1, 256));
  command.add_option("--speed", options->speed, "The greatest speed, where a scenario allows a greater one")
      ->check(CLI::Range(0.1, 100.0));
  command.add_option("--keep", options->keep, "The folder that gets the failures")->capture_default_str();
  command.add_flag("--write-pictures", options->writePictures,
                   "Write the pictures that the scenarios expect, instead of comparing them");
  command.add_option("--config", options->config, "The configuration folder, with scenarios and charts");
  command.callback([options, logs, &status] {
    KeepRights(TO_WRITE | base::RIGHT_EXECUTE);
    logs->junit = options->junit;
    logs->jobs = options->jobs;
    logs->config = options->config;
    if (logs->logs.empty() && options->scenarios.empty()) throw UsageError("name a scenario, or --logs FOLDER");
    status = logs->logs.empty() ? check::Check(*options) : CheckLogs(*logs);
  });
}

void AddDiffOptions(CLI::App& command, int& status) {
  const auto options = MakeOptions<diff_options_t>();
  command.footer(
      "Compares the sequence of what the screen would show: rounded values, texts, lamps with their colours,\n"
      "icons, units, language, beeper, swing, page requests and a lost link. The times and the number of\n"
      "repetitions do not matter. Exit status: 0 the same, 1 different, 2 called wrongly or a log cannot be\n"
      "read.");
  command.add_option("A", options->a, "A log")->required();
  command.add_option("B", options->b, "Another log")->required();
  command.add_flag("--json", options->json, "One JSON object for each difference");
  command.add_option("--limit", options->limit, "Differences to print; 0 prints all")->capture_default_str();
  command.callback([options, &status] {
    KeepRights(base::RIGHT_NONE);
    status = Diff(*options) ? base::EXIT_DONE : base::EXIT_FAILED;
  });
}

void AddReportOptions(CLI::App& command, int& status) {
  const auto options = MakeOptions<report::report_options_t>();
  command.footer(
      "Writes one web page that needs nothing else: the curves of the log, what warned when, the messages in\n"
      "words, and the screen as the operator saw it, computed by the display's own program (film, beside "
      "hx7).\n"
      "Several logs are joined in the order of their times. An existing report of that name is replaced.\n"
      "Exit status: 0 done, 1 failed, or written with less of the screen than the log has, 2 called wrongly,\n"
      "3 stopped by a signal.");
  command.add_option("LOG", options->logs, "Logs of a kind that play reads")->required();
  command.add_option("-o,--output", options->output, "The web page, such as report.html")->required();
  command.add_option("--keys", options->keysFile,
                     "The front keys that a unit recorded with the log (keys.log of its bundle)");
  command.add_option("--title", options->title, "The report's title; default: the names of the logs");
  command.add_option("--config", options->config, "The configuration folder, with the screen's pages");
  command.callback([options, &status] {
    KeepRights(base::RIGHT_EXECUTE | base::RIGHT_WRITE);
    const report::report_outcome_t outcome = report::MakeReport(*options);
    if (outcome == report::report_outcome_t::WITHOUT_SCREEN) status = base::EXIT_FAILED;
    if (outcome == report::report_outcome_t::STOPPED) status = base::EXIT_INTERRUPTED;
  });
}

struct command_line_t {
  const char* name;
  const char* about;
  void (*addOptions)(CLI::App& command, int& status);
};
constexpr command_line_t COMMANDS[] = {
    {"send", "Send commands of the host by name, or raw messages and frames", AddSendOptions},
    {"hold", "Make the running simulator send chosen values", AddHoldOptions},
    {"play", "Play a log onto the bus at its own pace", AddPlayOptions},
    {"watch", "Show both directions in words, live or from a log", AddWatchOptions},
    {"convert", "Write a log in another form", AddConvertOptions},
    {"record", "Record the bus as a log of candump -L", AddRecordOptions},
    {"simulate", "Run a crane and its host load computer on the bus", AddSimulateOptions},
    {"check", "Run scenarios against a display and say whether it does what they expect", AddCheckOptions},
    {"diff", "Say where two logs differ in what the display shows", AddDiffOptions},
    {"report", "Write a web page that shows a log, and the screen at any moment of it", AddReportOptions},
};

}  // namespace

void AddCommands(CLI::App& app, int& status) {
  for (const command_line_t& line : COMMANDS)
    line.addOptions(*app.add_subcommand(line.name, line.about), status);
}

}  // namespace host
