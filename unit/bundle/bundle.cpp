#include "unit/bundle/bundle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

#include <sys/utsname.h>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/exit_status.h"
#include "unit/blackbox/rolling_log.h"
#include "unit/bundle/moment.h"

namespace unit {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::uintmax_t LARGEST_CONFIG_FILE = 4U << 20U;

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

// The lines of all processes of the unit, in the order of their times. Each begins with its time, in a fixed
// number of digits.
std::string ReadLines() {
  std::vector<std::string> lines;
  for (const std::string& name : FindBlackBoxes("lines")) {
    std::istringstream text(ReadBlackBox(name));
    for (std::string line; std::getline(text, line);) lines.push_back(line + "\n");
  }
  std::ranges::stable_sort(lines, {}, [](const std::string& line) { return line.substr(0, line.find(' ')); });
  std::string all;
  for (const std::string& line : lines) all += line;
  return all;
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

// A measured value and the step in which the screen shows it. Its text is compared exactly; the number behind
// it may differ by less.
struct measured_name_t {
  std::string_view name;
  double step;
};
constexpr auto MEASURED = std::to_array<measured_name_t>({{"OrvikLoad", 100},
                                                          {"OrvikCapacity", 100},
                                                          {"OrvikRadius", 0.1},
                                                          {"OrvikAngle", 0.1},
                                                          {"OrvikExtension", 0.1},
                                                          {"OrvikSwing", 1},
                                                          {"OrvikPercentSafeWorkingLoad", 0.01}});

bool IsShownAlike(const std::string& name, const json& a, const json& b) {
  if (a == b) return true;
  const auto* const measured = std::ranges::find(MEASURED, name, &measured_name_t::name);
  if (measured == MEASURED.end() || !a.is_number() || !b.is_number()) return false;
  return std::abs(a.get<double>() - b.get<double>()) < measured->step;
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
    if (IsShownAlike(name, value, other) || !IsSteady(name)) continue;
    differences.push_back(name + ": recorded " + value.dump() + ", now " + other.dump());
  }
}

// After the state, and only what was before it.
archive_t CollectLogs(const json& run, const moment_t& moment) {
  archive_t bundle = moment.files;
  bundle[BUNDLE_ABOUT] = About(run).dump(2) + "\n";
  bundle[BUNDLE_BUS] = ReadBlackBox("bus");
  bundle[BUNDLE_KEYS] = ReadBlackBox("keys");
  bundle[BUNDLE_LINES] = ReadLines();
  if (!moment.time_us) return bundle;
  for (const char* log : {BUNDLE_BUS, BUNDLE_KEYS}) bundle[log] = CutAfter(bundle[log], *moment.time_us);
  return bundle;
}

constexpr const char* CHANGING = "one moment (the screen changed all the time; unit replay --check may differ)";

// Empty where the bundle may be made.
std::string FindObstacle(const std::string& file, bool force) {
  if (file.empty()) return "the name of the bundle is empty; name a file such as report.tar.gz";
  if (std::string problem = platform::RuntimeDirectoryProblem(); !problem.empty()) return problem;
  std::error_code ignored;
  if (force || !fs::exists(file, ignored)) return {};
  return file + " exists already; name another file, or replace it with --force";
}

void ShowContent(const std::string& file, const archive_t& bundle, const std::vector<std::string>& missing) {
  std::cout << file << ": " << CountLines(bundle.at(BUNDLE_BUS)) << " frames, "
            << CountLines(bundle.at(BUNDLE_LINES)) << " lines, " << bundle.size() << " files\n";
  for (const std::string& name : missing) std::cout << "without " << name << '\n';
}

}  // namespace

bool IsSameState(const std::string& first, const std::string& second) {
  const json before = ParseObject(first);
  const json now = ParseObject(second);
  if (before.empty() || before.value("page", "") != now.value("page", "")) return false;
  if (before.value("widgets", json()) != now.value("widgets", json())) return false;
  const json was = before.value("variables", json::object());
  return std::ranges::all_of(now.value("variables", json::object()).items(), [&](const auto& variable) {
    return !IsSteady(variable.key()) || was.value(variable.key(), json()) == variable.value();
  });
}

int MakeBundle(const std::string& file, bool force) {
  if (const std::string problem = FindObstacle(file, force); !problem.empty()) {
    std::cerr << "unit bundle: " << problem << '\n';
    return base::EXIT_CALLED_WRONGLY;
  }
  const json run = ReadRun();
  const moment_t moment = CaptureMoment();
  archive_t bundle = CollectLogs(run, moment);
  std::vector<std::string> missing = moment.missing;
  if (run.empty() && bundle[BUNDLE_LINES].empty()) {
    std::cerr << "unit bundle: no unit ran in " << platform::RuntimeDirectory()
              << ". Set ORVIK_RUNTIME_DIR to the folder of the unit that you mean.\n";
    return base::EXIT_FAILED;
  }
  if (moment.time_us && !moment.isStill) missing.emplace_back(CHANGING);
  AddConfiguration(run.value("config", ""), bundle, missing);
  try {
    WriteArchive(file, bundle);
  } catch (const std::exception& error) {
    std::cerr << "unit bundle: " << error.what() << "; choose another file.\n";
    return base::EXIT_FAILED;
  }
  ShowContent(file, bundle, missing);
  return base::EXIT_DONE;
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
