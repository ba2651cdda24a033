#include "unit/program/replay.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <thread>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "unit/bundle/bundle.h"
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

bool HasPart(const archive_t& bundle, const char* name) {
  const auto found = bundle.find(name);
  return found != bundle.end() && !found->second.empty();
}

const std::string& Part(const archive_t& bundle, const char* name, const char* what) {
  if (HasPart(bundle, name)) return bundle.at(name);
  throw std::runtime_error(std::string("there is no ") + what + " in it (" + name + ")");
}

// The last frames take a moment to reach the screen.
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

// The application leaves its splash page up to a second after it first hears the host, and refuses the pages
// that the host asks for until then. That second is chance, so the log begins on the page after it.
bool LeaveSplashPage(const screen_names_t& names) {
  std::string shown;
  if (!AskScreen(SCREEN_REQUEST_STATE, shown)) return false;
  if (nlohmann::json::parse(shown).value("page", "") != "Splash") return true;
  PublishEvent(names, "orvik.SplashToSlate");
  return false;
}

}  // namespace

int Replay(const replay_options_t& options, run_plan_t plan) {
  try {
    const archive_t bundle = ReadArchive(options.file);
    Part(bundle, BUNDLE_BUS, "log of the bus");
    Part(bundle, "config/generic.xml", "configuration");
    const std::string recorded = options.check ? Part(bundle, BUNDLE_SCREEN, "state of the screen") : "";
    const fs::path folder = fs::path(platform::RuntimeDirectory()) / "replay";
    Unpack(bundle, folder);
    std::cout << "unit replay: " << DescribeBundle(bundle) << std::endl;
    plan.options.configDirectory = folder / "config";
    plan.options.genericFile = plan.options.configDirectory + "/generic.xml";
    plan.playFile = folder / BUNDLE_BUS;
    if (HasPart(bundle, BUNDLE_KEYS)) plan.keysFile = folder / BUNDLE_KEYS;
    plan.untilPlayed = options.check;
    plan.hostMayStart = [names = LoadScreenNames(plan.options.genericFile)] { return LeaveSplashPage(names); };
    if (options.check) plan.atEnd = [&recorded] { return CompareAtTheEnd(recorded); };
    return Run(plan);
  } catch (const std::exception& error) {
    std::cerr << "unit replay: " << options.file << ": " << error.what() << '\n';
    return 1;
  }
}

}  // namespace unit
