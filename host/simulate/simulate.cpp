#include "host/simulate/simulate.h"

#include <chrono>
#include <iostream>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/exit_status.h"
#include "host/judge/judge.h"
#include "host/judge/panel_client.h"
#include "host/link/inject.h"
#include "host/link/station.h"
#include "host/protocol/errors.h"
#include "host/protocol/traffic_decoder.h"
#include "host/protocol/value_text.h"
#include "host/simulate/http_control.h"
#include "host/simulate/key_presses.h"
#include "host/simulate/terminal_input.h"

namespace simulate {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr double FASTEST = 1000;
constexpr auto BEHIND = 1s;        // steps that are later than this are not caught up with
constexpr auto SHOW_STATE = 50ms;  // in real time
constexpr auto PANEL_PATIENCE = 5s;
constexpr auto PANEL_PAUSE = 100ms;  // between two requests to a panel that does not answer yet

// The real time of each step, computed from the beginning so that errors do not add up.
class Pace {
 public:
  explicit Pace(double speed) : speed_(speed), begin_(Clock::now()) {}
  bool IsMax() const { return speed_ == 0; }
  Clock::time_point Due(std::int64_t tick) {
    const std::chrono::duration<double, std::milli> passed(static_cast<double>(tick * TICK_MS) / speed_);
    const auto due = begin_ + std::chrono::duration_cast<Clock::duration>(passed);
    const auto behind = Clock::now() - due;
    if (behind < BEHIND) return due;
    begin_ += behind;  // the machine was suspended: go on from now, without a burst
    return due + behind;
  }

 private:
  double speed_;
  Clock::time_point begin_;
};

// Frames from the station's thread for the thread that runs the crane. A full inbox drops the newest frames, so
// that the keys keep their order.
class Inbox {
 public:
  void Accept(const bus::frame_t& frame) {
    const std::scoped_lock lock(mutex_);
    if (frames_.size() < MOST_FRAMES) frames_.push_back(frame);
  }
  std::vector<bus::frame_t> Drain() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(frames_, {});
  }

 private:
  static constexpr std::size_t MOST_FRAMES = 65'536;
  std::mutex mutex_;
  std::vector<bus::frame_t> frames_;  // guarded by mutex_
};

scenario_t ReadFirstScenario(const simulate_options_t& options, const ConfigFiles& files) {
  if (!options.scenario.empty()) return files.Scenario(options.scenario);
  return options.interactive ? scenario_t{} : files.NamedScenario(std::string(USUAL_SCENARIO));
}

scenario_t FirstScenario(const simulate_options_t& options, const ConfigFiles& files) {
  scenario_t scenario = ReadFirstScenario(options, files);
  if (options.untilDone && (scenario.repeat_ms || options.loop)) {
    throw host::UsageError("the scenario " + scenario.name +
                           " repeats, so that --until-done would never end; name a scenario without repeat");
  }
  return scenario;
}

std::vector<host::bus_fault_t> ChosenFaults(const simulate_options_t& options) {
  return options.inject.empty() ? std::vector<host::bus_fault_t>() : host::ParseBusFaults(options.inject);
}

// False after PANEL_PATIENCE, and where a stop came first: a panel that was started together with this program
// may take a moment.
bool AwaitPanel(const host::StopSignal& stop) {
  const auto end = Clock::now() + PANEL_PATIENCE;
  while (!judge::AskPanel(judge::SHOWN).problem.empty()) {
    if (Clock::now() >= end || !stop.WaitUntil(Clock::now() + PANEL_PAUSE)) return false;
  }
  return true;
}

class Simulation {
 public:
  Simulation(const simulate_options_t& options, const host::StopSignal& stop);
  int Run();

 private:
  void CheckExpectations();
  void Drive();
  bool IsDone() const;
  bool Step();
  void Execute(simulation_command_t control);
  bool SendMessage(const message_frames_t& frames);
  void Decode(const bus::frame_t& frame);
  void ReadInbox();
  void ShowState();
  void Say(const std::string& text) const;

  const simulate_options_t& options_;
  const host::StopSignal& stop_;
  const ConfigFiles files_;
  const double speed_;
  LoadComputer computer_;
  ControlUnits controlUnits_;
  ScenarioPlayer scenario_;
  Pace pace_;
  Inbox inbox_;
  host::Station station_;
  CommandQueue commands_;
  StateBoard board_;
  host::Injector injector_;
  KeyPresses keyPresses_;
  judge::Judge judge_;
  bool judges_ = false;           // expectations are judged
  host::TrafficDecoder decoder_;  // of what the display replies
  action_target_t target_;
  std::unique_ptr<TerminalInput> console_;
  std::unique_ptr<HttpControl> http_;
  Clock::time_point shown_{};
};

Simulation::Simulation(const simulate_options_t& options, const host::StopSignal& stop)
    : options_(options),
      stop_(stop),
      files_(options.config),
      speed_(host::ParseSpeed(options.speed, FASTEST)),
      computer_(files_.Chart(options.chart), options.seed, speed_),
      scenario_(FirstScenario(options, files_), options.loop),
      pace_(speed_),
      station_(options.bus, stop),
      injector_(ChosenFaults(options), options.injectRate, options.seed),
      judge_({options.results, options.writePictures}),
      target_{computer_, controlUnits_, [this](int key) { keyPresses_.Press(key); },
              [this](const std::string& text) { Say(text); }} {
  if (options.once) scenario_.PlayOnce();
  if (!options.ignoreExpectations) CheckExpectations();
  station_.StartReceiving([this](const bus::frame_t& frame) { inbox_.Accept(frame); });
  if (options.interactive) console_ = std::make_unique<TerminalInput>(commands_, files_);
  if (!options.http.empty()) http_ = std::make_unique<HttpControl>(options.http, commands_, board_, files_);
}

// The usual scenario, which nobody has asked for by name, is played without its expectations where they cannot
// be judged.
void Simulation::CheckExpectations() {
  const scenario_t& scenario = scenario_.Scenario();
  const bool mustJudge = scenario.expectations > 0 && !options_.scenario.empty();
  const bool hasTime = !pace_.IsMax() && (speed_ <= 1 || speed_ <= scenario.speed);
  if (mustJudge && !hasTime) {
    throw host::UsageError("the scenario " + scenario.name +
                           " expects things of the display, which has no time for" +
                           " them at this speed; choose a lower one, or give --ignore-expectations");
  }
  const bool isThere = judge::AskPanel(judge::SHOWN).problem.empty() || (mustJudge && AwaitPanel(stop_));
  judges_ = hasTime && (scenario.expectations == 0 || isThere);
  if (mustJudge && !judges_ && !stop_.Stopped()) {
    throw host::Failure("the scenario " + scenario.name +
                        " expects things of the display, and no panel that could" +
                        " tell answers in this runtime directory; start one with `unit run --no-host`, let" +
                        " `hx7 check` do it, or give --ignore-expectations");
  }
  if (!judges_) return;
  target_.expect = [this](const judge::expectation_t& expectation, const judge::expectation_place_t& place) {
    judge_.Expect(expectation, place, computer_.Now_ms());
  };
}

void Simulation::Say(const std::string& text) const {
  if (!options_.quiet) std::cout << text << std::endl;
}

void Simulation::Execute(simulation_command_t control) {
  if (auto* action = std::get_if<crane_action_t>(&control)) return (*action)(target_);
  judge_.DropAll();
  if (auto* scenario = std::get_if<scenario_t>(&control)) {
    scenario_ = ScenarioPlayer(std::move(*scenario), options_.loop, computer_.Now_ms());
    return;
  }
  scenario_ = ScenarioPlayer({}, false);
  for (const crane_action_t& action : std::get<manual_control_t>(control).actions) action(target_);
}

// Sends one message, and a faulty one before it if it is due. Returns false if a stop came first.
bool Simulation::SendMessage(const message_frames_t& frames) {
  const std::vector<bus::frame_t> sent = injector_.Apply(frames);
  if (!station_.Send(sent)) return false;
  for (bus::frame_t frame : sent) {
    frame.time_us = bus::RealTime_us();
    Decode(frame);
  }
  return true;
}

void Simulation::Decode(const bus::frame_t& frame) {
  if (!judges_) return;
  const auto message = decoder_.Accept(frame);
  if (message && message->request != nullptr) judge_.AcceptReply(message->decoded);
}

void Simulation::ReadInbox() {
  for (const bus::frame_t& frame : inbox_.Drain()) {
    computer_.Accept(frame);
    Decode(frame);
  }
}

void Simulation::ShowState() {
  if (!http_ || Clock::now() - shown_ < SHOW_STATE) return;
  shown_ = Clock::now();
  simulation_state_t state = computer_.State();
  state.scenario = scenario_.Scenario().name;
  board_.Show(std::move(state));
}

bool Simulation::Step() {
  const bool go = !console_ || console_->Step(computer_);
  for (simulation_command_t& control : commands_.Drain()) Execute(std::move(control));
  judge_.SetCraneTime(computer_.Now_ms());
  scenario_.Step(computer_.Now_ms(), target_);
  for (const message_frames_t& frames : computer_.Step()) {
    if (!SendMessage(frames)) return false;
  }
  const message_frames_t reports = controlUnits_.Step(computer_.Now_ms());
  if (!reports.empty() && !station_.Send(reports)) return false;
  ShowState();
  return go;
}

int Simulation::Run() {
  Drive();
  if (!options_.inject.empty()) std::cerr << "hx7: " + injector_.Summary() + "\n";
  if (options_.once && !IsDone()) return base::EXIT_INTERRUPTED;
  const bool fails = judge_.Failed() > 0 && !scenario_.Scenario().repeat_ms;
  return fails ? base::EXIT_FAILED : base::EXIT_DONE;
}

bool Simulation::IsDone() const {
  return scenario_.HasEnded() && judge_.Waiting() == 0;
}

void Simulation::Drive() {
  const std::int64_t end_ms =
      options_.secondsOfCrane ? static_cast<std::int64_t>(*options_.secondsOfCrane * 1000) : 0;
  for (std::int64_t tick = 1; !stop_.Stopped() && (end_ms == 0 || computer_.Now_ms() < end_ms); ++tick) {
    if (!Step()) return;
    if (!pace_.IsMax()) stop_.WaitUntil(pace_.Due(tick));
    ReadInbox();
    if ((options_.once || options_.untilDone) && IsDone()) return;
  }
}

}  // namespace

void CheckSimulation(const simulate_options_t& options) {
  if (!options.http.empty()) ReadHttpAddress(options.http);
  const ConfigFiles files(options.config);
  host::ParseSpeed(options.speed, FASTEST);
  files.Chart(options.chart);
  FirstScenario(options, files);
  ChosenFaults(options);
}

int Simulate(const simulate_options_t& options) {
  if (!options.http.empty())
    ReadHttpAddress(options.http);  // a wrong address must be refused before anything is sent
  const host::StopSignal stop;
  return Simulation(options, stop).Run();
}

std::string ListScenarios(const std::string& config) {
  const ConfigFiles files(config);
  std::string text;
  for (const std::string& name : files.ScenarioNames()) {
    constexpr std::size_t WIDTH = 24;
    std::string row = name;
    row.resize(std::max(row.size() + 1, WIDTH), ' ');
    text += row + files.NamedScenario(name).about + "\n";
  }
  return text;
}

}  // namespace simulate
