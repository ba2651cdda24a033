// The command line of the program `unit`.
#include <algorithm>
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "platform/console_writer.h"
#include "platform/process.h"

#include "base/call_filter.h"
#include "base/command_line/command_line.h"
#include "base/exit_status.h"
#include "base/installation.h"
#include "base/nearest_word.h"
#include "unit/bundle/bundle.h"
#include "unit/bundle/bundle_list.h"
#include "unit/children/stop_signals.h"
#include "unit/database/database_commands.h"
#include "unit/design/design_command.h"
#include "unit/program/event_commands.h"
#include "unit/program/parts.h"
#include "unit/program/replay.h"
#include "unit/program/run.h"
#include "unit/program/screen_commands.h"
#include "unit/program/status_command.h"

namespace {

// The services start the application and the host.
constexpr unsigned RIGHTS_OF_SERVICES = base::RIGHT_NETWORK | base::RIGHT_EXECUTE | base::RIGHT_WRITE;
constexpr unsigned RIGHTS_OF_CLIENTS = base::RIGHT_NETWORK | base::RIGHT_WRITE;

void KeepRights(unsigned rights) {
  base::KeepRights("unit", rights);
}

struct run_arguments_t {
  std::vector<std::string> only;
  std::vector<std::string> without;
  std::string config;
  bool noHost = false;
  bool noOrvik = false;
  bool window = false;
  unit::run_plan_t plan;
};

struct database_arguments_t {
  std::vector<std::string> names;
  std::string name;
  std::string value;
  std::string prefix;
  bool asJson = false;
};

struct replay_arguments_t {
  unit::replay_options_t options;
  unit::run_plan_t plan;
  bool window = false;
};

struct event_arguments_t {
  std::string config;
  std::string name;
  unit::watch_options_t watch;
};

void CheckBus(CLI::Option* option) {
  option->check(
      [](const std::string& bus) {
        const bool known = bus == "local" || (bus.starts_with("socketcan:") && bus.size() > 10);
        return known ? std::string() : "\"" + bus + "\" is no bus; use local or socketcan:IFACE";
      },
      "local|socketcan:IFACE");
}

// --only and --without.
void AddPartNames(CLI::App& command, run_arguments_t& run) {
  const CLI::Validator isPart(
      [](const std::string& name) {
        const std::vector<std::string>& names = unit::PartNames();
        if (std::ranges::find(names, name) != names.end()) return std::string();
        return "there is no part " + name + base::Suggest(name, names) + " (" + CLI::detail::join(names, ", ") +
               ")";
      },
      "{" + CLI::detail::join(unit::PartNames(), ",") + "}");
  auto* only = command.add_option("--only", run.only, "Run only these parts, separated by commas")
                   ->delimiter(',')
                   ->check(isPart);
  command.add_option("--without", run.without, "Run all parts but these")
      ->delimiter(',')
      ->check(isPart)
      ->excludes(only);
}

// --http, --socketcand and --bus-token.
void AddListeners(CLI::App& command, unit::options_t& options) {
  command.add_option("--http", options.httpAddress, "Where the front panel listens")->capture_default_str();
  command.add_option("--socketcand", options.socketcandAddress, "Where the local bus listens")
      ->capture_default_str();
  command.add_option("--bus-token", options.busTokenFile,
                     "File with the token that a station must present at that address");
}

// --seconds, which it returns, and --snapshot.
CLI::Option* AddEnd(CLI::App& command, unit::run_plan_t& plan, unsigned& seconds) {
  auto* limit = command.add_option("--seconds", seconds, "Stop after so many seconds");
  command.add_option("--snapshot", plan.snapshotFile, "Write the picture as PNG before stopping")->needs(limit);
  return limit;
}

// When a run ends by itself, and when it gives up.
void AddTruth(CLI::App& command, unit::run_plan_t& plan) {
  command.add_flag("--until-done", plan.untilDone,
                   "Stop at the end of the log or of the scenario, which must not repeat");
  command
      .add_option("--tries", plan.tries,
                  "Give up and stop when a program has died so many times, each time within 10 s of its start "
                  "(default: 5 with --seconds or --until-done, else never)")
      ->check(CLI::Range(1, 1000));
  command.footer(
      "Exit status: 0 done; 2 refused before anything was started; with --seconds or --until-done, 1 when a\n"
      "part has died, never came up or fell silent, or hx7 ended with 1, and 3 when it was interrupted.");
}

// The display unit's devices, where a real one is connected.
void AddDevices(CLI::App& command, unit::options_t& options) {
  auto* keys =
      command.add_option("--keys", options.keysDevice, "Front keys: an input device (/dev/input/event...)");
  command
      .add_option("--key-map", options.keyMapFile,
                  "File that maps the device's keys to front keys: lines like KEY_F1 1")
      ->check(CLI::ExistingFile)
      ->needs(keys);
  command.add_option("--beeper", options.beeperDevice, "Beeper: an input device with a sounder");
  command.add_option("--backlight", options.backlightDirectory, "Backlight: a folder in /sys/class/backlight");
}

void AddHost(CLI::App& command, run_arguments_t& run) {
  auto* noHost = command.add_flag("--no-host", run.noHost, "Run no host load computer");
  auto* play = command.add_option("--play", run.plan.playFile, "Let hx7 play this bus log (candump -L)")
                   ->check(CLI::ExistingFile)
                   ->excludes(noHost);
  command.add_flag("--loop", run.plan.loop, "Play the log again and again")->needs(play);
  command
      .add_option("--scenario", run.plan.scenario,
                  "What hx7 simulates: a name of `hx7 simulate --list`, or a file (default: a normal lift)")
      ->excludes(noHost)
      ->excludes(play);
}

CLI::App* AddRun(CLI::App& app, run_arguments_t& run, unsigned& seconds) {
  CLI::App* command = app.add_subcommand("run", "Run the unit's services and the application until Ctrl-C");
  unit::options_t& options = run.plan.options;
  AddPartNames(*command, run);
  CheckBus(command->add_option("--bus", options.bus, "The CAN bus")->capture_default_str());
  AddListeners(*command, options);
  command->add_option("--config", run.config, "The configuration's folder");
  AddDevices(*command, options);
  command->add_flag("--window", run.window, "Show the screen in a window; its keys 1 to 8 are the front keys");
  command->add_flag("--fullscreen", options.fullscreen,
                    "Show the screen on the whole display, with or without a desktop");
  command->add_flag("--no-orvik", run.noOrvik, "Run the services without the application");
  AddHost(*command, run);
  command->add_option("--record", options.recordFile, "Write a log of the bus (candump -L)");
  command->add_option("--silence", run.plan.silence,
                      "Start an application again that has been silent for so many seconds; 0: never");
  AddEnd(*command, run.plan, seconds)->check(CLI::Range(1, 1'000'000));
  AddTruth(*command, run.plan);
  command->add_flag("--realtime", run.plan.realTime,
                    "Use real-time priority, exact timers and locked memory, where the system allows it");
  command->add_flag("--verbose", run.plan.verbose,
                    "Show all lines of the application and of hx7, and the services' counters at the end");
  return command;
}

int CarryRun(run_arguments_t& run, unsigned seconds) {
  unit::run_plan_t& plan = run.plan;
  plan.parts = run.only.empty() ? unit::UsualParts() : std::set<std::string>(run.only.begin(), run.only.end());
  if (run.window || plan.options.fullscreen) plan.parts.insert(unit::WINDOW_PART);
  for (const std::string& part : run.without) plan.parts.erase(part);
  if (run.noOrvik) plan.parts.erase(unit::ORVIK_PART);
  if (run.noHost) plan.parts.erase(unit::HOST_PART);
  if (seconds > 0) plan.seconds = seconds;
  try {
    plan.options.configDirectory = base::FindConfigFolder(run.config);
  } catch (const std::exception& error) {
    std::cerr << "unit run: " << error.what() << '\n';
    return base::EXIT_CALLED_WRONGLY;
  }
  if (plan.untilDone && (plan.loop || !unit::HasHost(plan))) {
    std::cerr << "unit run: --until-done needs a log or a scenario of hx7 that ends"
              << (plan.loop ? "; leave --loop out" : "") << '\n';
    return base::EXIT_CALLED_WRONGLY;
  }
  plan.options.genericFile = plan.options.configDirectory + "/generic.xml";
  KeepRights(RIGHTS_OF_SERVICES);
  unit::BlockStopSignals();
  const platform::ConsoleWriter console("unit");
  return unit::Run(plan);
}

void AddJson(CLI::App& command, bool& asJson) {
  command.add_flag("--json", asJson, "Print JSON");
}

void AddDatabase(CLI::App& app, database_arguments_t& arguments, int& result) {
  CLI::App* db =
      app.add_subcommand("db", "Read and write the parameter database; a unique prefix of a name is enough");
  db->require_subcommand(1);
  db->parse_complete_callback([] { KeepRights(RIGHTS_OF_CLIENTS); });
  CLI::App* get = db->add_subcommand("get", "Print values");
  get->add_option("NAME", arguments.names)->required();
  AddJson(*get, arguments.asJson);
  get->callback([&] { result = unit::GetParameters(arguments.names, arguments.asJson); });
  CLI::App* set = db->add_subcommand("set", "Write a value; - makes the parameter not valid");
  set->add_option("NAME", arguments.name)->required();
  set->add_option("VALUE", arguments.value)->required();
  set->callback([&] { result = unit::SetParameter(arguments.name, arguments.value); });
  CLI::App* list =
      db->add_subcommand("list", "Print name, handle and value of all parameters, or of those with a prefix");
  list->add_option("PREFIX", arguments.prefix);
  AddJson(*list, arguments.asJson);
  list->callback([&] { result = unit::ListParameters(arguments.prefix, arguments.asJson); });
  CLI::App* watch = db->add_subcommand("watch", "Print values as they change, until Ctrl-C");
  watch->add_option("NAME", arguments.names);
  AddJson(*watch, arguments.asJson);
  watch->callback([&] {
    unit::BlockStopSignals();
    result = unit::WatchParameters(arguments.names, arguments.asJson,
                                   [](auto time) { return !unit::StopRequested(time); });
  });
}

void AddEvents(CLI::App& app, event_arguments_t& arguments, int& result) {
  CLI::App* events =
      app.add_subcommand("events", "Post and watch the events and actions between application and screen");
  events->require_subcommand(1);
  events->parse_complete_callback([] { KeepRights(RIGHTS_OF_CLIENTS); });
  events->add_option("--config", arguments.config, "The configuration's folder");
  const auto generic = [&] { return base::FindConfigFolder(arguments.config) + "/generic.xml"; };
  CLI::App* list =
      events->add_subcommand("list", "Print the names of all events and actions, or of those with a prefix");
  list->add_option("PREFIX", arguments.name);
  AddJson(*list, arguments.watch.asJson);
  list->callback(
      [&, generic] { result = unit::ListEvents(generic(), arguments.name, arguments.watch.asJson); });
  CLI::App* post =
      events->add_subcommand("post", "Post an event or an action; a unique prefix of its name is enough");
  post->add_option("NAME", arguments.name)->required();
  post->callback([&, generic] { result = unit::PostNotice(generic(), arguments.name); });
  CLI::App* watch =
      events->add_subcommand("watch", "Print events and actions as they are posted, until Ctrl-C");
  watch->add_flag("--all", arguments.watch.all, "Print heartbeats and repetitions too");
  AddJson(*watch, arguments.watch.asJson);
  watch->callback([&, generic] {
    unit::BlockStopSignals();
    result =
        unit::WatchEvents(generic(), arguments.watch, [](auto time) { return !unit::StopRequested(time); });
  });
}

struct bundle_arguments_t {
  std::string file;
  bool force = false;
  bool isListed = false;
  bool asJson = false;
};

void AddBundle(CLI::App& app, bundle_arguments_t& arguments, int& result) {
  CLI::App* make =
      app.add_subcommand("bundle", "Pack logs, screen and configuration into one file for a fault report");
  make->add_option("FILE", arguments.file, "The archive to write, such as report.tar.gz")->required();
  make->add_flag("--force", arguments.force, "Replace an existing file");
  auto* list = make->add_flag("--list", arguments.isListed, "Write none, but show what this one has");
  make->add_flag("--json", arguments.asJson, "Print JSON")->needs(list);
  make->callback([&] {
    KeepRights(RIGHTS_OF_CLIENTS);
    if (!arguments.isListed) {
      result = unit::MakeBundle(arguments.file, arguments.force);
      return;
    }
    unit::BlockStopSignals();
    result = unit::ListBundle(arguments.file, arguments.asJson, [] { return !unit::StopRequested({}); });
  });
}

int CarryReplay(replay_arguments_t& replay, unsigned seconds) {
  replay.plan.parts = unit::UsualParts();
  if (replay.window) replay.plan.parts.insert(unit::WINDOW_PART);
  if (seconds > 0) replay.plan.seconds = seconds;
  KeepRights(RIGHTS_OF_SERVICES);
  unit::BlockStopSignals();
  const platform::ConsoleWriter console("unit");
  return unit::Replay(replay.options, replay.plan);
}

CLI::App* AddReplay(CLI::App& app, replay_arguments_t& replay, unsigned& seconds) {
  CLI::App* show =
      app.add_subcommand("replay", "Replay a bundle on a unit with the bundle's own configuration");
  show->add_option("FILE", replay.options.file, "The bundle")->required()->check(CLI::ExistingFile);
  show->add_option("--speed", replay.plan.speed, "Factor, such as 2 or 0.5; max ignores the times of the log")
      ->capture_default_str();
  show->add_flag("--check", replay.options.check,
                 "Stop at the end of the log and compare the screen with the recorded one");
  show->add_flag("--window", replay.window, "Show the screen in a window");
  AddListeners(*show, replay.plan.options);
  AddEnd(*show, replay.plan, seconds);
  return show;
}

void AddDesign(CLI::App& app, unit::design_options_t& options, int& result) {
  CLI::App* design = app.add_subcommand("design", "Check the screen's design, one line for each mistake");
  design
      ->add_option("FOLDER", options.folder,
                   "The pages, such as config/screen; words and configuration beside it")
      ->required()
      ->check(CLI::ExistingDirectory);
  design
      ->add_option("--sheet", options.sheets,
                   "Write all pages in all languages and states as FILE.png, or FILE.html with FILE.png")
      ->check([](const std::string& file) {
        return file.ends_with(".png") || file.ends_with(".html") ? std::string()
                                                                 : file + " is neither .png nor .html";
      });
  design->add_option("--page", options.pages, "Draw these pages alone");
  design->add_option("--width", options.pictureWidth, "The width of a picture on the sheet")
      ->check(CLI::Range(80, 640))
      ->capture_default_str();
  design->callback([&] {
    KeepRights(options.sheets.empty() ? base::RIGHT_NONE : base::RIGHT_WRITE);
    result = unit::CheckDesignFolder(options);
  });
}

// Reads the command line and carries it out. Returns the exit status.
int Carry(CLI::App& app, int argc, char** argv, const int& result) {
  try {
    return base::RunCommandLine(app, argc, argv, result);
  } catch (const std::exception& error) {
    std::cerr << "unit: " << error.what() << '\n';
    return base::EXIT_FAILED;
  }
}

}  // namespace

int main(int argc, char** argv) {
  platform::RestrictProcess();
  CLI::App app(
      "The display unit around the application: its services, parameter database, bus and front panel.",
      "unit");
  app.require_subcommand(1);
  int result = 0;
  unsigned seconds = 0;
  run_arguments_t run;
  database_arguments_t database;
  AddRun(app, run, seconds)->callback([&] { result = CarryRun(run, seconds); });
  bool asJson = false;
  CLI::App* status = app.add_subcommand("status", "Show which services and programs run here, and their state");
  AddJson(*status, asJson);
  status->callback([&] {
    KeepRights(RIGHTS_OF_CLIENTS);
    result = unit::ShowStatus(asJson);
  });
  AddDatabase(app, database, result);
  unit::AddScreenCommands(app, result);
  bundle_arguments_t bundle;
  replay_arguments_t replay;
  AddBundle(app, bundle, result);
  AddReplay(app, replay, seconds)->callback([&] { result = CarryReplay(replay, seconds); });
  event_arguments_t events;
  AddEvents(app, events, result);
  unit::design_options_t design;
  AddDesign(app, design, result);
  return Carry(app, argc, argv, result);
}
