#include "host/simulate/scenario.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "host/protocol/errors.h"
#include "host/simulate/action_arguments.h"

namespace simulate {
namespace {

constexpr std::int64_t LOOP_PAUSE_MS = 5000;
constexpr std::size_t MOST_LINES = 100'000;
constexpr double MOST_S = 1'000'000;
constexpr const char* REPEAT = "repeat";
constexpr const char* SPEED_LINE = "speed";
constexpr double FASTEST_SPEED = 100;

// "2.5" or "+10".
std::int64_t ParseTime(const std::string& word, std::int64_t last_ms) {
  const bool relative = word.starts_with('+');
  const char* const begin = word.data() + (relative ? 1 : 0);
  const char* const end = word.data() + word.size();
  double seconds = 0;
  const auto [stop, error] = std::from_chars(begin, end, seconds);
  if (error != std::errc() || stop != end || !(seconds >= 0 && seconds <= MOST_S)) {
    throw host::UsageError(
        "\"" + word + "\" is not a time; a line begins with seconds, such as 2.5, or +10 after the last line");
  }
  const std::int64_t time_ms = std::llround(seconds * 1000) + (relative ? last_ms : 0);
  if (time_ms < last_ms) throw host::UsageError("the time " + word + " is before the time of the line above");
  return time_ms;
}

class ScenarioParser {
 public:
  explicit ScenarioParser(scenario_t& scenario) : scenario_(scenario) {}
  void ReadLine(const std::string& line, std::size_t number);

 private:
  void ReadSpeed(const std::vector<std::string>& words);

  scenario_t& scenario_;
  std::int64_t last_ms_ = 0;
};

void ScenarioParser::ReadSpeed(const std::vector<std::string>& words) {
  if (!scenario_.lines.empty()) throw host::UsageError("speed stands before the first action");
  if (words.size() != 2) throw host::UsageError("speed takes a factor, such as speed 4");
  scenario_.speed = ParseQuantity(words[1], 1, FASTEST_SPEED, TIMES);
}

void ScenarioParser::ReadLine(const std::string& line, std::size_t number) {
  if (scenario_.about.empty() && line.starts_with("# ")) scenario_.about = line.substr(2);
  const std::vector<std::string> words = SplitWords(line);
  if (words.empty()) return;
  if (words[0] == SPEED_LINE) return ReadSpeed(words);
  if (scenario_.repeat_ms) throw host::UsageError("nothing may follow repeat");
  if (scenario_.lines.size() == MOST_LINES) throw host::UsageError("a scenario has at most 100000 lines");
  last_ms_ = ParseTime(words[0], last_ms_);
  if (words.size() < 2) throw host::UsageError("an action must follow the time");
  if (words[1] != REPEAT) {
    scenario_.lines.push_back({last_ms_, number, ParseAction(std::span(words).subspan(1))});
    if (words[1] == EXPECT_ACTION) ++scenario_.expectations;
  } else if (last_ms_ == 0 || words.size() > 2) {
    throw host::UsageError("repeat takes no argument and needs a time above 0");
  } else {
    scenario_.repeat_ms = last_ms_;
  }
}

}  // namespace

scenario_t ParseScenario(std::istream& in, const std::string& file) {
  scenario_t scenario;
  scenario.file = file;
  scenario.name = std::filesystem::path(file).stem();
  ScenarioParser parser(scenario);
  std::size_t number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    try {
      parser.ReadLine(line, number);
    } catch (const host::UsageError& error) {
      throw host::UsageError(file + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  return scenario;
}

scenario_t ReadScenario(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw host::UsageError("cannot read the scenario " + path + "; check its name and its rights");
  return ParseScenario(file, path);
}

ScenarioPlayer::ScenarioPlayer(scenario_t scenario, bool loop, std::int64_t begin_ms)
    : scenario_(std::move(scenario)), begin_ms_(begin_ms) {
  if (loop && !scenario_.repeat_ms && !scenario_.lines.empty()) {
    scenario_.repeat_ms = scenario_.lines.back().time_ms + LOOP_PAUSE_MS;
  }
}

void ScenarioPlayer::PlayOnce() {
  scenario_.repeat_ms.reset();
}

void ScenarioPlayer::Step(std::int64_t now_ms, action_target_t& target) {
  if (scenario_.repeat_ms && now_ms - begin_ms_ >= *scenario_.repeat_ms) {
    begin_ms_ = now_ms;
    next_ = 0;
  }
  const auto& lines = scenario_.lines;
  for (; next_ < lines.size() && lines[next_].time_ms <= now_ms - begin_ms_; ++next_) {
    target.place = {scenario_.file, lines[next_].number};
    lines[next_].action(target);
  }
  target.place = {};
}

}  // namespace simulate
