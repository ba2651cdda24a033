#include "unit/bundle/bundle.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

#include <httplib.h>
#include <sys/utsname.h>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/address_file.h"
#include "unit/blackbox/rolling_log.h"

namespace unit {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int TIMEOUT_S = 5;
constexpr std::uintmax_t LARGEST_CONFIG_FILE = 4U << 20U;

struct state_file_t {
  const char* name;
  const char* path;  // of the panel
};
constexpr std::array<state_file_t, 8> STATE_FILES = {{{"state/screen.png", "/screen.png"},
                                                      {"state/screen.svg", "/screen.svg"},
                                                      {BUNDLE_SCREEN, "/api/screen"},
                                                      {"state/database.json", "/api/database"},
                                                      {"state/board.json", "/api/board"},
                                                      {"state/bus.json", "/api/bus"},
                                                      {"state/health.json", "/api/health"},
                                                      {"state/host.json", "/api/host/state"}}};

std::optional<std::string> ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

json ParseObject(const std::string& text) {
  json parsed = json::parse(text, nullptr, false);
  return parsed.is_object() ? parsed : json::object();
}

// The options of the last run. `unit run` writes the file when it starts.
json ReadRun() {
  return ParseObject(ReadFile(platform::RuntimeDirectory() + "/run.json").value_or(""));
}

void AddState(archive_t& bundle, std::vector<std::string>& missing) {
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (address.empty()) {
    missing.emplace_back("state (the unit is not running)");
    return;
  }
  httplib::Client client("http://" + address);
  client.set_connection_timeout(TIMEOUT_S);
  client.set_read_timeout(TIMEOUT_S);
  for (const state_file_t& file : STATE_FILES) {
    const httplib::Result result = client.Get(file.path);
    // Also an error answer: it says why a service is down.
    if (result && !result->body.empty()) {
      bundle[file.name] = result->body;
    } else {
      missing.emplace_back(file.name);
    }
  }
}

void AddConfiguration(const fs::path& folder, archive_t& bundle, std::vector<std::string>& missing) {
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
    if (!entry.is_regular_file() || entry.file_size() > LARGEST_CONFIG_FILE) continue;
    if (const auto text = ReadFile(entry.path())) {
      bundle[BUNDLE_CONFIG + entry.path().lexically_relative(folder).string()] = *text;
    }
  }
  if (error) missing.emplace_back("config (" + folder.string() + ": " + error.message() + ")");
}

std::string TimeText() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::ostringstream text;
  text << std::put_time(&utc, "%Y-%m-%d %H:%M:%S UTC");
  return text.str();
}

json About(const json& run) {
  utsname system{};
  uname(&system);
  return {{"made", TimeText()},
          {"by", std::string("unit ") + ORVIK_VERSION},
          {"system", std::string(system.sysname) + " " + system.release + " " + system.machine},
          {"run", run}};
}

std::size_t CountLines(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Variables that follow the clock or count messages.
const std::set<std::string>& Unsteady() {
  static const std::set<std::string> NAMES = {"OrvikTotalHX7Commands", "Screen.DataState",
                                              "OrvikHX7TimeOutLamp", "OrvikBeepImage"};
  return NAMES;
}

bool IsSteady(const std::string& name) {
  return !Unsteady().contains(name) && !name.starts_with("RealTimeClock");
}

void CompareMembers(const json& recorded, const json& shown, const char* what,
                    std::vector<std::string>& differences) {
  const json empty = json::object();
  const json& before = recorded.contains(what) ? recorded[what] : empty;
  const json& now = shown.contains(what) ? shown[what] : empty;
  for (const auto& [name, value] : before.items()) {
    const json other = now.contains(name) ? now[name] : json();
    if (value == other || !IsSteady(name)) continue;
    differences.push_back(name + ": recorded " + value.dump() + ", now " + other.dump());
  }
}

archive_t CollectLogs(const json& run) {
  archive_t bundle;
  bundle[BUNDLE_ABOUT] = About(run).dump(2) + "\n";
  bundle[BUNDLE_BUS] = ReadBlackBox("bus");
  bundle[BUNDLE_KEYS] = ReadBlackBox("keys");
  bundle[BUNDLE_LINES] = ReadBlackBox("lines");
  return bundle;
}

void ShowContent(const std::string& file, const archive_t& bundle, const std::vector<std::string>& missing) {
  std::cout << file << ": " << CountLines(bundle.at(BUNDLE_BUS)) << " frames, "
            << CountLines(bundle.at(BUNDLE_LINES)) << " lines, " << bundle.size() << " files\n";
  for (const std::string& name : missing) std::cout << "without " << name << '\n';
}

}  // namespace

int MakeBundle(const std::string& file) {
  const json run = ReadRun();
  archive_t bundle = CollectLogs(run);
  std::vector<std::string> missing;
  if (run.empty() && bundle[BUNDLE_LINES].empty()) {
    std::cerr << "unit bundle: no unit ran in " << platform::RuntimeDirectory()
              << ". Set ORVIK_RUNTIME_DIR to the folder of the unit that you mean.\n";
    return 1;
  }
  AddState(bundle, missing);
  AddConfiguration(run.value("config", ""), bundle, missing);
  try {
    WriteArchive(file, bundle);
  } catch (const std::exception& error) {
    std::cerr << "unit bundle: " << error.what() << "; choose another file.\n";
    return 1;
  }
  ShowContent(file, bundle, missing);
  return 0;
}

std::vector<std::string> CompareScreens(const std::string& recorded, const std::string& shown) {
  const json before = ParseObject(recorded);
  const json now = ParseObject(shown);
  std::vector<std::string> differences;
  if (before.value("page", "") != now.value("page", "")) {
    differences.push_back("page: recorded " + before.value("page", "-") + ", now " + now.value("page", "-"));
  }
  CompareMembers(before, now, "widgets", differences);
  CompareMembers(before, now, "variables", differences);
  return differences;
}

std::string DescribeBundle(const archive_t& bundle) {
  const auto text = [&bundle](const char* name) {
    const auto found = bundle.find(name);
    return found == bundle.end() ? std::string() : found->second;
  };
  const json about = ParseObject(text(BUNDLE_ABOUT));
  const json screen = ParseObject(text(BUNDLE_SCREEN));
  return "made " + about.value("made", "?") + " by " + about.value("by", "?") + "; " +
         std::to_string(CountLines(text(BUNDLE_BUS))) + " frames, page " + screen.value("page", "?");
}

}  // namespace unit
