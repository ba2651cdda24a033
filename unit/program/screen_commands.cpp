#include "unit/program/screen_commands.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/call_filter.h"
#include "base/exit_status.h"
#include "expect/expectation.h"
#include "unit/children/stop_signals.h"
#include "unit/panel/client/panel_client.h"
#include "unit/shown/shown_table.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* SHOWN = "/api/shown";
constexpr auto POLL = 20ms;
// The scanner takes a press of 20 ms and a release of 60 ms; a busy machine may be late by much more.
constexpr milliseconds LEAST_PRESS = 150ms;
constexpr milliseconds LEAST_RELEASE = 150ms;
constexpr auto RENEWAL = 250ms;  // the panel releases a key whose lease is 1 s old
constexpr double LONGEST_HOLD_S = 3600;
constexpr double LONGEST_WAIT_S = 86400;

struct screen_arguments_t {
  bool asJson = false;
  bool asText = false;
  std::string png;
};

struct press_arguments_t {
  std::string keys;
  double hold_s = 0;
};

struct wait_arguments_t {
  std::string expectation;
  double limit_s = 5;
};

milliseconds Milliseconds(double seconds) {
  return std::chrono::duration_cast<milliseconds>(std::chrono::duration<double>(seconds));
}

// A runtime directory that cannot be used is a wrong call in every command.
int Fail(const char* command, const std::string& problem) {
  std::cerr << "unit " << command << ": " << problem << '\n';
  return platform::RuntimeDirectoryProblem().empty() ? base::EXIT_FAILED : base::EXIT_CALLED_WRONGLY;
}

int SavePicture(const std::string& file) {
  const panel_answer_t answer = GetFromPanel("/screen.png");
  if (!answer.IsDone()) return Fail("screen", ProblemIn(answer));
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream << answer.body;
  stream.close();
  return stream ? base::EXIT_DONE : Fail("screen", "cannot write " + file + ": " + std::strerror(errno));
}

int ShowScreen(const screen_arguments_t& arguments) {
  if (!arguments.png.empty()) {
    const int status = SavePicture(arguments.png);
    if (status != base::EXIT_DONE || (!arguments.asJson && !arguments.asText)) return status;
  }
  const panel_answer_t answer = GetFromPanel(SHOWN);
  if (!answer.IsDone()) return Fail("screen", ProblemIn(answer));
  std::cout << (arguments.asJson ? answer.body + "\n" : FormatShown(answer.body));
  return base::EXIT_DONE;
}

// Keys that are down until the object is destroyed. The panel releases them by itself when this program is
// killed.
class HeldKeys {
 public:
  explicit HeldKeys(std::string keys) : path_("/api/keys/" + std::move(keys)) {
    last_ = PostToPanel(path_, R"({"down":true,"lease":true})");
  }
  ~HeldKeys() {
    if (last_.IsDone()) PostToPanel(path_, R"({"down":false})");
  }
  HeldKeys(const HeldKeys&) = delete;
  HeldKeys& operator=(const HeldKeys&) = delete;

  void Renew() { last_ = PostToPanel(path_, R"({"renew":true})"); }
  const panel_answer_t& LastAnswer() const { return last_; }

 private:
  const std::string path_;
  panel_answer_t last_;
};

// The exit status at the end of the time.
int HoldKeys(HeldKeys& keys, steady_clock::time_point until) {
  while (keys.LastAnswer().IsDone()) {
    const auto left = std::chrono::ceil<milliseconds>(until - steady_clock::now());
    if (left <= 0ms) return base::EXIT_DONE;
    if (StopRequested(std::min<milliseconds>(left, RENEWAL))) return base::EXIT_INTERRUPTED;
    if (left > RENEWAL) keys.Renew();
  }
  return Fail("press", ProblemIn(keys.LastAnswer()));
}

int PressKeys(const press_arguments_t& arguments) {
  const milliseconds time = std::max(LEAST_PRESS, Milliseconds(arguments.hold_s));
  int status = base::EXIT_DONE;
  {
    HeldKeys keys(arguments.keys);
    status = HoldKeys(keys, steady_clock::now() + time);
  }
  // A next press would otherwise come before the scanner has seen this one end.
  if (status == base::EXIT_DONE && StopRequested(LEAST_RELEASE)) status = base::EXIT_INTERRUPTED;
  return status;
}

// What the panel said last, for the message.
struct observation_t {
  json shown;
  std::string problem;  // where it did not say what is shown
};

observation_t Observe() {
  const panel_answer_t answer = GetFromPanel(SHOWN);
  if (!answer.IsDone()) return {{}, ProblemIn(answer)};
  json shown = json::parse(answer.body, nullptr, false);
  if (!shown.is_object()) return {{}, "the front panel's answer is no JSON object"};
  return {std::move(shown), {}};
}

bool IsMet(const expect::Expectation& expectation, const observation_t& seen) {
  return seen.problem.empty() && expectation.IsMet(seen.shown);
}

std::string Describe(const expect::Expectation& expectation, const observation_t& seen) {
  return seen.problem.empty() ? expectation.Describe(seen.shown) : seen.problem;
}

int WaitFor(const expect::Expectation& expectation, double limit_s) {
  const auto until = steady_clock::now() + Milliseconds(limit_s);
  for (;;) {
    const observation_t seen = Observe();
    if (IsMet(expectation, seen)) return base::EXIT_DONE;
    const bool isStopped = StopRequested(POLL);
    if (!isStopped && steady_clock::now() < until) continue;
    std::cerr << "unit wait: " << (isStopped ? "interrupted before " : "not in time: ") << expectation.Text()
              << "; " << Describe(expectation, seen) << '\n';
    return isStopped ? base::EXIT_INTERRUPTED : base::EXIT_FAILED;
  }
}

int Wait(const wait_arguments_t& arguments) {
  std::optional<expect::Expectation> expectation;
  try {
    expectation.emplace(arguments.expectation);
  } catch (const std::invalid_argument& error) {
    std::cerr << "unit wait: " << error.what() << '\n';
    return base::EXIT_CALLED_WRONGLY;
  }
  if (const panel_answer_t answer = GetFromPanel(SHOWN); answer.status == 0) return Fail("wait", answer.body);
  return WaitFor(*expectation, arguments.limit_s);
}

// Before the command's first request.
void Prepare() {
  base::KeepRights("unit", base::RIGHT_NETWORK | base::RIGHT_WRITE);
  BlockStopSignals();
}

void AddScreen(CLI::App& app, int& result) {
  const auto arguments = std::make_shared<screen_arguments_t>();
  CLI::App* screen = app.add_subcommand("screen", "Print what the operator sees");
  auto* text = screen->add_flag("--text", arguments->asText, "As a table (default)");
  screen->add_flag("--json", arguments->asJson, "As JSON on one line (docs/http-api.md, GET /api/shown)")
      ->excludes(text);
  screen->add_option("--png", arguments->png, "Write the picture to this file");
  screen->callback([arguments, &result] {
    Prepare();
    result = ShowScreen(*arguments);
  });
}

// The problem; empty where there is none.
std::string CheckKeys(const std::string& keys) {
  bool isRight = keys.size() % 2 == 1;
  for (std::size_t i = 0; i < keys.size(); ++i)
    isRight = isRight && (i % 2 == 0 ? keys[i] >= '1' && keys[i] <= '8' : keys[i] == '+');
  return isRight ? std::string() : "there is no key " + keys + "; the keys are 1 to 8, several as 1+8";
}

void AddPress(CLI::App& app, int& result) {
  const auto arguments = std::make_shared<press_arguments_t>();
  CLI::App* press = app.add_subcommand("press", "Press front keys, at least as long as the key scanner needs");
  press->add_option("KEYS", arguments->keys, "1 to 8; several at once as 1+8")->required()->check(CheckKeys);
  press->add_option("--hold", arguments->hold_s, "Hold them for so many seconds")
      ->check(CLI::Range(0.0, LONGEST_HOLD_S));
  press->callback([arguments, &result] {
    Prepare();
    result = PressKeys(*arguments);
  });
}

void AddWait(CLI::App& app, int& result) {
  const auto arguments = std::make_shared<wait_arguments_t>();
  CLI::App* wait = app.add_subcommand(
      "wait", "Wait until the screen shows something; status 0 when it does, 1 when not in time");
  wait->add_option(
          "EXPECTATION", arguments->expectation,
          "Such as 'load == 12300', 'line2 has \"LOST\"', 'page Wad', 'no lamp overload', 'beeper pulse'")
      ->required();
  wait->add_option("--seconds", arguments->limit_s, "The longest time to wait")
      ->check(CLI::Range(0.0, LONGEST_WAIT_S))
      ->capture_default_str();
  wait->callback([arguments, &result] {
    Prepare();
    result = Wait(*arguments);
  });
}

}  // namespace

void AddScreenCommands(CLI::App& app, int& result) {
  AddScreen(app, result);
  AddPress(app, result);
  AddWait(app, result);
}

}  // namespace unit
