#include "unit/program/replay.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <thread>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/exit_status.h"
#include "unit/bundle/bundle.h"
#include "unit/bundle/foreign_archive.h"
#include "unit/children/stop_signals.h"
#include "unit/program/event_commands.h"
#include "unit/screen/client/screen_client.h"
#include "unit/screen/client/screen_requests.h"

namespace unit {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto SETTLE_LIMIT = 5s;
constexpr auto SETTLE_STEP = 100ms;

void Unpack(const archive_t& bundle, const fs::path& folder) {
  fs::remove_all(folder);
  for (const auto& [name, content] : bundle) {
    fs::create_directories((folder / name).parent_path());
    std::ofstream file(folder / name, std::ios::binary);
    file << content;
    file.close();
    if (!file) throw std::runtime_error("cannot write " + (folder / name).string());
  }
}

bool HasFile(const archive_t& bundle, const char* name) {
  const auto found = bundle.find(name);
  return found != bundle.end() && !found->second.empty();
}

void RequireFile(const archive_t& bundle, const char* name, const char* what) {
  if (HasFile(bundle, name)) return;
  throw std::runtime_error(std::string("the bundle has no ") + what + " (" + name + ")");
}

// Compares for up to SETTLE_LIMIT, because the last frames take a moment to reach the screen.
std::string CompareAtTheEnd(const std::string& recorded) {
  std::vector<std::string> differences;
  const auto end = std::chrono::steady_clock::now() + SETTLE_LIMIT;
  do {
    std::string shown;
    if (!AskScreen(SCREEN_REQUEST_STATE, shown)) return shown;
    differences = CompareScreens(recorded, shown);
    if (differences.empty()) {
      std::cout << "unit replay: the screen shows what was recorded" << std::endl;
      return {};
    }
    std::this_thread::sleep_for(SETTLE_STEP);
  } while (std::chrono::steady_clock::now() < end);
  for (const std::string& difference : differences) std::cerr << "unit replay: " << difference << '\n';
  return "the screen does not show what was recorded";
}

// The application leaves its splash page at some time within a second after it first hears the host, and until
// then refuses the pages that the host selects. The log therefore begins only after the splash page: else
// chance would decide which of its first pages are shown.
bool SkipSplashPage(const screen_names_t& names) {
  std::string shown;
  if (!AskScreen(SCREEN_REQUEST_STATE, shown)) return false;
  if (nlohmann::json::parse(shown).value("page", "") != "Splash") return true;
  PublishEvent(names, "orvik.SplashToSlate");
  return false;
}

// Makes the plan run the configuration and the log that were unpacked into `folder`.
void SetPlan(run_plan_t& plan, const archive_t& bundle, const fs::path& folder) {
  plan.options.configDirectory = folder / "config";
  plan.options.genericFile = plan.options.configDirectory + "/generic.xml";
  plan.playFile = folder / BUNDLE_BUS;
  if (HasFile(bundle, BUNDLE_KEYS)) plan.keysFile = folder / BUNDLE_KEYS;
  const bool hasHistory = HasFile(bundle, BUNDLE_HISTORY);
  if (hasHistory) {
    plan.options.historyFolder = folder / BUNDLE_STATE;
    plan.options.historyBusFile = plan.playFile;
  }
  plan.historyNote = hasHistory ? "the last ten minutes before the bundle was made"
                                : "the bundle has no history of its screen; that of this replay";
  plan.hostMayStart = [names = ReadScreenNames(plan.options.genericFile)] { return SkipSplashPage(names); };
}

}  // namespace

int Replay(const replay_options_t& options, run_plan_t plan) {
  try {
    const archive_t bundle = ReadForeignArchive(options.file, [] { return !StopRequested(0ms); });
    RequireFile(bundle, BUNDLE_BUS, "log of the bus");
    RequireFile(bundle, "config/generic.xml", "configuration");
    if (options.check) RequireFile(bundle, BUNDLE_SCREEN, "state of the screen");
    const fs::path folder = fs::path(platform::RuntimeDirectory()) / "replay";
    Unpack(bundle, folder);
    std::cout << "unit replay: " << DescribeBundle(bundle) << std::endl;
    SetPlan(plan, bundle, folder);
    plan.untilDone = options.check;
    plan.command = "unit replay";
    if (options.check) plan.atEnd = [&bundle] { return CompareAtTheEnd(bundle.at(BUNDLE_SCREEN)); };
    return Run(plan);
  } catch (const std::exception& error) {
    std::cerr << "unit replay: " << options.file << ": " << error.what() << '\n';
    return base::EXIT_CALLED_WRONGLY;
  }
}

}  // namespace unit
